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

size_t qHash(const Word& word, size_t seed) noexcept
{
    return qHashMulti(
        seed, word.text, word.startMs, word.endMs, word.confidence.has_value(), word.confidence.value_or(0));
}

} // namespace kelmo
