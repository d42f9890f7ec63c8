#pragma once

#include "model/Cuts.h"

#include <QJsonArray>
#include <QJsonObject>

namespace kelmo {

/// The parts of an edit as the tools report them, all in source ms. Pure functions for any thread.
namespace EditJson {

/// [start, end] for each span.
[[nodiscard]] QJsonArray pairs(const std::vector<Span>& spans);
/// The same in whole ms.
[[nodiscard]] QJsonArray roundedPairs(const std::vector<Span>& spans);

/// {"startMs", "endMs"} for each span.
[[nodiscard]] QJsonArray ranges(const std::vector<Span>& spans);

/// Where the edit starts and ends, in whole ms, and whether either is trimmed.
[[nodiscard]] QJsonObject trim(const Cuts& cuts, double sourceDurationMs);

} // namespace EditJson

} // namespace kelmo
