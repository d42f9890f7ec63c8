#pragma once

#include <QCoroTask>
#include <QStringList>

namespace kelmo {

/// The program's own measurements of playing and of making preview pictures. Each prints one JSON object on standard
/// output and returns. Main thread, with a running event loop, before anything else is built.
namespace Bench {

/// Plays a take, muted, for five seconds and watches when its pictures change. `arguments` is the whole command line.
[[nodiscard]] QCoro::Task<void> play(QString path, QStringList arguments);

/// Makes all preview pictures of a take as fast as possible.
[[nodiscard]] QCoro::Task<void> preview(QString path, QStringList arguments);

} // namespace Bench

} // namespace kelmo
