#pragma once

// Paints the speaker of the sample take in front of a room, as a webcam would see them. Owned by the maker of the
// webcam movie, on its thread.

#include "tools/sample-take/FaceState.h"

#include <QImage>
#include <QPainter>

namespace kelmo {

class FacePainter {
public:
    explicit FacePainter(QSize size);

    /// Valid until the next call.
    [[nodiscard]] const QImage& paint(const FaceState& state);

private:
    void paintRoom();

    QSize m_size;
    double m_scale; ///< From 1280 × 720.
    QImage m_room;
    QImage m_picture;
};

} // namespace kelmo
