#include "tests/app/WindowFixture.h"
#include "views/controls/ProgressLine.h"
#include "views/window/RootView.h"

#include <QAbstractButton>
#include <QAccessible>
#include <QApplication>
#include <QTest>

namespace kelmo {

namespace {

class Accessibility : public WindowFixture {
protected:
    [[nodiscard]] static std::vector<QWidget*> focusable(QWidget& root)
    {
        std::vector<QWidget*> found;
        for (QWidget* widget : root.findChildren<QWidget*>()) {
            const bool inSight = widget->isVisible() && widget->isEnabled() && !widget->focusProxy();
            if (inSight && (widget->focusPolicy() & Qt::TabFocus))
                found.push_back(widget);
        }
        return found;
    }

    static void expectNamed(QWidget& widget)
    {
        QAccessibleInterface* accessible = QAccessible::queryAccessibleInterface(&widget);
        ASSERT_NE(accessible, nullptr) << widget.metaObject()->className();
        EXPECT_FALSE(accessible->text(QAccessible::Name).isEmpty()) << widget.metaObject()->className();
        EXPECT_NE(accessible->role(), QAccessible::NoRole) << widget.metaObject()->className();
        EXPECT_FALSE(qobject_cast<QAbstractButton*>(&widget) && accessible->role() == QAccessible::Client)
            << widget.metaObject()->className();
    }
};

} // namespace

TEST_F(Accessibility, everythingThatTakesTheKeyboardHasANameAndARole)
{
    launch();
    const std::vector<QWidget*> controls = focusable(window());
    EXPECT_GT(controls.size(), 8u);
    for (QWidget* widget : controls)
        expectNamed(*widget);
    expectNamed(*window().findChild<RootView*>()); // A click takes the keyboard there.
    key(Qt::Key_Comma, Qt::ControlModifier);
    ASSERT_TRUE(waitUntil([this] { return QApplication::activeWindow() != &window(); }));
    for (QWidget* widget : focusable(*QApplication::activeWindow()))
        expectNamed(*widget);
}

TEST_F(Accessibility, tabGoesThroughTheWindowAsItReads)
{
    launch();
    window().setFocus();
    std::vector<QWidget*> visited;
    for (size_t i = 0; i < 40; ++i) {
        key(Qt::Key_Tab);
        QWidget* now = QApplication::focusWidget();
        ASSERT_NE(now, nullptr);
        if (std::find(visited.begin(), visited.end(), now) != visited.end())
            break;
        visited.push_back(now);
    }
    QStringList names;
    for (QWidget* widget : visited)
        names.append(QAccessible::queryAccessibleInterface(widget)->text(QAccessible::Name));
    for (QWidget* widget : focusable(window())) {
        EXPECT_EQ(std::count(visited.begin(), visited.end(), widget), 1)
            << qPrintable(QAccessible::queryAccessibleInterface(widget)->text(QAccessible::Name)) << " of "
            << qPrintable(names.join(QStringLiteral(", ")));
    }
    // The transcript had the focus first, so the round starts below it.
    const auto top = [this](QWidget* widget) { return widget->mapTo(&window(), widget->rect().center()); };
    int turns = 0;
    for (size_t i = 1; i < visited.size(); ++i) {
        const QPoint before = top(visited[i - 1]);
        const QPoint now = top(visited[i]);
        const bool sameRow = std::abs(before.y() - now.y()) <= 12;
        turns += sameRow ? now.x() < before.x() : now.y() < before.y();
    }
    EXPECT_LE(turns, 1) << "row by row from the left, but for going round at the end";
}

TEST_F(Accessibility, progressOfAnExportIsAProgressBar)
{
    launch();
    ProgressLine* line = nullptr;
    for (auto* each : window().findChildren<ProgressLine*>())
        line = each->accessibleName() == QStringLiteral("Export progress") ? each : line;
    ASSERT_NE(line, nullptr);
    QAccessibleInterface* bar = QAccessible::queryAccessibleInterface(line);
    ASSERT_EQ(bar->role(), QAccessible::ProgressBar);
    ASSERT_NE(bar->valueInterface(), nullptr);
    EXPECT_TRUE(bar->state().invisible) << "nothing is under way";
    line->setProgress(0.425);
    EXPECT_FALSE(bar->state().invisible);
    EXPECT_EQ(bar->valueInterface()->currentValue(), 42);
    EXPECT_EQ(bar->valueInterface()->maximumValue(), 100);
    EXPECT_EQ(bar->text(QAccessible::Value), QStringLiteral("42%"));
}

} // namespace kelmo
