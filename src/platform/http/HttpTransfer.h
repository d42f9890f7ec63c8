#pragma once

#include "platform/http/HttpRequest.h"

using CURL = void;
struct curl_slist;

namespace kelmo {

/// One request on its way, from sending to the whole answer. Owned by an HttpThread, which alone uses it once it is
/// made. It is sent once: its body cannot be read a second time, so libcurl cannot repeat it on another connection.
class HttpTransfer {
public:
    using Clock = std::chrono::steady_clock;

    /// Fails after `timeout` without progress in sending, or if the whole answer then takes longer than that.
    HttpTransfer(quint64 id, HttpRequest request, std::chrono::milliseconds timeout);
    ~HttpTransfer();
    HttpTransfer(const HttpTransfer&) = delete;
    HttpTransfer& operator=(const HttpTransfer&) = delete;

    [[nodiscard]] quint64 id() const { return m_id; }
    [[nodiscard]] CURL* handle() const { return m_handle; }
    [[nodiscard]] Clock::time_point deadline() const { return m_moved + m_timeout; }

    void begin() { m_moved = Clock::now(); }

    /// What came of it, once libcurl has ended it with `code`.
    [[nodiscard]] Result<HttpAnswer> outcome(int code);

    [[nodiscard]] static Result<HttpAnswer> overdue();

private:
    void setUp();
    void setUpBody();
    void setUpHeaders();
    static size_t send(char* buffer, size_t size, size_t count, void* transfer);
    static size_t receive(char* data, size_t size, size_t count, void* transfer);
    [[nodiscard]] qint64 read(char* buffer, qint64 maxBytes);

    const quint64 m_id;
    const HttpRequest m_request;
    const std::chrono::milliseconds m_timeout;
    CURL* const m_handle;
    curl_slist* m_headers = nullptr;
    Clock::time_point m_moved; ///< When bytes were last wanted for sending.
    qint64 m_sent = 0;
    QByteArray m_received;
    std::optional<Error> m_readError;
};

} // namespace kelmo
