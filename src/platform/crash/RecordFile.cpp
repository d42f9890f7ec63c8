#include "platform/crash/RecordFile.h"

#include <QDateTime>
#include <QDir>
#include <QFile>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace kelmo {

namespace {

constexpr qint64 maxBytesRead = qint64(1024) * 1024;

// False when another program holds the lock, or has taken and removed the file before we got it.
bool lockForGood(int file)
{
    struct stat state { };
    return ::flock(file, LOCK_EX | LOCK_NB) == 0 && ::fstat(file, &state) == 0 && state.st_nlink > 0;
}

int createLocked(const QByteArray& path)
{
    const int file = ::open(path.constData(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, S_IRUSR | S_IWUSR);
    if (file < 0 || lockForGood(file))
        return file;
    ::close(file);
    return -1;
}

} // namespace

RecordFile::RecordFile(const QString& folder, const QByteArray& header)
{
    constexpr int attempts = 3;
    QDir().mkpath(folder);
    const QDir place(folder);
    for (int i = 0; i < attempts && m_file < 0; ++i) {
        // Process numbers come round again; the time tells two of the same number apart.
        const qint64 now = QDateTime::currentMSecsSinceEpoch() + i;
        m_path = QFile::encodeName(place.filePath(QStringLiteral("%1-%2.record").arg(::getpid()).arg(now)));
        m_file = createLocked(m_path);
    }
    if (m_file >= 0 && ::write(m_file, header.constData(), static_cast<size_t>(header.size())) == header.size())
        m_headerSize = header.size();
}

RecordFile::~RecordFile()
{
    if (m_file < 0)
        return;
    struct stat state { };
    if (::fstat(m_file, &state) == 0 && state.st_size <= m_headerSize)
        ::unlink(m_path.constData());
    ::close(m_file);
}

std::optional<QByteArray> RecordFile::takeLeftBehind(const QString& folder)
{
    const QDir place(folder);
    const QStringList names = place.entryList({QStringLiteral("*.record")}, QDir::Files | QDir::Hidden, QDir::Name);
    for (const QString& name : names) {
        QFile file(place.filePath(name));
        if (!file.open(QIODevice::ReadOnly) || !lockForGood(file.handle()))
            continue;
        const QByteArray record = file.read(maxBytesRead);
        // Before anything is made of it: a record that cannot be dealt with must not come up again at every launch. The
        // lock is kept until the file is gone.
        ::unlink(QFile::encodeName(file.fileName()).constData());
        return record;
    }
    return {};
}

} // namespace kelmo
