#pragma once

#include "platform/http/HttpClient.h"

#include <functional>

namespace kelmo {

/// Finds out whether a share server answers. Owned by the view that asks; main thread.
class ConnectionTest : public QObject {
    Q_OBJECT

public:
    explicit ConnectionTest(QObject* parent = nullptr);

    /// Asks the server at `endpoint` itself; `report` is called with a line for the user now and when the answer is
    /// known. A newer test replaces one that is under way. Does nothing when `endpoint` is no URL.
    void run(const QString& endpoint, std::function<void(const QString& status)> report);

private:
    HttpClient m_client;
};

} // namespace kelmo
