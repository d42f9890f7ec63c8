#pragma once

#include "views/timeline/DeviceGrid.h"
#include "views/timeline/Filmstrip.h"

namespace kelmo {

/// The row of thumbnails under the timeline bar, painted once into a pixmap and shown from it until a picture, the size
/// or the edit changes. Owned by the bar; main thread.
class TimelineStrip {
public:
    explicit TimelineStrip(const Filmstrip& pictures)
        : m_pictures(pictures)
    {
    }

    void setTimes(std::vector<double> tileTimes); ///< What each tile shows, in source ms.
    void repaint() { m_painted = {}; }
    /// At an end where something adjoins, the strip's corners are square.
    struct Ends {
        bool leftAdjoins = false;
        bool rightAdjoins = false;

        bool operator==(const Ends&) const = default;
    };
    void draw(QPainter& painter, const DeviceGrid& grid, const QRectF& strip, Ends ends);

private:
    [[nodiscard]] QPixmap paint(QSize pixels, double ratio, Ends ends);
    [[nodiscard]] QImage pictureFor(size_t index) const;
    [[nodiscard]] QImage tile(const QImage& picture, QSize pixels);

    const Filmstrip& m_pictures;
    std::vector<double> m_times;
    double m_reachMs = 0; ///< How far off a picture may be that stands in for a tile's own.
    QPixmap m_painted;
    double m_paintedRatio = 0;
    Ends m_paintedEnds;
    QHash<qint64, QImage> m_scaled; ///< Tiles of a recent size, by the picture they were made from.
    QSize m_scaledSize;
};

} // namespace kelmo
