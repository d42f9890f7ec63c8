#pragma once

#include <QByteArray>
#include <QCoreApplication>

#include <chrono>
#include <future>
#include <sys/types.h>

namespace kelmo {

/// A TCP client without any help, so that a test decides about every byte and when it is sent. Blocks; belongs on a
/// thread other than the one the editor lives on (see beside()).
class RawClient {
public:
    /// Connects to 127.0.0.1; fails the test when that does not work.
    explicit RawClient(quint16 port);
    ~RawClient();
    RawClient(const RawClient&) = delete;
    RawClient& operator=(const RawClient&) = delete;

    /// Whether all of it could be sent.
    bool send(const QByteArray& bytes);
    /// Ends only our direction.
    void endSending();
    /// Everything until the server closes; what there is after the time-out otherwise, with `timedOut` set.
    [[nodiscard]] QByteArray readToEnd(std::chrono::milliseconds timeout = std::chrono::seconds(20));
    [[nodiscard]] bool timedOut() const { return m_timedOut; }

private:
    int m_socket;
    bool m_timedOut = false;
};

/// What comes back for these bytes when a process of another user sends them. Requires root.
[[nodiscard]] QByteArray exchangeAs(uid_t user, quint16 port, const QByteArray& bytes);

/// Runs `work` on a thread of its own while this one, the editor's, goes on handling events.
template <class Work> auto beside(Work work)
{
    auto result = std::async(std::launch::async, std::move(work));
    while (result.wait_for(std::chrono::microseconds(200)) != std::future_status::ready)
        QCoreApplication::processEvents();
    return result.get();
}

} // namespace kelmo
