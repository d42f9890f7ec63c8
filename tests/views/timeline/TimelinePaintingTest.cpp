#include "tests/views/timeline/TimelineFixture.h"
#include "views/style/Theme.h"
#include "views/timeline/TrimBubble.h"

#include <QBackingStore>
#include <QPaintEvent>
#include <QProcess>

namespace kelmo {

namespace {

/// The bar's pixels, and how much of it is painted when something moves.
class TimelinePaintingTest : public TimelineFixture {
protected:
    [[nodiscard]] static QColor pixel(const QImage& image, double x, double y)
    {
        const double ratio = image.devicePixelRatio();
        return image.pixelColor(int(x * ratio), int(y * ratio));
    }

    /// Just the strip, without the rest of the window behind it.
    [[nodiscard]] QImage picture() const { return m_bar->grab().toImage(); }
    [[nodiscard]] double x(double sourceMs) const { return at(sourceMs).x(); }
    [[nodiscard]] double middle() const { return m_bar->height() / 2.0; }

    void waitForTiles() const { QTest::qWait(300); }
};

int distance(QColor a, QColor b)
{
    return std::max({std::abs(a.red() - b.red()), std::abs(a.green() - b.green()), std::abs(a.blue() - b.blue())});
}

/// Adds up what is painted of a widget.
class PaintedArea : public QObject {
public:
    explicit PaintedArea(QWidget& widget) { widget.installEventFilter(this); }
    [[nodiscard]] int pixels() const { return m_pixels; }
    [[nodiscard]] int take() { return std::exchange(m_pixels, 0); }

protected:
    bool eventFilter(QObject*, QEvent* event) override
    {
        if (event->type() == QEvent::Paint) {
            for (const QRect& rect : static_cast<QPaintEvent*>(event)->region())
                m_pixels += rect.width() * rect.height();
        }
        return false;
    }

private:
    int m_pixels = 0;
};

} // namespace

TEST_F(TimelinePaintingTest, everythingLiesWhereItsTimeIs)
{
    openTake();
    m_editor->trim(6000, 24'000, QStringLiteral("Trim"));
    splitAt(9000);
    splitAt(12'000);
    m_editor->setSelection(m_editor->piece(10'000));
    m_editor->previewSource(18'000);
    const double top = TimelineBar::overhang;

    const QImage shown = picture();
    EXPECT_LE(distance(pixel(shown, x(6000) - 14, middle()), Theme::yellow), 2);
    EXPECT_LE(distance(pixel(shown, x(24'000) + 14, middle()), Theme::yellow), 2);
    EXPECT_GT(distance(pixel(shown, x(24'000) + 15.5, top + 0.5), Theme::yellow), 40) << "soft outside";
    EXPECT_LE(distance(pixel(shown, x(24'000) + 0.5, top + 0.5), Theme::yellow), 2) << "square inside";
    EXPECT_LE(distance(pixel(shown, x(9000), middle() + 10), Theme::yellow), 2) << "a split";
    EXPECT_LE(distance(pixel(shown, x(18'000), middle()), Qt::white), 2);
    EXPECT_LE(distance(pixel(shown, x(18'000), top - 3), Qt::white), 2) << "the playhead sticks out";
    const QColor plain = pixel(shown, x(15'000), top + 1.5);
    EXPECT_LT(pixel(shown, x(3000), middle()).lightness(), plain.lightness() / 2 + 2) << "trimmed away";
    EXPECT_GT(pixel(shown, x(10'500), middle()).blue(), pixel(shown, x(10'500), middle()).red() + 20) << "selected";
    EXPECT_LE(distance(pixel(shown, x(10'500), middle() - 19), Theme::accent), 30) << "its outline, 40 high";
}

TEST_F(TimelinePaintingTest, tilesShowTheEditWithoutItsTrim)
{
    openTake();
    ASSERT_TRUE(waitUntil([&] {
        // The placeholder is grey, the movie's pictures are not.
        return pixel(picture(), x(29'000), middle()).saturation() > 60;
    }));
    const QImage before = picture();
    m_editor->trim(12'000, Cuts::noTrimOut, QStringLiteral("Trim"));
    m_editor->previewSource(18'000);
    EXPECT_EQ(pixel(picture(), x(22'000), middle()), pixel(before, x(22'000), middle())) << "a trim moves no tile";
}

TEST_F(TimelinePaintingTest, noTileGoesGreyWhenTheEditChanges)
{
    openTake();
    const auto grey = [&] {
        const QImage shown = picture();
        int count = 0;
        for (int px = 0; px < shown.width(); ++px)
            count += shown.pixelColor(px, shown.height() / 2) == QColor(41, 41, 41);
        return count;
    };
    ASSERT_TRUE(waitUntil([&] { return grey() == 0 && pixel(picture(), x(29'000), middle()).saturation() > 60; }));
    m_editor->toggleWords({8, 9, 10, 11});
    EXPECT_EQ(grey(), 0);
    m_bar->resize(m_bar->width() + 300, m_bar->height());
    EXPECT_EQ(grey(), 0) << "nor when there are more of them";
}

TEST_F(TimelinePaintingTest, playheadStepRepaintsASlimPart)
{
    openTake();
    splitAt(9000);
    m_editor->tick(15'000);
    waitForTiles();
    PaintedArea area(*m_bar);
    // Whatever is still to be painted from before comes first.
    while (area.take() > 0 || QTest::qWaitFor([&] { return area.pixels() > 0; }, 200)) { }
    m_editor->tick(15'001);
    QTest::qWait(30);
    EXPECT_EQ(area.take(), 0) << "less than a pixel away";
    m_editor->tick(15'090);
    ASSERT_TRUE(QTest::qWaitFor([&] { return area.pixels() > 0; }));
    EXPECT_LE(area.take(), 2 * 16 * m_bar->height());
}

TEST_F(TimelinePaintingTest, partialRepaintsLeaveNoTrace)
{
    openTake();
    splitAt(9000);
    waitForTiles();
    for (const double ms : {15'000.0, 15'031.0, 15'100.0, 8990.0, 9010.0, 29'000.0, 14'000.0}) {
        m_editor->previewSource(ms);
        QTest::qWait(20);
    }
    press(at(0));
    for (const double ms : {3000.0, 3500.0, 2000.0, 7000.0, 6000.0}) {
        move(at(ms), Qt::AltModifier);
        QTest::qWait(20);
    }
    QTest::qWait(900); // Until the handle's spring is at rest.
    // What earlier paintings have left on the window, against all of it painted at once.
    const auto* store = dynamic_cast<const QImage*>(m_window->backingStore()->paintDevice());
    ASSERT_TRUE(store);
    const QImage onScreen = store->copy();
    const QImage clean = m_window->grab().toImage();
    ASSERT_EQ(onScreen.size(), clean.size());
    const double ratio = clean.devicePixelRatio();
    const QRect bar((QPointF(m_bar->pos()) * ratio).toPoint(), (QSizeF(m_bar->size()) * ratio).toSize());
    int differing = 0;
    for (int y = bar.top(); y < bar.bottom(); ++y) {
        for (int px = bar.left(); px < bar.right(); ++px)
            differing += distance(onScreen.pixelColor(px, y), clean.pixelColor(px, y)) > 2;
    }
    EXPECT_EQ(differing, 0);
    release(at(6000));
}

TEST_F(TimelinePaintingTest, bubbleTellsTimeAndWordBelowTheHandle)
{
    openTake();
    press(at(0));
    move(at(7300));
    auto* bubble = m_window->findChild<TrimBubble*>();
    ASSERT_TRUE(bubble && bubble->isVisible());
    EXPECT_EQ(bubble->accessibleName(), QStringLiteral("0:07.1 “w7”"));
    EXPECT_GE(bubble->geometry().top(), TimelineBar::frameInWindow().bottom()) << "the row above stays readable";
    EXPECT_NEAR(bubble->geometry().center().x(), m_bar->x() + x(7150) - handle / 2, 4);
    move(at(0));
    EXPECT_GE(bubble->geometry().left(), 0) << "never outside the window";
    release(at(0));
    EXPECT_FALSE(m_window->findChild<TrimBubble*>());

    press(at(duration));
    move(at(20'600));
    bubble = m_window->findChild<TrimBubble*>();
    ASSERT_TRUE(bubble);
    EXPECT_TRUE(bubble->accessibleName().endsWith(QStringLiteral("“w20”"))) << "the last word kept";
    release(at(20'600));
}

TEST_F(TimelinePaintingTest, heldHandleStretches)
{
    openTake();
    m_editor->trim(6000, 24'000, QStringLiteral("Trim"));
    m_editor->previewSource(15'000);
    const auto justAbove = [&] { return pixel(picture(), x(6000) - 4, TimelineBar::overhang - 0.75); };
    const QColor before = justAbove();
    press(right(at(6000), -8));
    ASSERT_TRUE(waitUntil([&] { return distance(justAbove(), before) > 60; }));
    release(right(at(6000), -8));
    ASSERT_TRUE(waitUntil([&] { return distance(justAbove(), before) <= 2; })) << "and springs back";
}

TEST_F(TimelinePaintingTest, everyScaleOfTheScreenIsRight)
{
    for (const char* scale : {"1.25", "1.5", "2"}) {
        QProcess child;
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(QStringLiteral("QT_SCALE_FACTOR"), QString::fromLatin1(scale));
        child.setProcessEnvironment(environment);
        child.start(QCoreApplication::applicationFilePath(),
            {QStringLiteral("--gtest_filter=TimelinePaintingTest.everythingLies*:TimelinePaintingTest.partial*")});
        ASSERT_TRUE(child.waitForFinished(120'000));
        EXPECT_EQ(child.exitCode(), 0) << scale << child.readAllStandardOutput().constData();
    }
}

} // namespace kelmo
