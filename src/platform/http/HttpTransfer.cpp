#include "platform/http/HttpTransfer.h"

#include <QFileInfo>

#include <curl/curl.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

#include <unistd.h>

namespace kelmo {

namespace {

constexpr qsizetype maxAnswerBytes = qsizetype(1024) * 1024;
constexpr long sendBufferBytes = 256L * 1024;
/// A connection that was idle for longer may have been forgotten by what lies between.
constexpr long maxIdleSeconds = 5;
constexpr char userAgent[] = "KelmoEditor";

tl::unexpected<Error> networkFailure(int code, const QString& why)
{
    return failure(QStringLiteral("Network"), code, why);
}

QString reason(CURL* handle, CURLcode code)
{
    switch (code) {
    case CURLE_COULDNT_RESOLVE_HOST:
        return QStringLiteral("there is no server of this name");
    case CURLE_COULDNT_RESOLVE_PROXY:
        return QStringLiteral("there is no proxy of this name");
    case CURLE_COULDNT_CONNECT: {
        long number = 0;
        curl_easy_getinfo(handle, CURLINFO_OS_ERRNO, &number);
        return number != 0 ? QString::fromLocal8Bit(::strerrordesc_np(int(number))) : QStringLiteral("no connection");
    }
    case CURLE_PEER_FAILED_VERIFICATION:
        return QStringLiteral("its certificate is not trusted");
    case CURLE_SSL_CONNECT_ERROR:
        return QStringLiteral("there is no secure connection to it");
    case CURLE_UNSUPPORTED_PROTOCOL:
    case CURLE_WEIRD_SERVER_REPLY:
        return QStringLiteral("what it answers is not HTTP");
    case CURLE_SEND_ERROR:
    case CURLE_RECV_ERROR:
    case CURLE_GOT_NOTHING:
    case CURLE_PARTIAL_FILE:
    case CURLE_SEND_FAIL_REWIND:
        return QStringLiteral("the connection was lost");
    default:
        return QString::fromLatin1(curl_easy_strerror(code));
    }
}

/// A line break would begin another header.
QByteArray oneLine(QByteArray text) { return text.replace('\r', ' ').replace('\n', ' '); }

} // namespace

HttpTransfer::HttpTransfer(quint64 id, HttpRequest request, std::chrono::milliseconds timeout)
    : m_id(id)
    , m_request(std::move(request))
    , m_timeout(timeout)
    , m_handle(curl_easy_init())
{
    setUp();
    setUpBody();
    setUpHeaders();
}

HttpTransfer::~HttpTransfer()
{
    curl_easy_cleanup(m_handle);
    curl_slist_free_all(m_headers);
}

void HttpTransfer::setUp()
{
    curl_easy_setopt(m_handle, CURLOPT_PRIVATE, this);
    curl_easy_setopt(m_handle, CURLOPT_URL, m_request.url.toEncoded().constData());
    curl_easy_setopt(m_handle, CURLOPT_PROTOCOLS_STR, "http,https");
    curl_easy_setopt(m_handle, CURLOPT_REDIR_PROTOCOLS_STR, "http,https");
    const bool follows = m_request.redirects == HttpRequest::Redirects::Follow;
    curl_easy_setopt(m_handle, CURLOPT_FOLLOWLOCATION, follows ? 1L : 0L);
    // A connection for each request that is under way: they must not wait for each other's windows.
    curl_easy_setopt(m_handle, CURLOPT_HTTP_VERSION, long(CURL_HTTP_VERSION_1_1));
    curl_easy_setopt(m_handle, CURLOPT_MAXAGE_CONN, maxIdleSeconds);
    curl_easy_setopt(m_handle, CURLOPT_USERAGENT, userAgent);
    curl_easy_setopt(m_handle, CURLOPT_SUPPRESS_CONNECT_HEADERS, 1L);
    curl_easy_setopt(m_handle, CURLOPT_WRITEFUNCTION, &HttpTransfer::receive);
    curl_easy_setopt(m_handle, CURLOPT_WRITEDATA, this);
    curl_easy_setopt(m_handle, CURLOPT_NOSIGNAL, 1L);
    // A look-up that no name server answers is left behind; it would hold up the end of the thread.
    curl_easy_setopt(m_handle, CURLOPT_QUICK_EXIT, 1L);
}

void HttpTransfer::setUpBody()
{
    if (m_request.method == "GET")
        return;
    curl_easy_setopt(m_handle, CURLOPT_UPLOAD, 1L);
    curl_easy_setopt(m_handle, CURLOPT_CUSTOMREQUEST, m_request.method.constData());
    curl_easy_setopt(m_handle, CURLOPT_INFILESIZE_LARGE, curl_off_t(m_request.body.size()));
    curl_easy_setopt(m_handle, CURLOPT_UPLOAD_BUFFERSIZE, sendBufferBytes);
    // There is no function to rewind the body with, on purpose.
    curl_easy_setopt(m_handle, CURLOPT_READFUNCTION, &HttpTransfer::send);
    curl_easy_setopt(m_handle, CURLOPT_READDATA, this);
}

void HttpTransfer::setUpHeaders()
{
    // The body is sent without asking first.
    m_headers = curl_slist_append(m_headers, "Expect:");
    for (const HttpRequest::Header& each : m_request.headers)
        m_headers = curl_slist_append(m_headers, oneLine(each.name + ": " + each.value).constData());
    curl_easy_setopt(m_handle, CURLOPT_HTTPHEADER, m_headers);
}

size_t HttpTransfer::send(char* buffer, size_t size, size_t count, void* transfer)
{
    auto* const self = static_cast<HttpTransfer*>(transfer);
    self->begin();
    const qint64 sent = self->read(buffer, qint64(size * count));
    if (sent < 0)
        return CURL_READFUNC_ABORT;
    self->m_sent += sent;
    return size_t(sent);
}

/// Bytes of the body from where it has been sent to; -1 if the file can't be read.
qint64 HttpTransfer::read(char* buffer, qint64 maxBytes)
{
    const HttpBody& body = m_request.body;
    const qint64 count = std::min(maxBytes, body.size() - m_sent);
    if (!body.file) {
        std::copy_n(body.bytes.constData() + m_sent, count, buffer);
        return count;
    }
    if (count == 0)
        return 0;
    const ssize_t read = ::pread(body.file->handle(), buffer, size_t(count), off_t(body.offset + m_sent));
    if (read > 0)
        return read;
    const QString why
        = read < 0 ? QString::fromLocal8Bit(::strerrordesc_np(errno)) : QStringLiteral("it has become shorter");
    m_readError = Error{QStringLiteral("File"), 1,
        QStringLiteral("Can’t read ") % QFileInfo(body.file->fileName()).fileName() % QStringLiteral(": ") % why};
    return -1;
}

size_t HttpTransfer::receive(char* data, size_t size, size_t count, void* transfer)
{
    auto* const self = static_cast<HttpTransfer*>(transfer);
    const auto arrived = qsizetype(size * count);
    const qsizetype room = maxAnswerBytes - self->m_received.size();
    self->m_received.append(data, std::min(arrived, room));
    // Anything but the whole of it ends the transfer.
    return arrived < room ? size_t(arrived) : 0;
}

Result<HttpAnswer> HttpTransfer::outcome(int code)
{
    if (m_readError)
        return tl::unexpected(*m_readError);
    if (code != CURLE_OK && m_received.size() < maxAnswerBytes)
        return networkFailure(code, reason(m_handle, CURLcode(code)));
    long status = 0;
    curl_easy_getinfo(m_handle, CURLINFO_RESPONSE_CODE, &status);
    return HttpAnswer{int(status), m_received};
}

Result<HttpAnswer> HttpTransfer::overdue()
{
    return networkFailure(CURLE_OPERATION_TIMEDOUT, QStringLiteral("it does not answer"));
}

} // namespace kelmo
