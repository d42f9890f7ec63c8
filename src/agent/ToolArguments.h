#pragma once

#include "model/Span.h"

#include <QJsonArray>
#include <QJsonObject>
#include <QString>

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

    /// Ranges written as {"startMs", "endMs"} or [start, end], as they are; whatever is neither is skipped.
    [[nodiscard]] std::vector<Span> spans(QStringView name) const;
    /// The numbers of a list, truncated; one that no word list can hold becomes −1.
    [[nodiscard]] std::vector<int> indices(QStringView name) const;

private:
    QJsonObject m_arguments;
};

/// A double truncated towards zero, and to the range of 64-bit integers; 0 for what is no number.
[[nodiscard]] qint64 truncated(double value);

} // namespace kelmo
