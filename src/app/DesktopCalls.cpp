#include "app/DesktopCalls.h"

#include <QUrl>

namespace kelmo {

namespace {

QString tokenKey() { return QStringLiteral("activation-token"); }

constexpr const char* tokenVariable = "XDG_ACTIVATION_TOKEN";

/// The toolkit looks for the token where a starting program finds it.
void adoptToken(const QVariantMap& platformData)
{
    const QByteArray token = platformData.value(tokenKey()).toString().toUtf8();
    if (!token.isEmpty())
        qputenv(tokenVariable, token);
}

} // namespace

DesktopCalls::DesktopCalls(QObject& offeredOn, Reopen reopen)
    : QDBusAbstractAdaptor(&offeredOn)
    , m_reopen(std::move(reopen))
{
}

QVariantMap DesktopCalls::platformData()
{
    const QString token = qEnvironmentVariable(tokenVariable);
    return token.isEmpty() ? QVariantMap() : QVariantMap{{tokenKey(), token}};
}

void DesktopCalls::Activate(const QVariantMap& platformData)
{
    adoptToken(platformData);
    m_reopen(std::nullopt);
}

void DesktopCalls::Open(const QStringList& uris, const QVariantMap& platformData)
{
    adoptToken(platformData);
    const QUrl url(uris.value(0));
    m_reopen(url.isLocalFile() ? std::optional(url.toLocalFile()) : std::nullopt);
}

void DesktopCalls::ActivateAction(const QString&, const QVariantList&, const QVariantMap& platformData)
{
    Activate(platformData);
}

} // namespace kelmo
