#pragma once

#include <QImage>

namespace kelmo {

/// A small picture of a movie. A value for any thread.
struct Thumbnail {
    QImage picture;
    double ms = 0; ///< When it shows, of the movie's time.
};

} // namespace kelmo
