#pragma once

#include <QJsonObject>

#include <optional>

namespace kelmo {

/// A half-open range [start, end) in milliseconds on the source clock. A plain value.
struct Span {
    double start = 0;
    double end = 0;

    bool operator==(const Span&) const = default;

    [[nodiscard]] bool isEmpty() const { return start >= end; }

    /// The keys "start" and "end".
    [[nodiscard]] QJsonObject toJson() const;

    /// Nothing unless both keys hold numbers.
    [[nodiscard]] static std::optional<Span> fromJson(const QJsonValue& value);
};

[[nodiscard]] size_t qHash(const Span& span, size_t seed = 0) noexcept;

} // namespace kelmo
