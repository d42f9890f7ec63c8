#include "agent/HTTPConnection.h"

namespace kelmo {

namespace {

constexpr qint64 readAtOnce = 64 * 1024;
// After this many reads other connections get their turn.
constexpr int readsInARow = 16;

QByteArray reasonPhrase(int status)
{
    switch (status) {
    case 202:
        return "Accepted";
    case 400:
        return "Bad Request";
    case 403:
        return "Forbidden";
    case 404:
        return "Not Found";
    case 405:
        return "Method Not Allowed";
    default:
        return "OK";
    }
}

QByteArray responseHead(int status, qsizetype length, const QByteArray& contentType)
{
    QByteArray head = "HTTP/1.1 " + QByteArray::number(status) + ' ' + reasonPhrase(status)
        + "\r\nContent-Length: " + QByteArray::number(length) + "\r\nConnection: close\r\n";
    if (length > 0)
        head += "Content-Type: " + contentType + "\r\n";
    return head + "\r\n";
}

} // namespace

HTTPConnection::HTTPConnection(qintptr descriptor, const HTTPLimits& limits, QObject* parent)
    : QObject(parent)
    , m_socket(descriptor, nullptr)
    , m_limits(limits)
    , m_reader(limits)
{
    m_silence.setSingleShot(true);
    connect(&m_silence, &QTimer::timeout, this, &HTTPConnection::close);
    connect(&m_socket, &ClientSocket::readyRead, this, &HTTPConnection::readyRead);
    connect(&m_socket, &ClientSocket::bytesWritten, this, &HTTPConnection::sent);
    m_silence.start(m_limits.silence);
}

void HTTPConnection::readyRead()
{
    if (m_phase == Phase::Reading)
        readRequest();
    else if (m_phase == Phase::Lingering)
        discard();
}

void HTTPConnection::readRequest()
{
    std::array<char, readAtOnce> chunk;
    for (int i = 0; i < readsInARow; ++i) {
        const qint64 count = m_socket.read(chunk.data(), chunk.size());
        if (count == 0)
            return;
        if (count < 0)
            return close();
        m_silence.start(m_limits.silence);
        switch (m_reader.add(QByteArrayView(chunk.data(), count))) {
        case HTTPRequestReader::State::Incomplete:
        case HTTPRequestReader::State::Malformed:
            break;
        case HTTPRequestReader::State::TooLarge:
            return close();
        case HTTPRequestReader::State::Complete:
            m_phase = Phase::Answering;
            m_socket.setReading(false);
            m_silence.stop();
            Q_EMIT requestReceived(m_reader.takeRequest());
            return;
        }
    }
}

void HTTPConnection::send(int status, const QByteArray& body, const QByteArray& contentType)
{
    if (m_phase != Phase::Answering)
        return;
    m_phase = Phase::Sending;
    m_silence.start(m_limits.silence);
    m_socket.write(responseHead(status, body.size(), contentType) + body);
    sent();
}

void HTTPConnection::refuse(int status)
{
    m_phase = Phase::Answering;
    m_socket.setReading(false);
    send(status, {}, {});
}

void HTTPConnection::sent()
{
    if (m_phase != Phase::Sending)
        return;
    if (m_socket.isBroken())
        return close();
    m_silence.start(m_limits.silence);
    if (m_socket.bytesToWrite() > 0)
        return;
    // Closing while the client still sends would make the system reset the connection and throw the answer away. So
    // only our direction ends here; what else the client sends is dropped until it closes as well, or for a moment.
    m_phase = Phase::Lingering;
    m_socket.endSending();
    m_socket.setReading(true);
    m_silence.start(m_limits.linger);
    discard();
}

void HTTPConnection::discard()
{
    std::array<char, readAtOnce> chunk;
    qint64 count = 1;
    for (int i = 0; i < readsInARow && count > 0; ++i)
        count = m_socket.read(chunk.data(), chunk.size());
    if (count < 0)
        close();
}

void HTTPConnection::close()
{
    if (m_phase == Phase::Closed)
        return;
    m_phase = Phase::Closed;
    m_silence.stop();
    m_socket.setReading(false);
    Q_EMIT closed();
}

} // namespace kelmo
