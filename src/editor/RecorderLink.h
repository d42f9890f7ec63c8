#pragma once

#include "platform/http/HttpClient.h"

namespace kelmo {

/// Asks the recorder, over its local port, for what only it can do. Owned by the Editor; main thread only.
class RecorderLink {
public:
    /// Asks to align the transcript of a take. Nothing comes back here: the recorder rewrites the transcript file.
    void requestAlign(const QString& base);

private:
    HttpClient m_client{std::chrono::minutes(2)};
};

} // namespace kelmo
