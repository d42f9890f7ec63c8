#include "platform/Home.h"

#include <QDir>

namespace kelmo
{

QString Home::path()
{
    const QString home = qEnvironmentVariable("HOME");
    return QDir::isAbsolutePath(home) ? QDir::cleanPath(home) : QDir::homePath();
}

QString Home::file(const QString& relativePath) { return QDir(path()).filePath(relativePath); }

QString Home::expandTilde(const QString& path)
{
    if (path == QLatin1String("~"))
        return Home::path();
    if (path.startsWith(QLatin1String("~/")))
        return file(path.mid(2));
    return path;
}

} // namespace kelmo
