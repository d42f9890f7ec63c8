#include "media/stack/PartFile.h"

#include "media/stack/AvHandles.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <cerrno>
#include <cstdio>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace kelmo {

namespace {

constexpr qint64 leftBehindAfterS = qint64(24) * 60 * 60;

tl::unexpected<Error> writeFailure(int number, const QString& finalPath)
{
    return avFailure(AVERROR(number), QStringLiteral("Can’t write"), QFileInfo(finalPath).fileName());
}

// Whether the open file is still the one at `path`: its writer may have given it another name meanwhile.
bool isAt(const QByteArray& path, int file)
{
    struct stat opened { };
    struct stat named { };
    return ::fstat(file, &opened) == 0 && ::stat(path.constData(), &named) == 0 && opened.st_ino == named.st_ino
        && opened.st_dev == named.st_dev;
}

/// The file, locked, or -1 with the reason in errno.
int openLocked(const QByteArray& path, int flags)
{
    const int file = ::open(path.constData(), flags | O_RDWR | O_CLOEXEC, 0666);
    if (file < 0)
        return -1;
    // A file system without locks has none to respect.
    const bool free = ::flock(file, LOCK_EX | LOCK_NB) == 0 || errno != EWOULDBLOCK;
    if (free && isAt(path, file))
        return file;
    ::close(file);
    errno = EBUSY;
    return -1;
}

void removeLeftBehind(const QDir& folder)
{
    const QDateTime before = QDateTime::currentDateTimeUtc().addSecs(-leftBehindAfterS);
    const auto parts = folder.entryInfoList({QStringLiteral(".*.mp4.part")}, QDir::Files | QDir::Hidden);
    for (const QFileInfo& part : parts) {
        if (part.lastModified() > before)
            continue;
        const QByteArray path = QFile::encodeName(part.filePath());
        const int file = openLocked(path, 0);
        if (file < 0)
            continue;
        ::unlink(path.constData());
        ::close(file);
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
    removeLeftBehind(QFileInfo(finalPath).absoluteDir());
    const int file = openLocked(QFile::encodeName(pathFor(finalPath)), O_CREAT);
    if (file < 0)
        return writeFailure(errno, finalPath);
    return std::unique_ptr<PartFile>(new PartFile(finalPath, file));
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
