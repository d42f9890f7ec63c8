#pragma once

#include "tests/fakes/ShareBook.h"

#include <atomic>
#include <chrono>
#include <functional>
#include <set>
#include <thread>
#include <vector>

namespace kelmo {

/// A share server on loopback: real HTTP, real files, and the faults of real networks on request. Every connection has
/// a thread, so that the program under test may do as it likes with its own. Owned by the test, which may ask it from
/// any thread.
class ShareServer {
public:
    enum class Fault {
        None,
        Status, ///< Answers `status` and `body` and does nothing.
        Drop, ///< Reads the request and hangs up.
        DropInside, ///< Hangs up in the middle of the request.
        LoseReply, ///< Does what it is asked and hangs up.
        CutReply, ///< The same, in the middle of the answer.
        Garbage, ///< Answers what is no HTTP.
        Slow, ///< Waits for `delay` before it does what it is asked.
        Silent, ///< Never answers.
        Processing, ///< Says twice that it is still at work, and then does what it is asked.
        EndlessHead, ///< Answers one header after another, without end.
    };

    struct Handling {
        Fault fault = Fault::None;
        int status = 500;
        QByteArray body = {};
        std::chrono::milliseconds delay{0};
        std::shared_ptr<const std::atomic<bool>> gate = nullptr; ///< The request is handled once this is true.
    };

    struct Request {
        int number = 0; ///< From 0, over all connections.
        QByteArray method;
        QByteArray path;
        QByteArray authorization;
        QByteArray contentType;
        qint64 size = 0;
        bool expectsContinue = false;
    };

    struct Options {
        QString folder; ///< Made when missing.
        QByteArray token = "sesame-0123456789";
        QString publicUrl; ///< What links begin with; empty for the server itself.
        qint64 partSize = 0; ///< 0 leaves it out of the answers.
        quint16 port = 0;
    };

    explicit ShareServer(const Options& options);
    ~ShareServer();
    ShareServer(const ShareServer&) = delete;
    ShareServer& operator=(const ShareServer&) = delete;

    [[nodiscard]] QString endpoint() const;
    [[nodiscard]] ShareBook& book() { return m_book; }

    /// How each request is handled. Called on the server's threads, one at a time.
    void setScript(std::function<Handling(const Request&)> script);

    [[nodiscard]] std::vector<Request> requests() const;
    /// How many of the requests so far begin with this method and path.
    [[nodiscard]] int count(const QByteArray& method, const QByteArray& path) const;
    [[nodiscard]] int answeredParts() const { return m_answeredParts; }
    [[nodiscard]] int maxPartsAtOnce() const { return m_mostPartsAtOnce; }

private:
    class Connection;

    [[nodiscard]] static int listenOn(quint16 port);
    void accept();
    [[nodiscard]] Handling handling(Request& request);
    void beginPart(int socket);
    void endPart(int socket);
    [[nodiscard]] bool mayEnter(const Request& request) const;

    const Options m_options;
    const int m_listener;
    const quint16 m_port;
    ShareBook m_book;
    mutable std::mutex m_mutex;
    std::function<Handling(const Request&)> m_script;
    std::vector<Request> m_requests;
    std::set<int> m_sockets;
    std::set<int> m_partSockets;
    std::atomic<int> m_mostPartsAtOnce = 0;
    std::atomic<int> m_answeredParts = 0;
    std::atomic<bool> m_stopping = false;
    std::vector<std::thread> m_threads;
    std::thread m_accepting;
};

} // namespace kelmo
