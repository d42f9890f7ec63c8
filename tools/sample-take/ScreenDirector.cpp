#include "tools/sample-take/ScreenDirector.h"

#include "tools/sample-take/Slides.h"

#include <random>

namespace kelmo {

namespace {

constexpr double kStepMs = 480;
constexpr double kEnterMs = 420;
constexpr double kCaretMs = 530;
constexpr double kEarlyMs = 120; // The hand is on the key before the sentence begins.
constexpr double kFirstKeyMs = 1100;

int phaseOf(double elapsedMs, double wholeMs)
{
    return std::clamp(static_cast<int>(std::lround(elapsedMs / wholeMs * kPhases)), 0, kPhases);
}

double vary(std::mt19937& random, double low, double high) { return low + (high - low) * (random() % 4096) / 4096.0; }

/// The way a hand starts and stops: no speed and no acceleration at both ends.
double smooth(double t) { return t * t * t * (t * (6 * t - 15) + 10); }

} // namespace

ScreenDirector::ScreenDirector(const SpokenTalk& talk, double voiceOffsetMs, uint32_t seed)
    : m_lines(talk.lines)
{
    for (SpokenLine& line : m_lines) {
        line.startMs += voiceOffsetMs - kEarlyMs;
        line.endMs += voiceOffsetMs;
    }
    planPointer(seed);
    planTyping(seed);
}

void ScreenDirector::planPointer(uint32_t seed)
{
    std::mt19937 random(seed * 31 + 7);
    QPointF at(1180, 760);
    double freeFromMs = 0;
    const auto moveTo = [&](double startMs, QPointF to) {
        const QPointF way = to - at;
        const double distance = std::hypot(way.x(), way.y());
        const double start = std::max(startMs, freeFromMs);
        const double duration = 260 + 190 * std::log2(1 + distance / 80);
        const QPointF bend = at + way / 2 + QPointF(-way.y(), way.x()) * vary(random, -0.16, 0.16);
        m_moves.push_back({start, start + duration, at, bend, to});
        freeFromMs = start + duration + 120;
        at = to;
    };
    for (const SpokenLine& line : m_lines) {
        const QPointF target = pointOfInterest(line.slide, line.step);
        const QPointF jitter(vary(random, -22, 22), vary(random, -10, 10));
        moveTo(line.startMs + vary(random, 120, 420), target + jitter);
        // A long sentence is followed with the pointer.
        if (line.endMs - line.startMs > 2600)
            moveTo(line.startMs + (line.endMs - line.startMs) * vary(random, 0.5, 0.65),
                at + QPointF(vary(random, 120, 260), vary(random, -16, 16)));
    }
}

void ScreenDirector::planTyping(uint32_t seed)
{
    std::mt19937 random(seed * 17 + 3);
    const auto first
        = std::find_if(m_lines.begin(), m_lines.end(), [](const SpokenLine& line) { return line.slide == kCodeSlide; });
    if (first == m_lines.end())
        return;
    const auto after
        = std::find_if(first, m_lines.end(), [](const SpokenLine& line) { return line.slide != kCodeSlide; });
    const double untilMs = after == m_lines.end() ? m_lines.back().endMs : after->startMs;
    double ms = first->startMs + kFirstKeyMs;
    for (const double weight : keyWeights()) {
        ms += weight * vary(random, 44, 98);
        if (ms > untilMs)
            return;
        m_keyTimes.push_back(ms);
    }
}

size_t ScreenDirector::lineAt(double ms) const
{
    const auto after = std::upper_bound(
        m_lines.begin(), m_lines.end(), ms, [](double time, const SpokenLine& line) { return time < line.startMs; });
    return after == m_lines.begin() ? 0 : static_cast<size_t>(after - m_lines.begin() - 1);
}

double ScreenDirector::slideStart(size_t line) const
{
    while (line > 0 && m_lines[line - 1].slide == m_lines[line].slide)
        --line;
    return m_lines[line].startMs;
}

SlideState ScreenDirector::slideAt(size_t line, double ms) const
{
    SlideState state;
    state.slide = m_lines[line].slide;
    state.step = m_lines[line].step;
    state.phase = state.step == 0 ? kPhases : phaseOf(ms - m_lines[line].startMs, kStepMs);
    if (state.slide != kCodeSlide)
        return state;
    const auto typed = std::upper_bound(m_keyTimes.begin(), m_keyTimes.end(), ms);
    state.typed = static_cast<int>(typed - m_keyTimes.begin());
    const double lastKeyMs = typed == m_keyTimes.begin() ? slideStart(line) : *(typed - 1);
    state.caret = static_cast<int>((ms - lastKeyMs) / kCaretMs) % 2 == 0;
    return state;
}

ScreenState ScreenDirector::at(double ms) const
{
    ScreenState state;
    state.pointer = pointerAt(ms);
    if (m_lines.empty())
        return state;
    const size_t line = lineAt(ms);
    state.slide = slideAt(line, ms);
    const double startMs = slideStart(line);
    if (startMs > m_lines.front().startMs && ms - startMs < kEnterMs) {
        state.before = slideAt(lineAt(startMs - 1), startMs - 1);
        state.entered = phaseOf(ms - startMs, kEnterMs);
    }
    if (state.entered == kPhases)
        state.before = {};
    return state;
}

QPoint ScreenDirector::pointerAt(double ms) const
{
    const auto next = std::find_if(m_moves.begin(), m_moves.end(), [ms](const Move& move) { return move.endMs > ms; });
    if (next == m_moves.end())
        return m_moves.empty() ? QPoint(1180, 760) : m_moves.back().to.toPoint();
    const double t = smooth(std::clamp((ms - next->startMs) / (next->endMs - next->startMs), 0.0, 1.0));
    return (next->from * (1 - t) * (1 - t) + next->bend * 2 * t * (1 - t) + next->to * t * t).toPoint();
}

std::vector<double> ScreenDirector::slideTimes() const
{
    std::vector<double> times;
    for (size_t line = 1; line < m_lines.size(); ++line) {
        if (m_lines[line].slide != m_lines[line - 1].slide)
            times.push_back(m_lines[line].startMs);
    }
    return times;
}

} // namespace kelmo
