#include "agent/ToolArguments.h"

namespace kelmo {

namespace {

std::optional<double> numberIn(const QJsonValue& value)
{
    return value.isDouble() ? std::optional(value.toDouble()) : std::nullopt;
}

std::optional<Span> spanIn(const QJsonValue& value)
{
    std::optional<double> start;
    std::optional<double> end;
    if (value.isObject()) {
        start = numberIn(value[u"startMs"]);
        end = numberIn(value[u"endMs"]);
    } else if (const QJsonArray pair = value.toArray(); pair.size() == 2) {
        start = numberIn(pair[0]);
        end = numberIn(pair[1]);
    }
    return start && end ? std::optional(Span{*start, *end}) : std::nullopt;
}

} // namespace

ToolArguments::ToolArguments(QJsonObject arguments)
    : m_arguments(std::move(arguments))
{
}

std::optional<double> ToolArguments::number(QStringView name) const { return numberIn(m_arguments.value(name)); }

std::optional<qint64> ToolArguments::integer(QStringView name) const
{
    const std::optional<double> value = number(name);
    return value ? std::optional(truncated(*value)) : std::nullopt;
}

std::optional<QString> ToolArguments::string(QStringView name) const
{
    const QJsonValue value = m_arguments.value(name);
    return value.isString() ? std::optional(value.toString()) : std::nullopt;
}

bool ToolArguments::flag(QStringView name) const { return m_arguments.value(name).toBool(false); }

std::vector<Span> ToolArguments::spans(QStringView name) const
{
    std::vector<Span> spans;
    const QJsonArray list = m_arguments.value(name).toArray();
    for (const auto each : list) {
        if (const std::optional<Span> span = spanIn(each))
            spans.push_back(*span);
    }
    return spans;
}

std::vector<int> ToolArguments::indices(QStringView name) const
{
    std::vector<int> indices;
    const QJsonArray list = m_arguments.value(name).toArray();
    for (const auto each : list) {
        if (!each.isDouble())
            continue;
        const qint64 index = truncated(each.toDouble());
        indices.push_back(index < 0 || index > std::numeric_limits<int>::max() ? -1 : static_cast<int>(index));
    }
    return indices;
}

qint64 truncated(double value)
{
    constexpr double beyond = 9223372036854775808.0; // 2^63, the first that no longer fits
    if (std::isnan(value))
        return 0;
    if (value >= beyond)
        return std::numeric_limits<qint64>::max();
    if (value <= -beyond)
        return std::numeric_limits<qint64>::min();
    return static_cast<qint64>(value);
}

} // namespace kelmo
