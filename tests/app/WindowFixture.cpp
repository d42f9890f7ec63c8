#include "tests/app/WindowFixture.h"

#include "platform/MonotonicClock.h"

#include <QAbstractButton>
#include <QAccessible>
#include <QTest>

namespace kelmo {

namespace {

constexpr const char* takesVariable = "CORVANE_TAKES_DIR";

std::vector<Word> words()
{
    std::vector<Word> words = TakeFolder::talk(10);
    words[3].text = QStringLiteral("um");
    words[6].text = QStringLiteral("uh");
    return words;
}

} // namespace

WindowFixture::WindowFixture() { qputenv(takesVariable, m_takes.file(QString()).toUtf8()); }

WindowFixture::~WindowFixture()
{
    quit();
    qunsetenv(takesVariable);
}

void WindowFixture::start(CommandLine commandLine)
{
    commandLine.muted = true;
    commandLine.port = 0;
    m_app = std::make_unique<AppDelegate>(commandLine, MonotonicClock::nowMs(), AppDelegate::Display::Present);
    m_app->applicationDidFinishLaunching();
    QObject::connect(&m_app->server(), &MCPServer::listening, [this](quint16 port) { m_port = port; });
    ASSERT_TRUE(commandLine.background || QTest::qWaitForWindowActive(m_app->window()));
}

void WindowFixture::makeTake(int seconds) const
{
    m_takes.makeMovie(QStringLiteral("talk"), seconds);
    m_takes.writeTranscript(QStringLiteral("talk"), words(), TakeFolder::Aligned::Yes);
    m_takes.writeSync(QStringLiteral("talk"));
}

void WindowFixture::makeLongTake() const { makeTake(600); }

void WindowFixture::launch(CommandLine commandLine)
{
    if (!QFileInfo::exists(m_takes.movie(QStringLiteral("talk"))))
        makeTake(10);
    start(commandLine);
    ASSERT_TRUE(commandLine.background || waitUntil([this] { return editor().loaded() != nullptr; }));
}

void WindowFixture::launchWithoutTakes() { start({}); }

void WindowFixture::quit() { m_app.reset(); }

void WindowFixture::key(int key, Qt::KeyboardModifiers modifiers)
{
    // Without a window manager the window is not activated again after a dialog.
    if (!QApplication::activeWindow())
        window().activateWindow();
    EXPECT_TRUE(waitUntil([] { return QApplication::activeWindow() != nullptr; }));
    QTest::keyClick(QApplication::activeWindow()->windowHandle(), Qt::Key(key), modifiers);
    QCoreApplication::processEvents();
}

void WindowFixture::type(const QString& text)
{
    for (const QChar c : text)
        QTest::keyClick(QApplication::activeWindow()->windowHandle(), c.toLatin1());
}

QWidget* WindowFixture::control(const QString& name, QWidget* root) const
{
    QWidget* from = root ? root : static_cast<QWidget*>(m_app->window());
    for (QWidget* widget : from->findChildren<QWidget*>()) {
        QAccessibleInterface* accessible
            = widget->isVisible() ? QAccessible::queryAccessibleInterface(widget) : nullptr;
        if (accessible && accessible->text(QAccessible::Name) == name)
            return widget;
    }
    ADD_FAILURE() << "no control is called " << qPrintable(name);
    return from;
}

QAbstractButton* WindowFixture::button(const QString& name, QWidget* root) const
{
    return qobject_cast<QAbstractButton*>(control(name, root));
}

void WindowFixture::click(QWidget* widget)
{
    QWidget* top = widget->window();
    const QPoint at = widget->mapTo(top, widget->rect().center());
    QTest::mouseMove(top->windowHandle(), at);
    QTest::mouseClick(top->windowHandle(), Qt::LeftButton, {}, at);
    QCoreApplication::processEvents();
}

void WindowFixture::choose(const QString& buttonName, const QString& row)
{
    click(buttonName);
    ASSERT_TRUE(waitUntil([] { return QApplication::activePopupWidget() != nullptr; }));
    auto* menu = qobject_cast<QMenu*>(QApplication::activePopupWidget());
    ASSERT_NE(menu, nullptr);
    for (QAction* action : menu->actions()) {
        if (action->text() != row)
            continue;
        const QPoint at = menu->actionGeometry(action).center();
        QTest::mouseMove(menu->windowHandle(), at);
        QTest::mouseClick(menu->windowHandle(), Qt::LeftButton, {}, at);
        QCoreApplication::processEvents();
        return;
    }
    ADD_FAILURE() << "no row is called " << qPrintable(row);
}

bool WindowFixture::waitUntil(const std::function<bool()>& holds, int timeoutMs) const
{
    return QTest::qWaitFor(holds, timeoutMs);
}

} // namespace kelmo
