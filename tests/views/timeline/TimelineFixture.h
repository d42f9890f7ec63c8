#pragma once

#include "tests/editor/EditorFixture.h"
#include "views/timeline/TimelineBar.h"

#include <QTest>

namespace kelmo {

/// A timeline bar in a shown window, over a take of 30 seconds with a word in every one, driven by mouse and keys.
/// A hundred points of its track are three seconds. Words are said from 200 to 700 ms of each second.
class TimelineFixture : public EditorFixture {
protected:
    static constexpr int handle = 16;
    static constexpr int track = 1000;
    static constexpr double duration = 30'000;

    void SetUp() override;
    void openTake();

    /// Where a source time lies, in the widget that takes the mouse.
    [[nodiscard]] QPoint at(double sourceMs) const;
    [[nodiscard]] static QPoint right(QPoint point, int by) { return point + QPoint(by, 0); }
    [[nodiscard]] QWidget* mouse() const;
    void press(QPoint point, Qt::KeyboardModifiers held = {}) const;
    void move(QPoint point, Qt::KeyboardModifiers held = {}) const;
    void release(QPoint point, Qt::KeyboardModifiers held = {}) const;
    /// Press, a few moves on the way, release.
    void drag(QPoint from, QPoint to, Qt::KeyboardModifiers held = {}) const;
    void click(QPoint point) const { drag(point, point); }

    [[nodiscard]] double headMs() const { return m_editor->timeline().source(m_editor->playhead().ms()); }
    void splitAt(double sourceMs) const;

    std::unique_ptr<QWidget> m_window;
    TimelineBar* m_bar = nullptr; ///< Owned by the window.
};

} // namespace kelmo
