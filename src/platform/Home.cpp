#include "platform/Home.h"

#include <QDir>
#include <QFile>

#include <array>

#include <pwd.h>
#include <unistd.h>

namespace kelmo {

namespace {

// The toolkit knows only HOME and falls back to the root folder, where no user's files belong.
QString accountHome()
{
    passwd entry{};
    passwd* found = nullptr;
    std::array<char, 4096> texts{};
    if (::getpwuid_r(::getuid(), &entry, texts.data(), texts.size(), &found) == 0 && found && *found->pw_dir == '/')
        return QFile::decodeName(found->pw_dir);
    return QDir::rootPath();
}

} // namespace

QString Home::path()
{
    const QString home = qEnvironmentVariable("HOME");
    return QDir::cleanPath(QDir::isAbsolutePath(home) ? home : accountHome());
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
