#include "app/AppDelegate.h"

#include "platform/MonotonicClock.h"
#include "telemetry/Log.h"

#include <QGuiApplication>

namespace kelmo {

AppDelegate::AppDelegate(CommandLine commandLine, double launchMs)
    : m_commandLine(std::move(commandLine))
    , m_launchMs(launchMs)
{
}

void AppDelegate::launch()
{
    m_editor = std::make_unique<Editor>(m_commandLine.muted ? Editor::Sound::Muted : Editor::Sound::On);
    m_editor->onOpen = [this] { reveal(); };
    if (!m_commandLine.background) {
        reveal();
        if (m_commandLine.take)
            m_editor->open(*m_commandLine.take);
        else
            m_editor->openNewest();
    }
    m_mcp = std::make_unique<MCPServer>(*m_editor, ShareFunction(), m_commandLine.port);
    m_mcp->start();
    Log::line(u"timing",
        QStringLiteral("launch → window up: ") % QString::number(MonotonicClock::nowMs() - m_launchMs, 'f', 0)
            % QStringLiteral(" ms"));
}

void AppDelegate::reveal()
{
    // Without a display agents are served all the same.
    if (QGuiApplication::platformName() == QStringLiteral("offscreen"))
        return;
    if (!m_window)
        m_window = std::make_unique<PlainWindow>(*m_editor);
    m_window->reveal();
}

} // namespace kelmo
