#pragma once

#include <QUrl>

namespace kelmo::Analytics {

/// The address that events are posted to. Callable from any thread.
[[nodiscard]] QUrl endpoint();

/// Sends the events of the rest of this run to another address, such as a test's own server on loopback.
void setEndpointForTests(const QUrl& url);

} // namespace kelmo::Analytics
