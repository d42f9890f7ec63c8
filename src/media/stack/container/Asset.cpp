#include "media/stack/container/Asset.h"

#include "media/stack/container/AssetOpening.h"

#include <QFile>
#include <QFileInfo>

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <unistd.h>

namespace kelmo {

Result<std::shared_ptr<const Asset>> Asset::open(const QString& path)
{
    Result<AssetTables> tables = readTables(path);
    if (!tables)
        return tl::unexpected(tables.error());

    std::shared_ptr<Asset> asset(new Asset);
    asset->m_path = path;
    asset->m_file = ::open(QFile::encodeName(path).constData(), O_RDONLY | O_CLOEXEC);
    if (asset->m_file < 0)
        return avFailure(AVERROR(errno), QStringLiteral("Can’t open"), asset->name());
    asset->m_isMov = tables->isMov;
    asset->m_tracks = std::move(tables->tracks);
    for (const Track& track : asset->m_tracks)
        asset->m_duration = std::max(asset->m_duration, track.range.end());
    // A recording that broke off in its first fragment, say.
    if (!asset->m_tracks.empty() && asset->m_duration.ms() <= 0)
        return avFailure(AVERROR_INVALIDDATA, QStringLiteral("Can’t open"), asset->name());
    return std::shared_ptr<const Asset>(std::move(asset));
}

Asset::~Asset()
{
    if (m_file >= 0)
        ::close(m_file);
}

QString Asset::name() const { return QFileInfo(m_path).fileName(); }

Result<void> Asset::readSample(const Sample& sample, AVPacket& packet) const
{
    av_packet_unref(&packet);
    if (const int code = av_new_packet(&packet, sample.size); code < 0)
        return avFailure(code, QStringLiteral("Can’t read"), name());
    for (int got = 0; got < sample.size;) {
        const ssize_t count = ::pread(m_file, packet.data + got, size_t(sample.size - got), sample.position + got);
        if (count < 0 && errno == EINTR)
            continue;
        if (count <= 0)
            return avFailure(count < 0 ? AVERROR(errno) : AVERROR_EOF, QStringLiteral("Can’t read"), name());
        got += int(count);
    }
    packet.pts = sample.pts;
    packet.dts = sample.dts;
    packet.flags = sample.key ? AV_PKT_FLAG_KEY : 0;
    return {};
}

} // namespace kelmo
