#include "model/Word.h"

#include <QHashFunctions>

#include <cmath>

namespace kelmo {

bool Word::isValid() const { return std::isfinite(startMs) && std::isfinite(endMs) && startMs <= endMs; }

QJsonObject Word::toJson() const
{
    QJsonObject json{
        {QStringLiteral("text"), text},
        {QStringLiteral("startMs"), startMs},
        {QStringLiteral("endMs"), endMs},
    };
    if (confidence)
        json.insert(QStringLiteral("confidence"), *confidence);
    return json;
}

std::optional<Word> Word::fromJson(const QJsonValue& value)
{
    if (!value.isObject())
        return std::nullopt;
    const QJsonObject json = value.toObject();
    const QJsonValue text = json.value(QLatin1String("text"));
    const QJsonValue start = json.value(QLatin1String("startMs"));
    const QJsonValue end = json.value(QLatin1String("endMs"));
    const QJsonValue confidence = json.value(QLatin1String("confidence"));
    const bool hasConfidence = !confidence.isUndefined() && !confidence.isNull();
    if (!text.isString() || !start.isDouble() || !end.isDouble() || (hasConfidence && !confidence.isDouble()))
        return std::nullopt;
    return Word{text.toString(), start.toDouble(), end.toDouble(),
        hasConfidence ? std::optional(confidence.toDouble()) : std::nullopt};
}

size_t qHash(const Word& word, size_t seed) noexcept
{
    return qHashMulti(
        seed, word.text, word.startMs, word.endMs, word.confidence.has_value(), word.confidence.value_or(0));
}

} // namespace kelmo
