#include "views/window/AskClaudeBox.h"

#include "tests/agent/StandInClaude.h"
#include "views/controls/Button.h"
#include "views/controls/RoundButton.h"
#include "views/style/Theme.h"
#include "views/window/PromptLines.h"

#include <QAccessible>
#include <QBoxLayout>
#include <QClipboard>
#include <QGuiApplication>
#include <QLineEdit>
#include <QScrollBar>
#include <QTest>
#include <QTextBlock>

namespace kelmo {

namespace {

/// The box at the bottom of a window, as in the program, driven by keys and mouse alone.
class AskClaudeBoxTest : public testing::Test {
protected:
    AskClaudeBoxTest()
    {
        auto* layout = new QVBoxLayout(&m_window);
        layout->addStretch();
        m_box = new AskClaudeBox(m_agent, &m_window);
        layout->addWidget(m_box);
        m_window.resize(700, 400);
        m_window.show();
        m_window.activateWindow();
    }

    void SetUp() override { ASSERT_TRUE(QTest::qWaitForWindowActive(&m_window)); }

    [[nodiscard]] QLineEdit& field() const { return *m_box->findChild<QLineEdit*>(); }
    [[nodiscard]] RoundButton& button() const { return *m_box->findChild<RoundButton*>(); }
    [[nodiscard]] PromptLines& lines() const { return *m_box->findChild<PromptLines*>(); }

