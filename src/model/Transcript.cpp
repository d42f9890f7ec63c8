#include "model/Transcript.h"

#include "model/JsonFile.h"

#include <QJsonArray>

#include <algorithm>

namespace kelmo {

namespace {

bool isAbsent(const QJsonValue& value) { return value.isUndefined() || value.isNull(); }

std::optional<std::vector<Word>> decodeWords(const QJsonArray& array)
{
    std::vector<Word> words;
    words.reserve(static_cast<size_t>(array.size()));
    for (const auto element : array) {
        std::optional<Word> word = Word::fromJson(element);
        if (!word)
            return std::nullopt;
        if (word->isValid())
            words.push_back(std::move(*word));
    }
    std::stable_sort(words.begin(), words.end(), [](const Word& a, const Word& b) { return a.startMs < b.startMs; });
    return words;
}

std::optional<Transcript> decodeObject(const QJsonObject& json)
{
    const QJsonValue words = json.value(QLatin1String("words"));
    const QJsonValue timeBase = json.value(QLatin1String("timeBase"));
    const QJsonValue aligned = json.value(QLatin1String("aligned"));
    if ((!isAbsent(words) && !words.isArray()) || (!isAbsent(timeBase) && !timeBase.isString())
        || (!isAbsent(aligned) && !aligned.isBool()))
        return std::nullopt;
    std::optional<std::vector<Word>> decoded = decodeWords(words.toArray());
    if (!decoded)
        return std::nullopt;
    Transcript transcript;
    transcript.words = std::move(*decoded);
    if (timeBase.isString())
        transcript.timeBase = timeBase.toString();
    if (aligned.isBool())
        transcript.aligned = aligned.toBool();
    return transcript;
}

} // namespace

std::optional<Transcript> Transcript::read(const QString& path)
{
    const std::optional<QJsonObject> json = JsonFile::readObject(path);
    return json ? decodeObject(*json) : std::nullopt;
}

std::optional<Transcript> Transcript::decode(const QByteArray& text)
{
    const std::optional<QJsonObject> json = JsonFile::parseObject(text);
    return json ? decodeObject(*json) : std::nullopt;
}

} // namespace kelmo
