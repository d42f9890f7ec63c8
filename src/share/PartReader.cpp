#include "share/PartReader.h"

#include <QFileInfo>

namespace kelmo {

Result<std::unique_ptr<PartReader>> PartReader::open(const QString& path, qint64 partSize)
{
    std::unique_ptr<PartReader> reader(new PartReader(path, partSize));
    if (!reader->m_file.open(QIODevice::ReadOnly | QIODevice::Unbuffered))
        return reader->unreadable();
    reader->m_size = reader->m_file.size();
    return reader;
}

PartReader::PartReader(const QString& path, qint64 partSize)
    : m_file(path)
    , m_partSize(partSize)
{
}

qint64 PartReader::count() const { return std::max<qint64>(1, m_size / m_partSize + (m_size % m_partSize ? 1 : 0)); }

Result<QByteArray> PartReader::part(qint64 n)
{
    if (n > count())
        return QByteArray();
    const qint64 offset = (n - 1) * m_partSize;
    const qint64 length = std::min(m_partSize, m_size - offset);
    m_bytes.resize(length);
    if (!m_file.seek(offset) || m_file.read(m_bytes.data(), length) != length)
        return unreadable();
    return QByteArray::fromRawData(m_bytes.constData(), length);
}

tl::unexpected<Error> PartReader::unreadable() const
{
    return failure(QStringLiteral("Share"), 1,
        QStringLiteral("Can’t read ") % QFileInfo(m_file.fileName()).fileName() % QStringLiteral(": ")
            % m_file.errorString());
}

} // namespace kelmo
