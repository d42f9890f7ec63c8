#include "views/timeline/TimelineBar.h"

#include "model/TrimSnapping.h"
#include "views/style/Theme.h"
#include "views/timeline/TimelineAccessible.h"
#include "views/timeline/TrimBubble.h"

#include <QApplication>

namespace kelmo {

namespace {

// Logical pixels.
constexpr double handleOuterZone = 24;
constexpr double handleInnerZone = 8;
constexpr double outHandleFirst = 4; ///< Where the handles meet, the right one begins so far before its position.
constexpr double playheadZone = 6;
constexpr double clickSlack = 3;
constexpr double snapDistance = 10;

constexpr double minEditMs = 100;

QPointer<TimelineBar> lastShown;

} // namespace

TimelineBar::TimelineBar(Editor& editor, QWidget* parent)
    : QWidget(parent)
    , m_editor(editor)
    , m_playhead(editor.playhead())
    , m_mouse(this)
    , m_tiles(m_strip)
{
    setFixedHeight(int(TimelineGeometry::barHeight) + 2 * overhang);
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
    setFocusPolicy(Qt::TabFocus); // A click leaves the keys with the transcript.
    TimelineAccessible::install();
    setAccessibleName(QStringLiteral("Timeline"));
    setAccessibleDescription(QStringLiteral("Left and Right move the playhead by a frame, with Shift by a second. "
                                            "Home and End go to the ends of the edit."));
    m_mouse.down = [this](QPointF point) {
        m_dragStart = point;
        changed(point, point);
    };
    m_mouse.drag = [this](QPointF point) {
        if (m_mode)
            changed(m_dragStart, point);
    };
    m_mouse.up = [this](QPointF point) {
        if (m_mode)
            ended(geometry().toSource(point.x() - TimelineGeometry::handleWidth));
    };
    follow();
    takeReplaced();
    editChanged();
    showHelp();
}

TimelineBar::~TimelineBar() { delete m_bubble; }

void TimelineBar::follow()
{
    connect(&m_editor, &Editor::takeChanged, this, &TimelineBar::takeReplaced);
    connect(&m_editor, &Editor::timelineChanged, this, &TimelineBar::editChanged);
    connect(&m_editor, &Editor::cutsChanged, this, &TimelineBar::repaintMoved);
    connect(&m_editor, &Editor::selectionChanged, this, qOverload<>(&QWidget::update));
    connect(&m_editor, &Editor::splitsChanged, this, qOverload<>(&QWidget::update));
    connect(&m_playhead, &Playhead::moved, this, &TimelineBar::repaintMoved);
    connect(&m_strip, &Filmstrip::changed, this, [this] {
        m_tiles.repaint();
        update();
    });
    for (HandleMotion& motion : m_handles) {
        connect(&motion.pull, &Spring::moved, this, qOverload<>(&QWidget::update));
        connect(&motion.hover, &QVariantAnimation::valueChanged, this, qOverload<>(&QWidget::update));
        motion.hover.setStartValue(0.0);
        motion.hover.setEndValue(1.0);
    }
    m_mouse.hover = [this] {
        for (size_t i = 0; i < m_handles.size(); ++i) {
            HandleMotion& motion = m_handles[i];
            const bool hovered = m_mouse.hovered() == i;
            if (std::exchange(motion.hovered, hovered) == hovered)
                continue;
            motion.hover.setDuration(Theme::motionMs(Theme::fadeMs));
            motion.hover.setDirection(hovered ? QAbstractAnimation::Forward : QAbstractAnimation::Backward);
            motion.hover.start();
        }
    };
}

QRectF TimelineBar::frameInWindow()
{
    if (!lastShown || !lastShown->isVisible())
        return {};
    const QRectF strip = lastShown->strip();
    return strip.translated(lastShown->mapTo(lastShown->window(), QPoint(0, 0)));
}

QSize TimelineBar::sizeHint() const { return {960, height()}; }

QSize TimelineBar::minimumSizeHint() const { return {200, height()}; }

void TimelineBar::takeReplaced()
{
    if (!m_editor.loaded())
        endDrag(); // Another take is on its way; what was dragged is gone.
    const std::optional<Take>& take = m_editor.take();
    m_strip.use(take ? std::optional(take->screenURL) : std::nullopt, m_editor.loaded());
    m_candidates.clear();
    update();
}

void TimelineBar::editChanged()
{
    // The media may have become known just now.
    if (m_editor.loaded())
        m_strip.use(m_editor.loaded()->take.screenURL, m_editor.loaded());
    if (m_editor.fullTimeline() != m_laidOut) {
        m_laidOut = m_editor.fullTimeline();
        const std::vector<double> times = m_laidOut.durationMs > 0 ? geometry().tileTimes() : std::vector<double>();
        m_tiles.setTimes(times);
        if (isVisible())
            m_strip.request(times);
        update();
    }
    repaintMoved();
}

double TimelineBar::trimEndMs() const { return std::min(m_editor.cuts().trimOut, m_editor.sourceDurationMs()); }

double TimelineBar::headMs() const { return m_editor.timeline().source(m_playhead.ms()); }

void TimelineBar::begin(double x)
{
    const TimelineGeometry places = geometry();
    const double in = places.x(inMs());
    const double out = places.x(outMs());
    if (x >= in - handleOuterZone && x <= in + handleInnerZone && x < out - outHandleFirst)
        m_mode = Mode::TrimIn;
    else if (x >= out - handleInnerZone && x <= out + handleOuterZone)
        m_mode = Mode::TrimOut;
    else if (std::abs(x - places.x(headMs())) <= playheadZone)
        m_mode = Mode::Scrub;
    else
        m_mode = Mode::Click;
    m_headBefore = headMs();
    qApp->installEventFilter(this);
    if (!trims())
        return;
    m_handles[m_mode == Mode::TrimIn ? 0 : 1].pull.setTarget(1);
    m_bubble = new TrimBubble(window());
    showHelp();
    m_editor.beginTrimPreview();
}

void TimelineBar::changed(QPointF start, QPointF at)
{
    if (m_editor.fullTimeline().durationMs <= 0)
        return;
    const double from = start.x() - TimelineGeometry::handleWidth;
    const double x = at.x() - TimelineGeometry::handleWidth;
    if (!m_mode)
        begin(from);
    if (m_mode == Mode::Click && std::abs(x - from) > clickSlack)
        m_mode = Mode::Select;
    const double ms = geometry().toSource(x);
    switch (*m_mode) {
    case Mode::TrimIn:
    case Mode::TrimOut:
        // A press alone leaves the handle where it is, wherever on it the pointer took hold.
        if (at != start || m_dragIn || m_dragOut)
            m_mode == Mode::TrimIn ? trimInTo(ms) : trimOutTo(ms);
        showBubble();
        break;
    case Mode::Select:
        m_editor.setSelection(m_editor.selectionSpan(geometry().toSource(from), ms, isExact()));
        m_editor.previewSource(withinTrim(ms));
        break;
    case Mode::Scrub:
    case Mode::Click:
        m_editor.previewSource(withinTrim(ms));
        break;
    }
}

double TimelineBar::withinTrim(double ms) const
{
    return std::max(m_editor.cuts().trimIn, std::min(ms, m_editor.cuts().trimOut));
}

/// Where the dragged handle goes when the pointer is at `ms`.
double TimelineBar::snapped(double ms) const
{
    return isExact()
        ? ms
        : TrimSnapping::snapped(ms, m_candidates, m_editor.words(), snapDistance * geometry().msPerPoint());
}

void TimelineBar::trimInTo(double ms)
{
    if (m_candidates.empty())
        m_candidates = TrimSnapping::inCandidates(m_editor.words(), m_editor.sourceDurationMs());
    m_dragIn = std::max(0.0, std::min(snapped(ms), trimEndMs() - minEditMs));
    m_editor.previewSource(*m_dragIn);
    repaintMoved();
}

void TimelineBar::trimOutTo(double ms)
{
    if (m_candidates.empty())
        m_candidates = TrimSnapping::outCandidates(m_editor.words(), m_editor.sourceDurationMs());
    m_dragOut = std::min(m_editor.sourceDurationMs(), std::max(snapped(ms), m_editor.cuts().trimIn + minEditMs));
    m_editor.previewSource(*m_dragOut - 1);
    repaintMoved();
}

void TimelineBar::ended(double ms)
{
    // A trim that is refused changes nothing, and the handle going back says so.
    if (m_mode == Mode::Click)
        m_editor.setSelection(m_editor.piece(ms));
    else if (m_mode == Mode::TrimIn)
        m_editor.trim(m_dragIn, std::nullopt, QStringLiteral("Trim Start"));
    else if (m_mode == Mode::TrimOut)
        m_editor.trim(std::nullopt, m_dragOut, QStringLiteral("Trim End"));
    endDrag();
}

/// As if the pointer had taken hold of nothing, with the playhead where it was.
void TimelineBar::takeBack()
{
    m_dragIn.reset();
    m_dragOut.reset();
    ended(m_headBefore);
    m_editor.previewSource(m_headBefore);
}

void TimelineBar::endDrag()
{
    qApp->removeEventFilter(this);
    m_mode.reset();
    m_dragIn.reset();
    m_dragOut.reset();
    m_candidates.clear();
    delete m_bubble;
    for (HandleMotion& motion : m_handles)
        motion.pull.setTarget(0);
    showHelp();
    repaintMoved();
    announce();
}

void TimelineBar::showHelp()
{
    setToolTip(trims() ? QStringLiteral("Hold Ctrl to trim between words")
                       : QStringLiteral("Drag the yellow ends to trim · Ctrl+B splits at the playhead · "
                                        "click a piece and Delete to remove it"));
}

void TimelineBar::resizeEvent(QResizeEvent* event)
{
    QWidget::resizeEvent(event);
    m_mouse.setGeometry(rect());
    m_laidOut = {};
    editChanged();
}

void TimelineBar::showEvent(QShowEvent* event)
{
    QWidget::showEvent(event);
    lastShown = this;
    m_laidOut = {};
    editChanged();
}

} // namespace kelmo
