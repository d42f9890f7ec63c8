#include "media/ThumbnailGenerator.h"

namespace kelmo {

namespace {

/// A picture that takes this few samples is worth no other one in its place meanwhile.
constexpr int fewSamples = 8;

/// Even, because pictures lose an odd last row or column on the way.
int even(double pixels) { return std::max(2, 2 * int(std::lround(pixels / 2))); }

QSize sizeOf(const Track& track)
{
    const double width = track.uprightWidth();
    const double height = track.uprightHeight();
    const double scale
        = std::min({1.0, ThumbnailGenerator::largest.width() / width, ThumbnailGenerator::largest.height() / height});
    return {even(width * scale), even(height * scale)};
}

FrameConverter converterFor(const Track& track)
{
    const QSize size = sizeOf(track);
    return {size.width(), size.height(), track.quarterTurns, track.color, Scaling::Fast};
}

} // namespace

ThumbnailGenerator::ThumbnailGenerator(LoadedTake::Source movie)
    : m_movie(std::move(movie))
    , m_converter(converterFor(*m_movie.track))
{
}

Result<void> ThumbnailGenerator::open()
{
    if (m_cancelled || m_movie.track->index.isEmpty())
        return failure(QStringLiteral("Thumbnail"), 1);
    if (m_decoder)
        return {};
    // One thread: playing the same movie meanwhile needs the others.
    Result<std::unique_ptr<VideoDecoder>> decoder = VideoDecoder::open(m_movie.asset, *m_movie.track, 1);
    if (!decoder)
        return tl::unexpected(decoder.error());
    m_decoder = std::move(*decoder);
    return {};
}

Result<QImage> ThumbnailGenerator::image(double ms)
{
    if (const Result<void> opened = open(); !opened)
        return tl::unexpected(opened.error());
    return decoded(cheapest(ms));
}

std::optional<Thumbnail> ThumbnailGenerator::keyPicture(double ms)
{
    if (!open())
        return std::nullopt;
    const std::vector<SampleIndex::PresentedFrame>& frames = m_movie.track->index.frames();
    int display = cheapest(ms);
    const int32_t key = frames[size_t(display)].key;
    if (m_decoder->costOf(display) <= fewSamples)
        return std::nullopt;
    while (display >= 0 && frames[size_t(display)].sample != key)
        --display;
    if (display < 0)
        return std::nullopt; // The edit list leaves it out.
    const Result<QImage> picture = decoded(display);
    if (!picture)
        return std::nullopt;
    return Thumbnail{*picture, fromTicks(frames[size_t(display)].present, m_movie.track->index.timeBase()).ms()};
}

Result<QImage> ThumbnailGenerator::decoded(int display)
{
    m_decoder->expect(std::array{display});
    const Result<VideoFrame> frame = m_decoder->frame(display, [this] { return m_cancelled.load(); });
    if (!frame)
        return tl::unexpected(frame.error());
    const VideoFrame little = m_converter.convert(*frame);
    QImage picture(little ? little.width() : 0, little ? little.height() : 0, QImage::Format_RGB32);
    if (picture.isNull() || !m_toRgb.scale(little, picture, Scaling::Fast))
        return failure(QStringLiteral("Thumbnail"), 2);
    return picture;
}

/// Of the pictures within the tolerance the one that takes the fewest samples to get to, the nearest of equals. One of
/// them is always the picture that is on show at the moment itself, however long it has been.
int ThumbnailGenerator::cheapest(double ms) const
{
    const SampleIndex& index = m_movie.track->index;
    const ExactTime moment = ExactTime::of(MediaTime::fromMs(ms));
    const MediaTime tolerance = MediaTime::fromMs(toleranceMs);
    const int64_t asked = moment.ticksNearest(index.timeBase());
    const auto rank = [&](int display) {
        const int64_t away = std::abs(index.frames()[size_t(display)].present - asked);
        return std::pair(m_decoder->costOf(display), away);
    };
    int best = index.frameAt(moment).value_or(0);
    const int end = index.frameAfter(moment.movedBy(tolerance));
    for (int display = index.frameAfter(moment.movedBy({-tolerance.us})); display < end; ++display) {
        if (rank(display) < rank(best))
            best = display;
    }
    return best;
}

} // namespace kelmo
