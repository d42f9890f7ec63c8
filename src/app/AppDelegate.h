#pragma once

#include "agent/MCPServer.h"
#include "app/CommandLine.h"
#include "app/PlainWindow.h"
#include "editor/Editor.h"

namespace kelmo {

/// The program while it runs: makes the editor and the agent server, connects them and does what the command line
/// asks for. Owned by the entry point; main thread only.
class AppDelegate : public QObject {
    Q_OBJECT

public:
    /// `launchMs` is when the process began, on the monotonic clock.
    AppDelegate(CommandLine commandLine, double launchMs);

    /// To be called once the event loop runs.
    void launch();

private:
    void reveal(); ///< Brings the window forward, made when it is first wanted.

    const CommandLine m_commandLine;
    const double m_launchMs;
    std::unique_ptr<Editor> m_editor;
    std::unique_ptr<PlainWindow> m_window; ///< None in the background, or without a display.
    std::unique_ptr<MCPServer> m_mcp; ///< After the editor, which it uses.
};

} // namespace kelmo
