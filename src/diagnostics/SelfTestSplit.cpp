#include "diagnostics/SelfTest.h"
#include "platform/MonotonicClock.h"

#include <QCoreApplication>
#include <QCoroTimer>

#include <cstdio>

namespace kelmo {

namespace {

using namespace std::chrono_literals;

constexpr double firstSplitMs = 3000;
constexpr double secondSplitMs = 6000;
constexpr double betweenMs = 4500;

/// Whole milliseconds.
long long whole(double ms) { return std::llround(ms); }

} // namespace

QCoro::Task<void> SelfTest::split()
{
    co_await QCoro::sleepFor(2s);
    const double durationBefore = m_editor.timeline().durationMs;
    for (const double at : {firstSplitMs, secondSplitMs}) {
        m_editor.previewSource(m_editor.timeline().source(at));
        co_await QCoro::sleepFor(300ms);
        m_editor.splitAtPlayhead();
    }
    const std::optional<Span> picked = m_editor.piece(m_editor.timeline().source(betweenMs));
    m_editor.setSelection(picked);
    const double startedMs = MonotonicClock::nowMs();
    m_editor.deleteSelection();
    const double deleteMs = MonotonicClock::nowMs() - startedMs;
    co_await QCoro::sleepFor(400ms);
    const QString pickedText
        = picked ? QStringLiteral("[%1,%2]").arg(whole(picked->start)).arg(whole(picked->end)) : QStringLiteral("nil");
    std::printf("{\"splits\":%zu,\"picked\":\"%s\",\"deleteMs\":%lld,\"durationBefore\":%lld,\"durationAfter\":%lld,"
                "\"keep\":\"%s\"}\n",
        m_editor.splits().size(), qPrintable(pickedText), whole(deleteMs), whole(durationBefore),
        whole(m_editor.timeline().durationMs), qPrintable(keep()));
    m_editor.undo().undo();
    co_await QCoro::sleepFor(300ms);
    std::printf("{\"afterUndo\":%lld,\"keep\":\"%s\"}\n", whole(m_editor.timeline().durationMs), qPrintable(keep()));
    std::fflush(stdout);
    QCoreApplication::quit();
}

} // namespace kelmo
