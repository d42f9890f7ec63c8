#include "media/stack/encode/PartFile.h"

#include "media/stack/core/AvHandles.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <cerrno>
#include <chrono>
#include <cstdio>
#include <thread>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace kelmo {

namespace {

constexpr qint64 leftBehindAfterS = qint64(24) * 60 * 60; ///< Where no lock can tell.

tl::unexpected<Error> writeFailure(int number, const QString& finalPath)
{
    return avFailure(AVERROR(number), QStringLiteral("Can’t write"), QFileInfo(finalPath).fileName());
}

// Whether the open file is still the one at `path`: its writer may have given it another name meanwhile.
bool isAt(const QByteArray& path, int file)
{
    struct stat opened { };
    struct stat named { };
    return ::fstat(file, &opened) == 0 && ::lstat(path.constData(), &named) == 0 && opened.st_ino == named.st_ino
        && opened.st_dev == named.st_dev;
}

struct OpenedFile {
    int descriptor = -1; ///< -1 with the reason in errno if the file can't be had.
    bool isLocked = false; ///< False on a file system without locks.
};

OpenedFile openLocked(const QByteArray& path, int flags)
{
    const int file = ::open(path.constData(), flags | O_RDWR | O_CLOEXEC | O_NOFOLLOW, 0666);
    if (file < 0)
        return {};
    const bool isLocked = ::flock(file, LOCK_EX | LOCK_NB) == 0;
    if ((isLocked || errno != EWOULDBLOCK) && isAt(path, file))
        return {file, isLocked};
    ::close(file);
    errno = EBUSY;
    return {};
}

/// The file, created if it is missing. Another program may be finding out at this moment whether it was left behind, so
/// one that is taken is tried again for a while.
int openOwn(const QByteArray& path)
{
    constexpr int attempts = 100;
    constexpr std::chrono::milliseconds pause{2};
    for (int left = attempts;; --left) {
        const OpenedFile file = openLocked(path, O_CREAT);
        if (file.descriptor >= 0 || errno != EBUSY || left == 0)
            return file.descriptor;
        std::this_thread::sleep_for(pause);
    }
}

} // namespace

QString PartFile::pathFor(const QString& finalPath)
{
    const QFileInfo file(finalPath);
    return file.absolutePath() % QStringLiteral("/.") % file.fileName() % QStringLiteral(".part");
}

Result<std::unique_ptr<PartFile>> PartFile::create(const QString& finalPath)
{
    removeLeftBehind(QFileInfo(finalPath).absolutePath());
    const int file = openOwn(QFile::encodeName(pathFor(finalPath)));
    if (file < 0)
        return writeFailure(errno, finalPath);
    return std::unique_ptr<PartFile>(new PartFile(finalPath, file));
}

void PartFile::removeLeftBehind(const QString& folder)
{
    const QDateTime before = QDateTime::currentDateTimeUtc().addSecs(-leftBehindAfterS);
    const auto parts = QDir(folder).entryInfoList({QStringLiteral(".*.mp4.part")}, QDir::Files | QDir::Hidden);
    for (const QFileInfo& part : parts) {
        const QByteArray path = QFile::encodeName(part.filePath());
        const OpenedFile file = openLocked(path, 0);
        if (file.descriptor < 0)
            continue;
        if (file.isLocked || part.lastModified() < before)
            ::unlink(path.constData());
        ::close(file.descriptor);
    }
}

PartFile::PartFile(const QString& finalPath, int file)
    : m_finalPath(finalPath)
    , m_path(pathFor(finalPath))
    , m_file(file)
{
}

PartFile::~PartFile()
{
    if (!m_whole)
        QFile::remove(m_path);
    ::close(m_file);
}

Result<void> PartFile::takeFinalName()
{
    // Some file systems only notice here that there is no room; some cannot sync at all.
    if (::fsync(m_file) != 0 && errno != EINVAL && errno != ENOTSUP && errno != EROFS)
        return writeFailure(errno, m_finalPath);
    if (::rename(QFile::encodeName(m_path).constData(), QFile::encodeName(m_finalPath).constData()) != 0)
        return writeFailure(errno, m_finalPath);
    m_whole = true;
    return {};
}

} // namespace kelmo
