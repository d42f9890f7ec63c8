#include "platform/FileReveal.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QFileInfo>
#include <QProcess>
#include <QUrl>

namespace kelmo {

namespace {

void openFolder(const QString& filePath)
{
    QProcess::startDetached(QStringLiteral("xdg-open"), {QFileInfo(filePath).absolutePath()});
}

} // namespace

void FileReveal::reveal(const QString& filePath)
{
    const QString path = QFileInfo(filePath).absoluteFilePath();
    QDBusConnection bus = QDBusConnection::sessionBus();
    if (!bus.isConnected()) {
        openFolder(path);
        return;
    }
    QDBusMessage call = QDBusMessage::createMethodCall(QStringLiteral("org.freedesktop.FileManager1"),
        QStringLiteral("/org/freedesktop/FileManager1"), QStringLiteral("org.freedesktop.FileManager1"),
        QStringLiteral("ShowItems"));
    call << QStringList{QString::fromLatin1(QUrl::fromLocalFile(path).toEncoded())} << QString();
    auto* watcher = new QDBusPendingCallWatcher(bus.asyncCall(call));
    QObject::connect(watcher, &QDBusPendingCallWatcher::finished, watcher, [path](QDBusPendingCallWatcher* done) {
        if (done->isError())
            openFolder(path);
        done->deleteLater();
    });
}

} // namespace kelmo
