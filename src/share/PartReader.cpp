#include "share/PartReader.h"

#include <QFileInfo>

namespace kelmo {

Result<PartReader> PartReader::open(const QString& path, qint64 partSize)
{
    const auto file = std::make_shared<QFile>(path);
    if (!file->open(QIODevice::ReadOnly | QIODevice::Unbuffered)) {
        return failure(QStringLiteral("Share"), 1,
            QStringLiteral("Can’t read ") % QFileInfo(path).fileName() % QStringLiteral(": ") % file->errorString());
    }
    return PartReader(file, partSize);
}

PartReader::PartReader(std::shared_ptr<const QFile> file, qint64 partSize)
    : m_file(std::move(file))
    , m_partSize(partSize)
    , m_size(m_file->size())
{
}

qint64 PartReader::count() const { return std::max<qint64>(1, m_size / m_partSize + (m_size % m_partSize ? 1 : 0)); }

HttpBody PartReader::part(qint64 n) const
{
    if (n > count())
        return {};
    const qint64 offset = (n - 1) * m_partSize;
    return {{}, m_file, offset, std::min(m_partSize, m_size - offset)};
}

} // namespace kelmo
