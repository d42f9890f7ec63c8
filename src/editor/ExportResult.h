#pragma once

#include <QString>

namespace kelmo {

/// A finished export.
struct ExportResult {
    QString path; ///< Of the MP4.
    double elapsedMs = 0; ///< Wall time.
    double durationMs = 0; ///< Length of the exported edit.
};

} // namespace kelmo
