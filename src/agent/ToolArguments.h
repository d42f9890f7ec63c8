#pragma once

#include "agent/RPCError.h"
#include "model/Span.h"

#include <QJsonArray>
#include <QJsonObject>
#include <QString>
#include <tl/expected.hpp>

#include <optional>
#include <vector>

namespace kelmo {

/// The arguments of one tool call, read leniently: one of the wrong kind counts as absent. A plain value.
class ToolArguments {
public:
    explicit ToolArguments(QJsonObject arguments);

    [[nodiscard]] std::optional<double> number(QStringView name) const;
    /// Truncated towards zero, and to the 64 bits there are.
    [[nodiscard]] std::optional<qint64> integer(QStringView name) const;
    [[nodiscard]] std::optional<QString> string(QStringView name) const;
    /// False when absent.
    [[nodiscard]] bool flag(QStringView name) const;
    /// Whether there is anything but a null under that name, of whatever kind.
    [[nodiscard]] bool isGiven(QStringView name) const;

    // Lists of at most 10,000 entries; a longer one is refused.
    /// Ranges written as {"startMs", "endMs"} or [start, end], as they are; whatever is neither is skipped.
    [[nodiscard]] tl::expected<std::vector<Span>, RPCError> spans(const QString& name) const;
    /// The numbers of a list, truncated; one that no word list can hold becomes −1.
    [[nodiscard]] tl::expected<std::vector<int>, RPCError> indices(const QString& name) const;

private:
    [[nodiscard]] tl::expected<QJsonArray, RPCError> list(const QString& name) const;

    QJsonObject m_arguments;
};

/// A double truncated towards zero, and to the range of 64-bit integers; 0 for what is no number.
[[nodiscard]] qint64 truncated(double value);

} // namespace kelmo
