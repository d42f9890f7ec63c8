#pragma once

#include <QJsonObject>
#include <QString>

#include <optional>

namespace kelmo {

/// One transcribed word with its half-open time range [startMs, endMs) on the take's source clock. A plain value. In
/// a word list, which is sorted by start, a word is known by its index.
struct Word {
    QString text;
    double startMs = 0;
    double endMs = 0;
    std::optional<double> confidence;

    bool operator==(const Word&) const = default;

    /// Both times are finite and the start is not after the end. A word of zero length is valid.
    [[nodiscard]] bool isValid() const;

    /// As transcript files have it: the keys "text", "startMs", "endMs" and, when there is one, "confidence".
    [[nodiscard]] QJsonObject toJson() const;
};

[[nodiscard]] size_t qHash(const Word& word, size_t seed = 0) noexcept;

} // namespace kelmo
