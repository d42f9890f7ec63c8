#include "agent/TrimSnapping.h"

#include "model/EditOps.h"

namespace kelmo {

namespace {

constexpr double reachMs = 250;

bool isInsideWord(double ms, const std::vector<Word>& words)
{
    return std::any_of(
        words.begin(), words.end(), [ms](const Word& word) { return word.startMs < ms && ms < word.endMs; });
}

// Of two equally near candidates the earlier in the list wins.
double snap(double ms, const std::vector<double>& candidates, const std::vector<Word>& words)
{
    const double nearest = *std::min_element(
        candidates.begin(), candidates.end(), [ms](double a, double b) { return std::abs(a - ms) < std::abs(b - ms); });
    return std::abs(nearest - ms) <= reachMs || isInsideWord(ms, words) ? nearest : ms;
}

} // namespace

double TrimSnapping::snapIn(double ms, const std::vector<Word>& words, double durationMs)
{
    if (words.empty())
        return ms;
    std::vector<double> candidates{0};
    candidates.reserve(words.size() + 1);
    for (size_t i = 0; i < words.size(); ++i)
        candidates.push_back(EditOps::trimInBefore(static_cast<int>(i), words, durationMs));
    return snap(ms, candidates, words);
}

double TrimSnapping::snapOut(double ms, const std::vector<Word>& words, double durationMs)
{
    if (words.empty())
        return ms;
    std::vector<double> candidates{durationMs};
    candidates.reserve(words.size() + 1);
    for (size_t i = 0; i < words.size(); ++i)
        candidates.push_back(EditOps::trimOutAfter(static_cast<int>(i), words, durationMs));
    return snap(ms, candidates, words);
}

} // namespace kelmo