    void type(const QString& text) const
    {
        QTest::mouseClick(&field(), Qt::LeftButton);
        QTest::keyClicks(&field(), text);
    }
    void click() const { QTest::mouseClick(&button(), Qt::LeftButton); }
    [[nodiscard]] bool waitUntilRunning(bool running) const
    {
        return QTest::qWaitFor([&] { return m_agent.running() == running; }, 30'000);
    }
    [[nodiscard]] bool waitForText(const QString& text) const
    {
        return QTest::qWaitFor([&] { return lines().toPlainText() == text; }, 30'000);
    }
    void installPrinting(const QByteArray& events) const
    {
        m_home.write(QStringLiteral("events"), events);
        m_tool.install("cat \"$HOME/events\"");
    }

    TemporaryHome m_home;
    StandInClaude m_tool{m_home};
    ClaudeAgent m_agent;
    QWidget m_window;
    AskClaudeBox* m_box = nullptr;
};

} // namespace

TEST_F(AskClaudeBoxTest, promptIsSentByReturnAndTheRunStoppedByTheButton)
{
    m_tool.install("while :; do sleep 0.1; done");
    EXPECT_FALSE(lines().isVisible());
    EXPECT_FALSE(button().isEnabled()) << "nothing to send";
    type(QStringLiteral(" cut the waffle "));
    QTest::keyClick(&field(), Qt::Key_Return);
    ASSERT_TRUE(waitUntilRunning(true));
    EXPECT_EQ(field().text(), QString());
    EXPECT_TRUE(waitForText(QStringLiteral("cut the waffle")));
    EXPECT_TRUE(lines().isVisible());
    EXPECT_EQ(button().symbol(), Icons::Symbol::Stop);
    EXPECT_EQ(button().toolTip(), QStringLiteral("Stop Claude"));

    // What is typed meanwhile is for later.
    type(QStringLiteral("next"));
    QTest::keyClick(&field(), Qt::Key_Return);
    EXPECT_EQ(field().text(), QStringLiteral("next"));
    m_box->setEnabled(false);
    click();
    ASSERT_TRUE(waitUntilRunning(false)) << "stopping is always possible";
    EXPECT_EQ(shown(m_agent), "* cut the waffle\n");
    EXPECT_EQ(button().symbol(), Icons::Symbol::ArrowUp);

    EXPECT_FALSE(button().isEnabled());
    QTest::keyClick(&field(), Qt::Key_Return);
    click();
    QTest::qWait(100);
    EXPECT_FALSE(m_agent.running());
    m_box->setEnabled(true);
    EXPECT_EQ(field().text(), QStringLiteral("next"));
    click();
    ASSERT_TRUE(waitUntilRunning(true));
    click();
    ASSERT_TRUE(waitUntilRunning(false));
}

TEST_F(AskClaudeBoxTest, keyboardAloneSendsAndStops)
{
    m_tool.install("while :; do sleep 0.1; done");
    type(QStringLiteral("tighten"));
    QTest::keyClick(&field(), Qt::Key_Tab);
    ASSERT_TRUE(button().hasFocus());
    QTest::keyClick(&button(), Qt::Key_Space);
    EXPECT_TRUE(field().hasFocus()) << "not lost with the button's moment of having nothing to send";
    ASSERT_TRUE(waitUntilRunning(true));
    QTest::keyClick(&field(), Qt::Key_Tab);
    ASSERT_TRUE(button().hasFocus());
    QTest::keyClick(&button(), Qt::Key_Space);
    ASSERT_TRUE(waitUntilRunning(false));
}

TEST_F(AskClaudeBoxTest, linesAreAsHighAsNeededUpToALimitAndShowTheNewest)
{
    QByteArray events = StandInClaude::calls(QStringLiteral("cut_ranges"));
    events += StandInClaude::says(QStringLiteral("One\n\ntwo"));
    installPrinting(events);
    askAndWait(m_agent);
    ASSERT_TRUE(waitForText(QStringLiteral("cut the waffle\n→ cut ranges\nOne\n\ntwo")));
    EXPECT_TRUE(QTest::qWaitFor([&] { return lines().height() > 50 && lines().verticalScrollBar()->maximum() == 0; }))
        << "all of it is seen";
    EXPECT_LT(lines().height(), PromptLines::maxHeight);
    EXPECT_EQ(lines().document()->blockCount(), 3);
    const QTextCharFormat tool = lines().document()->findBlockByNumber(1).begin().fragment().charFormat();
    const QTextCharFormat text = lines().document()->findBlockByNumber(2).begin().fragment().charFormat();
    EXPECT_EQ(tool.font().weight(), QFont::Medium);
    EXPECT_EQ(text.font().weight(), QFont::Normal);
    EXPECT_EQ(tool.foreground().color(), Theme::white(0.45));
    EXPECT_EQ(text.foreground().color(), Theme::white(0.80));

    for (int i = 0; i < 40; ++i)
        events += StandInClaude::says(QStringLiteral("line %1").arg(i));
    installPrinting(events);
    askAndWait(m_agent);
    const QScrollBar& bar = *lines().verticalScrollBar();
    ASSERT_TRUE(QTest::qWaitFor([&] { return lines().document()->blockCount() == 43; }, 30'000));
    EXPECT_TRUE(QTest::qWaitFor([&] { return bar.maximum() > 0 && bar.value() == bar.maximum(); }, 30'000));
    EXPECT_TRUE(QTest::qWaitFor([&] { return lines().height() == PromptLines::maxHeight; }, 30'000));
    m_window.resize(320, 400);
    EXPECT_TRUE(QTest::qWaitFor([&] { return bar.value() == bar.maximum(); }, 30'000)) << "however it wraps";
}

TEST_F(AskClaudeBoxTest, linesCanBeSelectedAndCopiedWhileMoreArrive)
{
    m_home.write(QStringLiteral("events"), StandInClaude::says(QStringLiteral("first\nsecond")));
    m_tool.install("cat \"$HOME/events\"; while [ ! -e \"$HOME/go\" ]; do sleep 0.05; done; cat \"$HOME/events\"");
    type(QStringLiteral("tell me"));
    QTest::keyClick(&field(), Qt::Key_Return);
    ASSERT_TRUE(waitForText(QStringLiteral("tell me\nfirst\nsecond")));
    QCoreApplication::processEvents();
    const QRect second = lines().cursorRect(QTextCursor(lines().document()->findBlockByNumber(1)));
    QTest::mouseClick(lines().viewport(), Qt::LeftButton, Qt::NoModifier, second.center());
    QTest::keyClick(&lines(), Qt::Key_End, Qt::ControlModifier | Qt::ShiftModifier);
    m_home.write(QStringLiteral("go"), "");
    ASSERT_TRUE(waitForText(QStringLiteral("tell me\nfirst\nsecond\nfirst\nsecond")));
    QTest::keyClick(&lines(), Qt::Key_C, Qt::ControlModifier);
    EXPECT_EQ(QGuiApplication::clipboard()->text(), QStringLiteral("first\nsecond"));
    QTest::keyClicks(&lines(), QStringLiteral("typing here changes nothing"));
    EXPECT_EQ(lines().toPlainText(), QStringLiteral("tell me\nfirst\nsecond\nfirst\nsecond"));
}

TEST_F(AskClaudeBoxTest, floodKeepsTheWindowAliveAndTheListShort)
{
    const QString broken = QString(60, u'w') % u'\r' % QString(60, u'w'); // One line of the list all the same.
    m_home.write(QStringLiteral("event"), StandInClaude::says(broken).chopped(1));
    m_tool.install("yes \"$(cat \"$HOME/event\")\" | head -c 6000000");
    QElapsedTimer sinceTick;
    qint64 longestGap = 0;
    QTimer ticks;
    QObject::connect(&ticks, &QTimer::timeout, &ticks, [&] {
        longestGap = std::max(longestGap, sinceTick.restart());
        EXPECT_LE(lines().document()->blockCount(), ClaudeAgent::maxLines);
    });
    sinceTick.start();
    ticks.start(5);
    askAndWait(m_agent);
    RecordProperty("longestGapMs", int(longestGap));
    EXPECT_LT(longestGap, 1000);
    ASSERT_TRUE(
        QTest::qWaitFor([&] { return lines().document()->blockCount() == int(m_agent.lines().size()); }, 30'000));
    EXPECT_EQ(lines().document()->firstBlock().text(), QStringLiteral("cut the waffle"));
}

TEST_F(AskClaudeBoxTest, everyPartHasANameAndARole)
{
    const auto roleOf = [](QWidget& widget) { return QAccessible::queryAccessibleInterface(&widget)->role(); };
    const auto nameOf
        = [](QWidget& widget) { return QAccessible::queryAccessibleInterface(&widget)->text(QAccessible::Name); };
    EXPECT_EQ(roleOf(field()), QAccessible::EditableText);
    EXPECT_EQ(nameOf(field()), QStringLiteral("Ask Claude to edit"));
    EXPECT_EQ(roleOf(button()), QAccessible::Button);
    EXPECT_EQ(nameOf(button()), QStringLiteral("Send to Claude"));
    EXPECT_EQ(nameOf(lines()), QStringLiteral("What Claude does"));
    EXPECT_TRUE(QAccessible::queryAccessibleInterface(&lines())->state().readOnly);
    EXPECT_EQ(field().placeholderText(), QStringLiteral("Ask Claude to edit — “cut the waffle, tighten the intro”"));
    m_tool.install("sleep 30");
    type(QStringLiteral("go"));
    click();
    ASSERT_TRUE(waitUntilRunning(true));
    EXPECT_EQ(nameOf(button()), QStringLiteral("Stop Claude"));
}

TEST_F(AskClaudeBoxTest, promptStaysInTheFieldWhenTheToolIsMissingOrCannotStart)
{
    type(QStringLiteral("cut the waffle"));
    QTest::keyClick(&field(), Qt::Key_Return);
    ASSERT_TRUE(QTest::qWaitFor([this] { return lines().toPlainText().contains(QStringLiteral("not found")); }));
    EXPECT_EQ(field().text(), QStringLiteral("cut the waffle"));
    EXPECT_TRUE(button().isEnabled()) << "for another try";

    const QString tool = m_home.write(QStringLiteral(".local/bin/claude"), "#!/nothing/that/could/run/this\necho no\n");
    QFile::setPermissions(tool, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    QTest::keyClick(&field(), Qt::Key_Return);
    ASSERT_TRUE(QTest::qWaitFor([this] { return lines().toPlainText().contains(QStringLiteral("Couldn't start")); }));
    EXPECT_EQ(field().text(), QStringLiteral("cut the waffle"));
}

TEST_F(AskClaudeBoxTest, linesOfARunThatIsOverCanBeDismissed)
{
    auto& dismiss = *m_box->findChild<Button*>();
    m_tool.install("while :; do sleep 0.1; done");
    for (const bool byKey : {false, true}) {
        EXPECT_FALSE(dismiss.isVisible());
        type(QStringLiteral("tighten"));
        QTest::keyClick(&field(), Qt::Key_Return);
        ASSERT_TRUE(waitUntilRunning(true));
        EXPECT_FALSE(dismiss.isVisible());
        QTest::keyClick(&field(), Qt::Key_Escape);
        EXPECT_FALSE(m_agent.lines().empty()) << "a run that goes on is stopped, not hidden";
        click();
        ASSERT_TRUE(waitUntilRunning(false));
        EXPECT_TRUE(dismiss.isVisible());
        if (byKey)
            QTest::keyClick(&field(), Qt::Key_Escape);
        else
            QTest::mouseClick(&dismiss, Qt::LeftButton);
        EXPECT_TRUE(QTest::qWaitFor([this] { return !lines().isVisible(); }));
        EXPECT_TRUE(m_agent.lines().empty());
    }
}

} // namespace kelmo
