#include "tests/fakes/ShareConnection.h"

#include <QFile>
#include <QJsonDocument>

#include <fcntl.h>
#include <poll.h>
#include <sys/sendfile.h>
#include <sys/socket.h>
#include <unistd.h>

namespace kelmo {

namespace {

constexpr size_t chunkBytes = 256 * 1024;
constexpr qint64 largestBody = 64 * 1024 * 1024; ///< Of what is kept in memory: everything but parts.

QByteArray head(int status, const QByteArray& type, qint64 length)
{
    return "HTTP/1.1 " + QByteArray::number(status) + " Answer\r\nContent-Type: " + type
        + "\r\nContent-Length: " + QByteArray::number(length) + "\r\n\r\n";
}

/// "/api/shares/<id>/<what>" and "/api/shares/<id>/parts/<n>", taken apart.
struct SharePath {
    explicit SharePath(const QByteArray& path)
    {
        const QList<QByteArray> steps = path.split('/');
        id = QString::fromUtf8(steps.value(3));
        what = steps.mid(4, 1).value(0);
        n = what == "parts" ? steps.value(5).toLongLong() : 0;
    }

    QString id;
    QByteArray what;
    qint64 n = 0;
};

} // namespace

ShareServer::Connection::Connection(ShareServer& server, int socket)
    : m_server(server)
    , m_socket(socket)
    , m_chunk(chunkBytes)
{
}

void ShareServer::Connection::run()
{
    Request request;
    for (bool goesOn = readHead(request); goesOn; goesOn = goesOn && readHead(request)) {
        goesOn = serve(request);
        if (request.path.contains("/parts/"))
            ++m_server.m_answeredParts;
        request = Request();
    }
}

bool ShareServer::Connection::read()
{
    const ssize_t count = ::recv(m_socket, m_chunk.data(), m_chunk.size(), 0);
    if (count <= 0)
        return false;
    m_buffer.append(m_chunk.data(), count);
    return true;
}

bool ShareServer::Connection::readHead(Request& request)
{
    qsizetype end = -1;
    while ((end = m_buffer.indexOf("\r\n\r\n")) < 0) {
        if (!read())
            return false;
    }
    QList<QByteArray> lines = m_buffer.left(end).split('\n');
    m_buffer.remove(0, end + 4);
    const QList<QByteArray> first = lines.takeFirst().trimmed().split(' ');
    request.method = first.value(0);
    request.path = first.value(1);
    for (const QByteArray& line : lines) {
        const QByteArray name = line.left(line.indexOf(':')).toLower();
        const QByteArray value = line.mid(name.size() + 1).trimmed();
        if (name == "authorization")
            request.authorization = value;
        else if (name == "content-type")
            request.contentType = value;
        else if (name == "content-length")
            request.size = value.toLongLong();
        else if (name == "expect")
            request.expectsContinue = true;
    }
    return true;
}

bool ShareServer::Connection::readBody(const Request& request, const std::function<bool(const char*, qint64)>& take)
{
    if (request.expectsContinue && !write("HTTP/1.1 100 Continue\r\n\r\n"))
        return false;
    const qint64 before = std::min<qint64>(m_buffer.size(), request.size);
    if (!take(m_buffer.constData(), before))
        return false;
    m_buffer.remove(0, before);
    for (qint64 left = request.size - before; left > 0;) {
        const ssize_t count = ::recv(m_socket, m_chunk.data(), std::min<size_t>(m_chunk.size(), size_t(left)), 0);
        if (count <= 0 || !take(m_chunk.data(), count))
            return false;
        left -= count;
    }
    return true;
}

bool ShareServer::Connection::serve(Request& request)
{
    const Handling handling = m_server.handling(request);
    const bool isPart = request.path.contains("/parts/");
    if (isPart)
        m_server.beginPart(m_socket);
    QByteArray body;
    QString partFile;
    bool goesOn = handling.fault != Fault::DropInside;
    if (goesOn && isPart) {
        partFile = m_server.m_book.temporaryPart();
        QFile file(partFile);
        goesOn = file.open(QIODevice::WriteOnly | QIODevice::Unbuffered)
            && readBody(request, [&](const char* data, qint64 size) { return file.write(data, size) == size; });
    } else if (goesOn) {
        goesOn = request.size <= largestBody && readBody(request, [&](const char* data, qint64 size) {
            body.append(data, size);
            return true;
        });
    }
    constexpr std::chrono::milliseconds gateLook{2};
    while (goesOn && handling.gate && !*handling.gate)
        goesOn = waits(gateLook);
    if (goesOn && handling.fault == Fault::Slow)
        goesOn = waits(handling.delay);
    if (isPart)
        m_server.endPart(m_socket);
    if (!goesOn)
        return false;
    if (handling.fault == Fault::Processing)
        goesOn = write("HTTP/1.1 102 Processing\r\n\r\nHTTP/1.1 103 Early Hints\r\nLink: </a>\r\n\r\n");
    else if (handling.fault != Fault::None && handling.fault != Fault::Slow && handling.fault != Fault::LoseReply
        && handling.fault != Fault::CutReply)
        return spoil(handling);
    if (request.method == "GET")
        return get(request);
    const ShareBook::Reply reply = carryOut(request, body, partFile);
    if (handling.fault == Fault::LoseReply)
        return false;
    if (handling.fault == Fault::CutReply) {
        const QByteArray whole = head(reply.status, "application/json", reply.body.size() + 10) + reply.body;
        [[maybe_unused]] const bool sent = write(whole);
        return false;
    }
    return answer(reply);
}

/// Whether the connection goes on afterwards.
bool ShareServer::Connection::spoil(const Handling& handling)
{
    switch (handling.fault) {
    case Fault::Status:
        return answer({handling.status, handling.body});
    case Fault::Garbage: {
        constexpr char garbage[] = "\x16\x03\x01 no words of HTTP \r\n\r\n\0\0\xff";
        [[maybe_unused]] const bool sent = write(QByteArray(garbage, sizeof garbage));
        return false;
    }
    case Fault::Silent:
        return waits(std::chrono::hours(1)) && false;
    case Fault::EndlessHead: {
        constexpr std::chrono::milliseconds pause{20};
        for (bool goesOn = write("HTTP/1.1 200 OK\r\n"); goesOn && waits(pause);)
            goesOn = write("X-More: to come\r\n");
        return false;
    }
    default:
        return false;
    }
}

ShareBook::Reply ShareServer::Connection::carryOut(
    const Request& request, const QByteArray& body, const QString& partFile)
{
    ShareBook& book = m_server.m_book;
    if (!m_server.mayEnter(request))
        return {401, R"({"message":"who are you?"})"};
    const SharePath path(request.path);
    if (request.method == "POST" && request.path == "/api/shares")
        return book.create(request.contentType, body);
    if (request.method == "POST" && path.what == "versions")
        return book.update(path.id, request.contentType, body);
    if (request.method == "POST" && path.what == "progress")
        return book.report(path.id, request.contentType, body);
    if (request.method == "POST" && path.what == "complete")
        return book.complete(path.id, request.contentType, body);
    if (request.method == "PUT" && path.what == "poster")
        return book.keepPoster(path.id, request.contentType, body);
    if (request.method == "PUT" && path.what == "parts")
        return book.keepPart(path.id, path.n, request.size, request.contentType, partFile);
    return book.refuse(404, QString::fromUtf8("No such thing: " + request.method + " " + request.path));
}

/// What a viewer fetches: the page of a link, its poster, its video.
bool ShareServer::Connection::get(const Request& request)
{
    const QList<QByteArray> steps = request.path.split('/');
    const QString id = QString::fromUtf8(steps.value(2));
    const std::optional<ShareBook::Share> share = m_server.m_book.share(id);
    if (request.path == "/")
        return answer({200, R"({"server":"share"})"});
    if (steps.value(1) != "v" || !share)
        return answer({404, "{}"});
    if (steps.value(3) == "video.mp4" && share->plays)
        return sendFile(m_server.m_book.videoPath(id), "video/mp4");
    if (steps.value(3) == "poster.jpg")
        return sendFile(m_server.m_book.posterPath(id), "image/jpeg");
    const QJsonObject page{{QStringLiteral("title"), share->title}, {QStringLiteral("status"), share->status},
        {QStringLiteral("progress"), share->progress}};
    return answer({steps.size() == 3 ? 200 : 404, QJsonDocument(page).toJson(QJsonDocument::Compact)});
}

bool ShareServer::Connection::sendFile(const QString& path, const QByteArray& type)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return answer({404, "{}"});
    if (!write(head(200, type, file.size())))
        return false;
    for (qint64 left = file.size(); left > 0;) {
        const ssize_t sent = ::sendfile(m_socket, file.handle(), nullptr, size_t(left));
        if (sent <= 0)
            return false;
        left -= sent;
    }
    return true;
}

bool ShareServer::Connection::answer(const ShareBook::Reply& reply)
{
    return write(head(reply.status, "application/json", reply.body.size()) + reply.body);
}

bool ShareServer::Connection::write(const QByteArray& bytes)
{
    for (qsizetype done = 0; done < bytes.size();) {
        const ssize_t sent = ::send(m_socket, bytes.constData() + done, size_t(bytes.size() - done), MSG_NOSIGNAL);
        if (sent <= 0)
            return false;
        done += sent;
    }
    return true;
}

/// False when the client hangs up in the meantime.
bool ShareServer::Connection::waits(std::chrono::milliseconds time) const
{
    pollfd state{m_socket, POLLRDHUP, 0};
    return ::poll(&state, 1, int(time.count())) == 0;
}

} // namespace kelmo
