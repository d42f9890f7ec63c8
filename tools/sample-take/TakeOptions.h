#pragma once

// What the user asked the program sample-take for. A value made from the command line.

#include "platform/Error.h"

#include <QSize>
#include <QStringList>

namespace kelmo {

struct TakeOptions {
    QString folder;
    QString base;
    QSize size;
    double framesPerSecond = 60; ///< At most, while something moves.
    QString codec; ///< "h264" or "hevc".
    double seconds = 0; ///< 0 for the talk's own length.
    uint32_t seed = 1;
    bool webcam = true;
    bool transcript = true;
    bool aligned = true;
    bool quiet = false;

    /// Prints help and leaves the process when asked to, as QCommandLineParser does.
    [[nodiscard]] static Result<TakeOptions> parse(const QStringList& arguments);
};

} // namespace kelmo
