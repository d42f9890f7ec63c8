#include "agent/EditJson.h"

namespace kelmo {

QJsonArray EditJson::pairs(const std::vector<Span>& spans)
{
    QJsonArray list;
    for (const Span& span : spans)
        list.append(QJsonArray{span.start, span.end});
    return list;
}

QJsonArray EditJson::roundedPairs(const std::vector<Span>& spans)
{
    QJsonArray list;
    for (const Span& span : spans)
        list.append(QJsonArray{std::round(span.start), std::round(span.end)});
    return list;
}

QJsonArray EditJson::ranges(const std::vector<Span>& spans)
{
    QJsonArray list;
    for (const Span& span : spans)
        list.append(QJsonObject{{QStringLiteral("startMs"), span.start}, {QStringLiteral("endMs"), span.end}});
    return list;
}

QJsonObject EditJson::trim(const Cuts& cuts, double sourceDurationMs)
{
    return {{QStringLiteral("startMs"), std::round(cuts.trimIn)},
        {QStringLiteral("endMs"), std::round(std::min(sourceDurationMs, cuts.trimOut))},
        {QStringLiteral("trimmed"), cuts.isTrimmed()}};
}

} // namespace kelmo
