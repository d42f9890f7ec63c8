#pragma once

// Turns states of the screen into pictures. Keeps the slide painted last, since most pictures only move the pointer.
// Owned by the maker of the screen movie, on its thread.

#include "tools/sample-take/ScreenState.h"

#include <QImage>

#include <optional>

namespace kelmo {

class ScreenPainter {
public:
    explicit ScreenPainter(QSize size);

    /// Valid until the next call.
    [[nodiscard]] const QImage& paint(const ScreenState& state);

private:
    struct Slide {
        std::optional<SlideState> state;
        QImage image;
    };

    const QImage& slide(Slide& kept, const SlideState& state);
    void paintPointer(QPoint pointer);

    QSize m_size;
    double m_scale; ///< From 1920 × 1080 to the picture, the same across and down.
    QPointF m_origin;
    Slide m_current;
    Slide m_leaving;
    QImage m_picture;
};

} // namespace kelmo
