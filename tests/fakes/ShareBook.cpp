#include "tests/fakes/ShareBook.h"

#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>

#include <cstdio>

namespace kelmo {

namespace {

constexpr qint64 usualPartSize = 16'777'216;

QByteArray json(const QJsonObject& object) { return QJsonDocument(object).toJson(QJsonDocument::Compact); }

} // namespace

ShareBook::ShareBook(QString folder, QString publicUrl, qint64 partSize)
    : m_folder(std::move(folder))
    , m_publicUrl(std::move(publicUrl))
    , m_partSize(partSize)
{
}

ShareBook::Reply ShareBook::refuse(int status, const QString& why)
{
    const std::lock_guard lock(m_mutex);
    m_violations.append(why);
    return {status, json({{QStringLiteral("message"), why}})};
}

ShareBook::Share* ShareBook::find(const QString& id)
{
    const auto found = m_shares.find(id);
    return found == m_shares.end() || found->second.lost ? nullptr : &found->second;
}

bool ShareBook::describes(const QByteArray& contentType, const QByteArray& body, Share& share)
{
    const QJsonObject object = QJsonDocument::fromJson(body).object();
    if (contentType != "application/json" || object.size() != 2 || !object.value(u"title").isString()
        || !object.value(u"durationMs").isDouble())
        return false;
    share.title = object.value(u"title").toString();
    share.durationMs = object.value(u"durationMs").toDouble();
    return !share.title.isEmpty() && share.durationMs > 0;
}

ShareBook::Reply ShareBook::create(const QByteArray& contentType, const QByteArray& body)
{
    const std::lock_guard lock(m_mutex);
    Share share;
    if (!describes(contentType, body, share))
        return refuse(400, QStringLiteral("A share needs a title and a duration"));
    const QString id = QString::number(m_shares.size() + 1);
    QDir().mkpath(m_folder % QStringLiteral("/") % id);
    m_shares.emplace(id, share);
    QJsonObject reply{
        {QStringLiteral("id"), id}, {QStringLiteral("url"), QString(m_publicUrl % QStringLiteral("/v/") % id)}};
    if (m_partSize > 0)
        reply.insert(QStringLiteral("partSize"), m_partSize);
    return {200, json(reply)};
}

ShareBook::Reply ShareBook::update(const QString& id, const QByteArray& contentType, const QByteArray& body)
{
    const std::lock_guard lock(m_mutex);
    Share* const share = find(id);
    if (!share)
        return {m_shares.contains(id) ? 403 : 404, json({{QStringLiteral("message"), QStringLiteral("Not yours")}})};
    if (!describes(contentType, body, *share))
        return refuse(400, QStringLiteral("A version needs a title and a duration"));
    ++share->version;
    share->open = true;
    share->status = QStringLiteral("preparing");
    share->progress = 0;
    share->parts.clear();
    share->sizes.clear();
    share->reports.clear();
    return {200, m_partSize > 0 ? json({{QStringLiteral("partSize"), m_partSize}}) : QByteArray()};
}

ShareBook::Reply ShareBook::report(const QString& id, const QByteArray& contentType, const QByteArray& body)
{
    const std::lock_guard lock(m_mutex);
    Share* const share = find(id);
    const QJsonObject object = QJsonDocument::fromJson(body).object();
    const QString status = object.value(u"status").toString();
    const double progress = object.value(u"progress").toDouble(-1);
    const QStringList known{QStringLiteral("preparing"), QStringLiteral("uploading"), QStringLiteral("failed")};
    if (!share || contentType != "application/json" || object.size() != 2 || !known.contains(status) || progress < 0
        || progress > 1)
        return refuse(400, QStringLiteral("A report that makes no sense: ") % QString::fromUtf8(body));
    // The answer to a completion may get lost, so that "failed" comes after it in good faith; nothing else does.
    if (!share->open && status != known.last())
        return refuse(409, QStringLiteral("A report after the completion: ") % status);
    share->reports.append(object);
    if (share->open) {
        share->status = status;
        share->progress = progress;
    }
    return {204, {}};
}

ShareBook::Reply ShareBook::keepPoster(const QString& id, const QByteArray& contentType, const QByteArray& body)
{
    const std::lock_guard lock(m_mutex);
    const Share* const share = find(id);
    if (!share || !share->open || contentType != "image/jpeg" || !body.startsWith("\xff\xd8\xff"))
        return refuse(400, QStringLiteral("A poster that is none, or comes too late"));
    QFile file(posterPath(id));
    return {file.open(QIODevice::WriteOnly) && file.write(body) == body.size() ? 200 : 500, "{}"};
}

ShareBook::Reply ShareBook::keepPart(
    const QString& id, qint64 n, qint64 size, const QByteArray& contentType, const QString& partPath)
{
    const std::lock_guard lock(m_mutex);
    Share* const share = find(id);
    const qint64 most = m_partSize > 0 ? m_partSize : usualPartSize;
    if (!share || !share->open || contentType != "application/octet-stream" || n < 1 || size > most)
        return refuse(400, QStringLiteral("Part %1 of %2 bytes is out of place").arg(n).arg(size));
    if (std::rename(QFile::encodeName(partPath).constData(), QFile::encodeName(this->partPath(id, n)).constData()) != 0)
        return {500, "{}"};
    const QJsonObject reply{
        {QStringLiteral("partNumber"), n}, {QStringLiteral("etag"), QStringLiteral("%1-%2").arg(size).arg(++m_serial)}};
    share->parts[n] = reply;
    share->sizes[n] = size;
    return {200, json(reply)};
}

ShareBook::Reply ShareBook::complete(const QString& id, const QByteArray& contentType, const QByteArray& body)
{
    const std::lock_guard lock(m_mutex);
    Share* const share = find(id);
    if (!share || !share->open || contentType != "application/json")
        return refuse(409, QStringLiteral("A completion of what is not open"));
    const QJsonArray told = QJsonDocument::fromJson(body).object().value(u"parts").toArray();
    const qint64 most = m_partSize > 0 ? m_partSize : usualPartSize;
    const auto count = qint64(share->parts.size());
    bool right = count > 0 && told.size() == count;
    for (qint64 n = 1; right && n <= count; ++n) {
        const auto part = share->parts.find(n);
        right = part != share->parts.end() && told.contains(part->second)
            && (n == count ? share->sizes[n] > 0 || count == 1 : share->sizes[n] == most);
    }
    if (!right)
        return refuse(400, QStringLiteral("The parts do not make a whole: ") % QString::fromUtf8(body));
    if (!join(id, *share))
        return {500, "{}"};
    share->open = false;
    share->plays = true;
    share->status = QStringLiteral("ready");
    share->progress = 1;
    return {200, "{}"};
}

bool ShareBook::join(const QString& id, const Share& share) const
{
    QFile video(videoPath(id));
    if (!video.open(QIODevice::WriteOnly))
        return false;
    for (const auto& [n, reply] : share.parts) {
        QFile part(partPath(id, n));
        if (!part.open(QIODevice::ReadOnly))
            return false;
        for (QByteArray piece = part.read(usualPartSize); !piece.isEmpty(); piece = part.read(usualPartSize)) {
            if (video.write(piece) != piece.size())
                return false;
        }
        part.remove();
    }
    return video.flush();
}

QString ShareBook::temporaryPart()
{
    const std::lock_guard lock(m_mutex);
    return m_folder % QStringLiteral("/arriving-") % QString::number(++m_serial);
}

QString ShareBook::partPath(const QString& id, qint64 n) const
{
    return m_folder % QStringLiteral("/") % id % QStringLiteral("/part-") % QString::number(n);
}

QString ShareBook::videoPath(const QString& id) const
{
    return m_folder % QStringLiteral("/") % id % QStringLiteral("/video.mp4");
}

QString ShareBook::posterPath(const QString& id) const
{
    return m_folder % QStringLiteral("/") % id % QStringLiteral("/poster.jpg");
}

std::optional<ShareBook::Share> ShareBook::share(const QString& id) const
{
    const std::lock_guard lock(m_mutex);
    const auto found = m_shares.find(id);
    return found == m_shares.end() ? std::nullopt : std::optional<Share>(found->second);
}

int ShareBook::count() const
{
    const std::lock_guard lock(m_mutex);
    return int(m_shares.size());
}

QStringList ShareBook::violations() const
{
    const std::lock_guard lock(m_mutex);
    return m_violations;
}

void ShareBook::lose(const QString& id)
{
    const std::lock_guard lock(m_mutex);
    m_shares[id].lost = true;
}

} // namespace kelmo
