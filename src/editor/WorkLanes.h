#pragma once

#include <QThreadPool>

namespace kelmo {

/// The editor's workers: a lane for each kind of work, so that no kind waits for another. Owned by the Editor; work is
/// handed over on the main thread.
struct WorkLanes {
    WorkLanes();

    QThreadPool opening; ///< Reads movies' tables. More than one, since a slow disk must not hold up the next take.
    QThreadPool watching; ///< Reads the files of a take again.
    QThreadPool grabbing; ///< Makes frames to look at. Each decodes on several threads of its own.
    QThreadPool exporting; ///< Makes one movie at a time.

    /// Blocks until all lanes are empty.
    void waitForDone();
};

} // namespace kelmo
