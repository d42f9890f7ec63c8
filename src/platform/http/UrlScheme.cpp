#include "platform/http/UrlScheme.h"

#include <QDirIterator>
#include <QStandardPaths>

namespace kelmo {

namespace {

/// Whether a line of the file says `key=` and more, or lists `key` among the types that a program opens.
bool names(const QString& path, const QByteArray& key)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return false;
    while (!file.atEnd()) {
        const QByteArray line = file.readLine().trimmed();
        const qsizetype equals = line.indexOf('=');
        const QByteArray value = line.mid(equals + 1);
        if (line.left(equals) == key && !value.isEmpty())
            return true;
        if (line.startsWith("MimeType=") && value.split(';').contains(key))
            return true;
    }
    return false;
}

} // namespace

bool UrlScheme::hasHandler(const QString& scheme)
{
    // In a sandbox the portal knows, and the desktop's files are not to be seen.
    if (QFile::exists(QStringLiteral("/.flatpak-info")))
        return true;
    const QByteArray key = "x-scheme-handler/" + scheme.toLatin1();
    const QStringList folders = QStandardPaths::standardLocations(QStandardPaths::ApplicationsLocation)
        + QStandardPaths::standardLocations(QStandardPaths::GenericConfigLocation);
    for (const QString& folder : folders) {
        if (names(folder % QStringLiteral("/mimeapps.list"), key))
            return true;
    }
    for (const QString& folder : QStandardPaths::standardLocations(QStandardPaths::ApplicationsLocation)) {
        QDirIterator entries(folder, {QStringLiteral("*.desktop")}, QDir::Files, QDirIterator::Subdirectories);
        while (entries.hasNext()) {
            if (names(entries.next(), key))
                return true;
        }
    }
    return false;
}

} // namespace kelmo
