#include "media/stack/container/MaskedFileIO.h"

#include "media/stack/container/BoxBytes.h"

namespace kelmo {

namespace {

constexpr int bufferSize = 64 << 10;

} // namespace

MaskedFileIO::MaskedFileIO(const QString& path)
    : m_file(path)
{
}

MaskedFileIO::~MaskedFileIO()
{
    if (m_context)
        av_freep(&m_context->buffer);
    avio_context_free(&m_context);
}

bool MaskedFileIO::open()
{
    if (!m_file.open(QIODevice::ReadOnly))
        return false;
    m_boxes = MovBoxes::read(m_file);
    m_patches = m_boxes.corrections;
    auto* buffer = static_cast<uint8_t*>(av_malloc(bufferSize));
    m_context = avio_alloc_context(buffer, bufferSize, 0, this, &MaskedFileIO::read, nullptr, &MaskedFileIO::seek);
    return m_context != nullptr;
}

void MaskedFileIO::hideTables()
{
    for (const int64_t type : m_boxes.tableTypes)
        m_patches.push_back({type, tag("free")});
    std::sort(m_patches.begin(), m_patches.end(),
        [](const MovBoxes::Patch& a, const MovBoxes::Patch& b) { return a.at < b.at; });
}

void MaskedFileIO::skipMediaData()
{
    m_skip = true;
    m_context->direct = 1;
}

bool MaskedFileIO::readSample(const Sample& sample, AVPacket& packet)
{
    av_packet_unref(&packet);
    return sample.position >= 0 && sample.size > 0 && m_file.seek(sample.position)
        && av_new_packet(&packet, sample.size) >= 0
        && m_file.read(reinterpret_cast<char*>(packet.data), sample.size) == sample.size;
}

int MaskedFileIO::read(void* opaque, uint8_t* buffer, int size)
{
    auto* io = static_cast<MaskedFileIO*>(opaque);
    if (io->m_skip && io->m_boxes.isMediaData(io->m_position, io->m_position + size)) {
        io->m_position += size;
        return size;
    }
    if (!io->m_file.seek(io->m_position))
        return AVERROR(EIO);
    const qint64 got = io->m_file.read(reinterpret_cast<char*>(buffer), size);
    if (got < 0)
        return AVERROR(EIO);
    io->patch(buffer, got);
    io->m_position += got;
    return got == 0 ? AVERROR_EOF : int(got);
}

int64_t MaskedFileIO::seek(void* opaque, int64_t offset, int whence)
{
    auto* io = static_cast<MaskedFileIO*>(opaque);
    if (whence == AVSEEK_SIZE)
        return io->m_file.size();
    if (whence == SEEK_CUR)
        offset += io->m_position;
    else if (whence == SEEK_END)
        offset += io->m_file.size();
    if (offset < 0)
        return AVERROR(EINVAL);
    io->m_position = offset;
    return offset;
}

/// Puts the patches among the `count` bytes from the current position on.
void MaskedFileIO::patch(uint8_t* buffer, int64_t count) const
{
    auto patch = std::upper_bound(m_patches.begin(), m_patches.end(), m_position - 4,
        [](int64_t at, const MovBoxes::Patch& each) { return at < each.at; });
    for (; patch != m_patches.end() && patch->at < m_position + count; ++patch) {
        const uint32_t bytes = qToBigEndian(patch->number);
        for (int64_t i = std::max<int64_t>(0, m_position - patch->at); i < 4 && patch->at + i < m_position + count; ++i)
            buffer[patch->at + i - m_position] = reinterpret_cast<const uint8_t*>(&bytes)[i];
    }
}

} // namespace kelmo
