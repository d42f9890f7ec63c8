#include "agent/ToolArguments.h"

namespace kelmo {

namespace {

constexpr qsizetype maxEntries = 10'000;

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

bool ToolArguments::isGiven(QStringView name) const
{
    const QJsonValue value = m_arguments.value(name);
    return !value.isUndefined() && !value.isNull();
}

tl::expected<QJsonArray, RPCError> ToolArguments::list(const QString& name) const
{
    const QJsonArray list = m_arguments.value(name).toArray();
    if (list.size() > maxEntries) {
        return tl::unexpected(RPCError{RPCError::invalidParams,
            QStringLiteral("%1 has %2 entries; at most %3 are allowed").arg(name).arg(list.size()).arg(maxEntries)});
    }
    return list;
}

tl::expected<std::vector<Span>, RPCError> ToolArguments::spans(const QString& name) const
{
    return list(name).map([](const QJsonArray& list) {
        std::vector<Span> spans;
        for (const auto each : list) {
            if (const std::optional<Span> span = spanIn(each))
                spans.push_back(*span);
        }
        return spans;
    });
}

tl::expected<std::vector<int>, RPCError> ToolArguments::indices(const QString& name) const
{
    return list(name).map([](const QJsonArray& list) {
        std::vector<int> indices;
        for (const auto each : list) {
            if (!each.isDouble())
                continue;
            const qint64 index = truncated(each.toDouble());
            indices.push_back(index < 0 || index > std::numeric_limits<int>::max() ? -1 : static_cast<int>(index));
        }
        return indices;
    });
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
