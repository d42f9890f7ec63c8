#pragma once

#include <QByteArray>

#include <functional>

namespace kelmo {

/// JSON text that is made when it is asked for. Its creator takes a snapshot of what it needs on the main
/// thread; writing it, which for a long transcript or a picture takes a while, then happens on the server's thread.
using DeferredJson = std::function<QByteArray()>;

} // namespace kelmo
