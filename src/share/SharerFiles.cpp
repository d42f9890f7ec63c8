#include "model/JsonFile.h"
#include "platform/Home.h"
#include "platform/PrivateFile.h"
#include "share/Sharer.h"
#include "telemetry/Log.h"

#include <QDir>
#include <QFileInfo>
#include <QJsonDocument>

namespace kelmo {

namespace {

QString configPath() { return Home::file(QStringLiteral("Library/Application Support/Kelmo/share.json")); }

QString recordPath(const Take& take)
{
    return take.dir.toLocalFile() % QStringLiteral("/") % take.base % QStringLiteral("_share.json");
}

/// The strings under these keys, if every one of them is there.
template <size_t Count>
std::optional<std::array<QString, Count>> strings(const QJsonObject& object, const std::array<QStringView, Count>& keys)
{
    std::array<QString, Count> found;
    for (size_t i = 0; i < Count; ++i) {
        const QJsonValue value = object.value(keys[i]);
        if (!value.isString())
            return std::nullopt;
        found[i] = value.toString();
    }
    return found;
}

QByteArray quoted(const QString& text)
{
    return QJsonDocument(QJsonArray{text}).toJson(QJsonDocument::Compact).chopped(1).mid(1);
}

} // namespace

std::optional<Sharer::Config> Sharer::loadConfig()
{
    const std::optional<QJsonObject> object = JsonFile::readObject(configPath());
    if (!object || !object->value(u"autoShare").isBool())
        return std::nullopt;
    const auto texts = strings<3>(*object, {u"endpoint", u"token", u"quality"});
    if (!texts)
        return std::nullopt;
    return Config{(*texts)[0], (*texts)[1], object->value(u"autoShare").toBool(), (*texts)[2]};
}

void Sharer::save(const Config& config)
{
    const QJsonObject object{{QStringLiteral("endpoint"), config.endpoint}, {QStringLiteral("token"), config.token},
        {QStringLiteral("autoShare"), config.autoShare}, {QStringLiteral("quality"), config.quality}};
    const QString path = configPath();
    QDir().mkpath(QFileInfo(path).path());
    if (!PrivateFile::write(path, QJsonDocument(object).toJson()))
        Log::line(u"error", QStringLiteral("can't write ") % path);
}

std::optional<Sharer::Record> Sharer::loadRecord(const Take& take)
{
    const std::optional<QJsonObject> object = JsonFile::readObject(recordPath(take));
    const auto texts = object ? strings<3>(*object, {u"id", u"url", u"signature"}) : std::nullopt;
    // A take from elsewhere may bring any record along.
    if (!texts || !API::isUsableId((*texts)[0]))
        return std::nullopt;
    return Record{(*texts)[0], (*texts)[1], (*texts)[2]};
}

// Written out by hand for its order of keys, which is the one that readers of the file are used to.
void Sharer::saveRecord(const Record& record, const Take& take)
{
    const QString path = recordPath(take);
    if (!PrivateFile::write(path,
            "{\"id\":" + quoted(record.id) + ",\"url\":" + quoted(record.url)
                + ",\"signature\":" + quoted(record.signature) + "}"))
        Log::line(u"error", QStringLiteral("can't write ") % path);
}

} // namespace kelmo
