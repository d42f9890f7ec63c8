#include "model/Span.h"

#include <QHashFunctions>

namespace kelmo {

QJsonObject Span::toJson() const { return {{QStringLiteral("start"), start}, {QStringLiteral("end"), end}}; }

std::optional<Span> Span::fromJson(const QJsonValue& value)
{
    const QJsonObject json = value.toObject();
    const QJsonValue start = json.value(QLatin1String("start"));
    const QJsonValue end = json.value(QLatin1String("end"));
    if (!start.isDouble() || !end.isDouble())
        return std::nullopt;
    return Span{start.toDouble(), end.toDouble()};
}

size_t qHash(const Span& span, size_t seed) noexcept { return qHashMulti(seed, span.start, span.end); }

} // namespace kelmo
