#include "app/AppDelegate.h"

#include "diagnostics/SelfTest.h"
#include "platform/MonotonicClock.h"
#include "platform/ReducedMotion.h"
#include "telemetry/Log.h"
#include "views/window/HeaderBar.h"
#include "views/window/OpenPanel.h"
#include "views/window/RootView.h"

#include <QApplication>

namespace kelmo {

AppDelegate::AppDelegate(CommandLine commandLine, double launchMs, Display display)
    : m_commandLine(std::move(commandLine))
    , m_launchMs(launchMs)
    , m_display(display)
{
}

AppDelegate::~AppDelegate() = default;

void AppDelegate::applicationDidFinishLaunching()
{
    m_editor = std::make_unique<Editor>(m_commandLine.muted ? Editor::Sound::Muted : Editor::Sound::On);
    m_exportChoices = std::make_unique<ExportChoices>(*m_editor);
    m_crashReports.start();
    m_sharer = std::make_unique<Sharer>(*m_editor);
    m_editor->onTakeReady = [this](const Take& take) { m_sharer->takeOpened(take); };
    if (m_display == Display::Present)
        buildWindow();
    m_editor->onOpen = [this] { reveal(); };
    if (!m_commandLine.background) {
        reveal();
        if (m_commandLine.take)
            m_editor->open(*m_commandLine.take, Editor::Opener::Person);
        else
            m_editor->openNewest(Editor::Opener::Person);
    }
    m_mcp = std::make_unique<MCPServer>(*m_editor, *m_sharer, m_commandLine.port);
    m_mcp->start();
    Log::line(u"timing",
        QStringLiteral("launch → window up: ") % QString::number(MonotonicClock::nowMs() - m_launchMs, 'f', 0)
            % QStringLiteral(" ms"));
    if (m_window && m_commandLine.selfTestUI)
        selfTestUI();
    if (m_window && m_commandLine.selfTestSplit)
        selfTestSplit();
    else if (m_window && m_commandLine.selfTestTrim)
        selfTestTrim();
}

void AppDelegate::buildWindow()
{
    ReducedMotion::ask();
    m_menu = std::make_unique<MainMenu>(*this);
    m_window = std::make_unique<EditorWindow>();
    auto* root = new RootView(*m_editor, *m_sharer, m_agent, m_window.get());
    root->header().setMainMenu(m_menu->menu());
    m_window->setContent(root);
    m_menu->addKeysTo(*m_window);
    m_keyMonitor = std::make_unique<KeyMonitor>(*m_editor, *m_menu, m_window.get());
    connect(m_window.get(), &EditorWindow::willClose, this, &AppDelegate::windowWillClose);
    connect(m_editor.get(), &Editor::takeChanged, m_window.get(), [this] {
        const std::optional<Take>& take = m_editor->take();
        m_window->setWindowTitle(take ? take->base : QStringLiteral("Vorlix"));
    });
    for (const auto changed : {&Editor::takeChanged, &Editor::timelineChanged, &Editor::cutsChanged})
        connect(m_editor.get(), changed, m_menu.get(), &MainMenu::validate);
    connect(&m_editor->undo(), &QUndoStack::indexChanged, m_menu.get(), &MainMenu::validate);
    // A text field undoes its own typing.
    connect(qApp, &QApplication::focusChanged, m_menu.get(), &MainMenu::validate);
    m_menu->validate();
}

QCoro::Task<void> AppDelegate::selfTestUI()
{
    SelfTest test(*m_editor, *m_window);
    QCoro::Task<void> run = test.ui();
    co_await run;
}

QCoro::Task<void> AppDelegate::selfTestSplit()
{
    SelfTest test(*m_editor, *m_window);
    QCoro::Task<void> run = test.split();
    co_await run;
}

QCoro::Task<void> AppDelegate::selfTestTrim()
{
    SelfTest test(*m_editor, *m_window);
    QCoro::Task<void> run = test.trim();
    co_await run;
}

void AppDelegate::reveal()
{
    if (m_window)
        m_window->reveal();
}

void AppDelegate::applicationShouldHandleReopen(const std::optional<QString>& take)
{
    reveal();
    if (take)
        m_editor->open(*take, Editor::Opener::Person);
    else if (!m_editor->take())
        m_editor->openNewest(Editor::Opener::Person);
}

void AppDelegate::windowWillClose()
{
    if (m_editor->isPlaying())
        m_editor->togglePlay();
}

} // namespace kelmo
