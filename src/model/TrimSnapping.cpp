#include "model/TrimSnapping.h"

#include "model/EditOps.h"

namespace kelmo {

namespace {

bool isInsideWord(double ms, const std::vector<Word>& words)
{
    return std::any_of(
        words.begin(), words.end(), [ms](const Word& word) { return word.startMs < ms && ms < word.endMs; });
}

} // namespace

std::vector<double> TrimSnapping::inCandidates(const std::vector<Word>& words, double durationMs)
{
    std::vector<double> candidates{0};
    candidates.reserve(words.size() + 1);
    for (size_t i = 0; i < words.size(); ++i)
        candidates.push_back(EditOps::trimInBefore(static_cast<int>(i), words, durationMs));
    return candidates;
}

std::vector<double> TrimSnapping::outCandidates(const std::vector<Word>& words, double durationMs)
{
    std::vector<double> candidates{durationMs};
    candidates.reserve(words.size() + 1);
    for (size_t i = 0; i < words.size(); ++i)
        candidates.push_back(EditOps::trimOutAfter(static_cast<int>(i), words, durationMs));
    return candidates;
}

double TrimSnapping::snapped(
    double ms, const std::vector<double>& candidates, const std::vector<Word>& words, double reach)
{
    const double nearest = *std::min_element(
        candidates.begin(), candidates.end(), [ms](double a, double b) { return std::abs(a - ms) < std::abs(b - ms); });
    return std::abs(nearest - ms) <= reach || isInsideWord(ms, words) ? nearest : ms;
}

double TrimSnapping::snapIn(double ms, const std::vector<Word>& words, double durationMs)
{
    return words.empty() ? ms : snapped(ms, inCandidates(words, durationMs), words, reachMs);
}

double TrimSnapping::snapOut(double ms, const std::vector<Word>& words, double durationMs)
{
    return words.empty() ? ms : snapped(ms, outCandidates(words, durationMs), words, reachMs);
}

} // namespace kelmo
