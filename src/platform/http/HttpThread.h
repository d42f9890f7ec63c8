#pragma once

#include "platform/http/HttpTransfer.h"

#include <condition_variable>
#include <functional>
#include <map>
#include <mutex>

using CURLM = void;

namespace kelmo {

/// The thread on which the transfers of one HttpClient run, any number at once. It holds itself: after `end` it lives
/// until it notices, so that no file that blocks and no name server that is silent holds up the client's thread.
class HttpThread {
public:
    /// Called on this thread with the outcome of a transfer, except of dropped ones; never after `end`.
    using OnOutcome = std::function<void(quint64 id, Result<HttpAnswer> outcome)>;

    [[nodiscard]] static std::shared_ptr<HttpThread> start(OnOutcome onOutcome);
    // Callable from any thread.
    void add(std::unique_ptr<HttpTransfer> transfer);
    void dropAll();
    void end(); ///< Waits until the thread has ended, but for at most 200 ms.

private:
    explicit HttpThread(OnOutcome onOutcome);
    void run();
    [[nodiscard]] bool takeOrders();
    void begin(std::unique_ptr<HttpTransfer> transfer);
    std::unique_ptr<HttpTransfer> remove(CURL* handle);
    void finishEnded();
    void finishOverdue();
    void report(quint64 id, Result<HttpAnswer> outcome);
    [[nodiscard]] int waitMs() const;

    CURLM* const m_multi; ///< Good until the thread has ended.
    std::map<CURL*, std::unique_ptr<HttpTransfer>> m_transfers; ///< Used by the thread alone.

    std::mutex m_mutex; ///< Of the rest.
    std::condition_variable m_changed;
    OnOutcome m_onOutcome; ///< Empty after `end`.
    std::vector<std::unique_ptr<HttpTransfer>> m_orders; ///< To begin; null drops all before it.
    bool m_ended = false; ///< The thread is through.
};

} // namespace kelmo
