#include "tests/views/timeline/TimelineFixture.h"

namespace kelmo {

void TimelineFixture::SetUp()
{
    m_window = std::make_unique<QWidget>();
    m_window->resize(track + 2 * handle + 40, 300);
    m_bar = new TimelineBar(*m_editor, m_window.get());
    m_bar->setGeometry(20, 150, track + 2 * handle, m_bar->height());
    m_window->show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(m_window.get()));
}

void TimelineFixture::openTake()
{
    openTalk(QStringLiteral("talk"), int(duration / 1000), TakeFolder::talk(int(duration / 1000)));
}

QPoint TimelineFixture::at(double sourceMs) const
{
    const Timeline& full = m_editor->fullTimeline();
    return {handle + int(std::lround(full.edited(sourceMs) / full.durationMs * track)), m_bar->height() / 2};
}

QWidget* TimelineFixture::mouse() const { return m_bar->findChild<TrimMouse*>(); }

void TimelineFixture::press(QPoint point, Qt::KeyboardModifiers held) const
{
    QTest::mousePress(mouse(), Qt::LeftButton, held, point);
}

void TimelineFixture::move(QPoint point, Qt::KeyboardModifiers held) const
{
    // Qt's own helper sends moves without buttons and modifiers.
    QMouseEvent event(
        QEvent::MouseMove, point, mouse()->mapToGlobal(QPointF(point)), Qt::NoButton, Qt::LeftButton, held);
    QCoreApplication::sendEvent(mouse(), &event);
}

void TimelineFixture::release(QPoint point, Qt::KeyboardModifiers held) const
{
    QTest::mouseRelease(mouse(), Qt::LeftButton, held, point);
}

void TimelineFixture::drag(QPoint from, QPoint to, Qt::KeyboardModifiers held) const
{
    press(from, held);
    constexpr int steps = 4;
    for (int i = 1; i <= steps && to != from; ++i)
        move(from + (to - from) * i / steps, held);
    release(to, held);
}

void TimelineFixture::splitAt(double sourceMs) const
{
    m_editor->previewSource(sourceMs);
    m_editor->splitAtPlayhead();
}

} // namespace kelmo
