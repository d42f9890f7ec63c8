#include "model/JsonFile.h"

#include <QFile>
#include <QFileInfo>
#include <QJsonDocument>

namespace kelmo {

namespace {

constexpr qint64 maximumBytes = 256LL * 1024 * 1024;
constexpr qint64 room = 64 * 1024;

} // namespace

std::optional<QByteArray> JsonFile::read(const QString& path)
{
    // A pipe would be waited for.
    if (!QFileInfo(path).isFile())
        return std::nullopt;
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly | QIODevice::Unbuffered) || file.size() > maximumBytes)
        return std::nullopt;
    // The recorder may still be writing, or the size be unknown, so the limit holds for the bytes read as well.
    QByteArray json(file.size() + room, Qt::Uninitialized);
    qint64 used = 0;
    for (qint64 more = 1; more > 0 && used <= maximumBytes; used += more) {
        if (json.size() - used < room)
            json.resize(json.size() * 2);
        more = file.read(json.data() + used, json.size() - used);
        if (more < 0)
            return std::nullopt;
    }
    if (used > maximumBytes)
        return std::nullopt;
    json.truncate(used);
    return json;
}

std::optional<QJsonObject> JsonFile::readObject(const QString& path)
{
    const std::optional<QByteArray> json = read(path);
    return json ? parseObject(*json) : std::nullopt;
}

std::optional<QJsonObject> JsonFile::parseObject(const QByteArray& json)
{
    QJsonParseError error;
    const QJsonDocument document = QJsonDocument::fromJson(json, &error);
    if (error.error != QJsonParseError::NoError || !document.isObject())
        return std::nullopt;
    return document.object();
}

} // namespace kelmo
