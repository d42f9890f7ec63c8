#pragma once

#include <QString>

namespace kelmo {

/// What the small take says: word i starts at 1000·i + 1000 ms and lasts 400 ms, words 2 and 5 are fillers, and there
/// is a long pause before the last one.
namespace SmallTake {

constexpr int words = 8;

/// Writes the take into a folder, a movie of 160×120 with sound and a transcript, and returns the movie's path. Fails
/// the test when that does not work.
QString write(const QString& folder, double seconds = 10);

} // namespace SmallTake

} // namespace kelmo
