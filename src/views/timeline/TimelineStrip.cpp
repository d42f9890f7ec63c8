#include "views/timeline/TimelineStrip.h"

#include "views/style/Theme.h"
#include "views/timeline/TimelineArt.h"

#include <limits>

namespace kelmo {

namespace {

const QColor placeholder = QColor::fromRgbF(0.16F, 0.16F, 0.16F);

} // namespace

void TimelineStrip::setTimes(std::vector<double> tileTimes)
{
    m_times = std::move(tileTimes);
    // A neighbour's picture is no stand-in: while the strip fills for the first time, it would only flicker.
    constexpr double shortOfTheNeighbour = 0.95;
    double between = std::numeric_limits<double>::infinity();
    for (size_t i = 1; i < m_times.size(); ++i)
        between = std::min(between, m_times[i] - m_times[i - 1]);
    m_reachMs = shortOfTheNeighbour * between;
    repaint();
}

void TimelineStrip::draw(QPainter& painter, const DeviceGrid& grid, const QRectF& strip, Ends ends)
{
    const QSize pixels = grid.pixels(strip);
    if (m_painted.size() != pixels || m_paintedRatio != grid.ratio() || m_paintedEnds != ends) {
        m_painted = paint(pixels, grid.ratio(), ends);
        m_paintedRatio = grid.ratio();
        m_paintedEnds = ends;
    }
    grid.draw(painter, strip.topLeft(), m_painted);
}

QImage TimelineStrip::pictureFor(size_t index) const
{
    const QImage own = m_pictures.image(m_times[index]);
    return own.isNull() ? m_pictures.standIn(m_times[index], m_reachMs) : own;
}

QPixmap TimelineStrip::paint(QSize pixels, double ratio, Ends ends)
{
    QPixmap painted(pixels);
    painted.fill(Qt::transparent);
    QPainter painter(&painted);
    painter.fillRect(painted.rect(), m_times.empty() ? Theme::surface2 : placeholder);
    const int count = int(m_times.size());
    for (int i = 0; i < count; ++i) {
        const int left = pixels.width() * i / count;
        const QImage picture = pictureFor(size_t(i));
        if (!picture.isNull())
            painter.drawImage(left, 0, tile(picture, {pixels.width() * (i + 1) / count - left, pixels.height()}));
    }
    painter.setRenderHint(QPainter::Antialiasing);
    const double beyond = 2 * Theme::stripRadius * ratio;
    QPainterPath corners = TimelineArt::softRect(
        QRectF(painted.rect()).adjusted(ends.leftAdjoins ? -beyond : 0, 0, ends.rightAdjoins ? beyond : 0, 0),
        Theme::stripRadius * ratio);
    corners.addRect(painted.rect()); // What is inside both is outside of an odd-even path.
    painter.setCompositionMode(QPainter::CompositionMode_DestinationOut);
    painter.fillPath(corners, Qt::black);
    return painted;
}

/// The picture's middle, filling the tile.
QImage TimelineStrip::tile(const QImage& picture, QSize pixels)
{
    // Widths differ by a pixel within a row; what is scaled for one serves the other.
    const QSize room(pixels.width() + 1, pixels.height());
    if (std::abs(room.width() - m_scaledSize.width()) > 1 || room.height() != m_scaledSize.height()) {
        m_scaled.clear();
        m_scaledSize = room;
    }
    QImage& scaled = m_scaled[picture.cacheKey()];
    if (scaled.isNull())
        scaled = picture.scaled(m_scaledSize, Qt::KeepAspectRatioByExpanding, Qt::SmoothTransformation);
    return scaled.copy(QRect({(scaled.width() - pixels.width()) / 2, (scaled.height() - pixels.height()) / 2}, pixels));
}

} // namespace kelmo
