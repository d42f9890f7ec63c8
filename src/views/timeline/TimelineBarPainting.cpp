#include "views/timeline/TimelineBar.h"

#include "views/style/Theme.h"
#include "views/style/TimeText.h"
#include "views/timeline/TrimBubble.h"

#include <QPaintEvent>

namespace kelmo {

namespace {

constexpr double selectionHeight = 40;
constexpr double splitHeight = 42;
constexpr double bubbleGap = 4; ///< Between the strip and the bubble's tip.

size_t indexOf(TimelineArt::Side side) { return side == TimelineArt::Side::Left ? 0 : 1; }

/// A strip of the widget around an x, with room for what is painted there.
QRect around(double x, double reach, int height) { return QRectF(x - reach, 0, 2 * reach, height).toAlignedRect(); }

} // namespace

QRectF TimelineBar::strip() const { return {0, double(overhang), double(width()), TimelineGeometry::barHeight}; }

TimelineBar::Shown TimelineBar::shownNow() const
{
    const TimelineGeometry places = geometry();
    constexpr double left = TimelineGeometry::handleWidth;
    return {left + places.x(inMs()), left + places.x(outMs()), left + places.x(headMs())};
}

/// Repaints the parts that have moved since they were painted, which during play is one slim strip now and then.
void TimelineBar::repaintMoved()
{
    constexpr double noticeable = 0.25; // Half a pixel of a dense screen.
    const Shown now = shownNow();
    const auto moved = [](double a, double b) { return std::abs(a - b) >= noticeable; };
    if (moved(now.head, m_shown.head)) {
        constexpr double reach = TimelineArt::playheadWidth / 2 + TimelineArt::shadowReach + 1;
        update(around(now.head, reach, height()));
        update(around(m_shown.head, reach, height()));
        m_shown.head = now.head;
    }
    for (double Shown::*const side : {&Shown::in, &Shown::out}) {
        if (!moved(now.*side, m_shown.*side))
            continue;
        constexpr double reach = TimelineGeometry::handleWidth + 1;
        const double middle = (now.*side + m_shown.*side) / 2;
        update(around(middle, std::abs(now.*side - middle) + reach, height()));
        m_shown.*side = now.*side;
    }
    constexpr double handle = TimelineGeometry::handleWidth;
    m_mouse.setHandles({QRectF(now.in - handle, overhang, handle, TimelineGeometry::barHeight),
        QRectF(now.out, overhang, handle, TimelineGeometry::barHeight)});
}

void TimelineBar::paintEvent(QPaintEvent* event)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const DeviceGrid grid(painter);
    constexpr double edge = TimelineGeometry::handleWidth;
    const QRectF track = grid.aligned(strip().adjusted(edge, 0, -edge, 0));
    constexpr double touching = 0.5;
    const bool hasHandles = m_editor.fullTimeline().durationMs > 0;
    m_tiles.draw(painter, grid, track,
        {hasHandles && m_shown.in <= track.left() + touching, hasHandles && m_shown.out >= track.right() - touching});
    if (m_showsFocus)
        TimelineArt::focusRing(painter, strip());
    if (hasHandles) {
        paintSelection(painter, grid);
        paintSplits(painter, grid, event->rect());
        TimelineArt::trimmedPart(painter, track, track.left(), m_shown.in);
        TimelineArt::trimmedPart(painter, track, m_shown.out, track.right());
        // A dragged handle carries the playhead along; it must not hide what is being dragged.
        if (trims())
            paintPlayhead(painter, grid);
        handle(painter, grid, TimelineArt::Side::Left);
        handle(painter, grid, TimelineArt::Side::Right);
        if (!trims())
            paintPlayhead(painter, grid);
    }
}

void TimelineBar::paintPlayhead(QPainter& painter, const DeviceGrid& grid) const
{
    constexpr double width = TimelineArt::playheadWidth;
    TimelineArt::playhead(painter,
        {grid.x(m_shown.head - width / 2), strip().top() - TimelineArt::playheadRaised, width,
            TimelineArt::playheadHeight});
}

void TimelineBar::paintSelection(QPainter& painter, const DeviceGrid& grid) const
{
    const std::optional<Span>& selection = m_editor.selection();
    if (!selection)
        return;
    const TimelineGeometry places = geometry();
    constexpr double edge = TimelineGeometry::handleWidth;
    const double left = grid.x(edge + places.x(selection->start));
    const double right = grid.x(edge + places.x(selection->end));
    const double top = strip().center().y() - selectionHeight / 2;
    TimelineArt::selection(painter, {left, top, std::max(right - left, 1.0), selectionHeight});
}

void TimelineBar::paintSplits(QPainter& painter, const DeviceGrid& grid, const QRectF& visible) const
{
    const TimelineGeometry places = geometry();
    constexpr double half = TimelineArt::splitWidth / 2;
    const double top = strip().center().y() - splitHeight / 2;
    for (const double split : m_editor.splits()) {
        const double left = TimelineGeometry::handleWidth + places.x(split) - half;
        if (left + TimelineArt::splitWidth >= visible.left() - 1 && left <= visible.right() + 1)
            TimelineArt::splitMarker(painter, {grid.x(left), top, TimelineArt::splitWidth, splitHeight});
    }
}

void TimelineBar::handle(QPainter& painter, const DeviceGrid& grid, TimelineArt::Side side) const
{
    constexpr double width = TimelineGeometry::handleWidth;
    const double left = grid.x(side == TimelineArt::Side::Left ? m_shown.in - width : m_shown.out);
    const QRectF rect = grid.aligned({left, strip().top(), width, strip().height()});
    const HandleMotion& motion = m_handles[indexOf(side)];
    TimelineArt::handle(painter, rect, side, motion.pull.value(), motion.hover.currentValue().toDouble());
}

void TimelineBar::showBubble()
{
    const bool left = m_mode == Mode::TrimIn;
    const double ms = left ? inMs() : outMs();
    const double x = TimelineGeometry::handleWidth + geometry().x(ms)
        + (left ? -TimelineGeometry::handleWidth : TimelineGeometry::handleWidth) / 2;
    // Below, where it covers nothing but the margin of the words.
    const QPointF tip(x, strip().bottom() + bubbleGap);
    m_bubble->showAt(
        mapTo(window(), QPointF(tip)), TimeText::tenths(m_editor.fullTimeline().edited(ms)), wordAtHandle());
}

/// The word that the edit begins or ends with when the dragged handle is released here.
QString TimelineBar::wordAtHandle() const
{
    const std::vector<Word>& words = m_editor.words();
    const auto kept = [&](const Word& word) {
        const double middle = (word.startMs + word.endMs) / 2;
        return inMs() <= middle && middle <= outMs() && !EditOps::isCut(word, m_editor.cuts().spans);
    };
    if (m_mode == Mode::TrimIn) {
        const auto first = std::find_if(words.begin(), words.end(), kept);
        return first == words.end() ? QString() : first->text;
    }
    const auto last = std::find_if(words.rbegin(), words.rend(), kept);
    return last == words.rend() ? QString() : last->text;
}

} // namespace kelmo
