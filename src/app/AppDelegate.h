#pragma once

#include "agent/ClaudeAgent.h"
#include "agent/MCPServer.h"
#include "app/CommandLine.h"
#include "app/EditorWindow.h"
#include "app/ExportChoices.h"
#include "app/KeyMonitor.h"
#include "app/MainMenu.h"
#include "editor/Editor.h"
#include "share/Sharer.h"
#include "telemetry/CrashReports.h"

#include <QPointer>

class QMessageBox;

namespace kelmo {

/// The program while it runs: makes the editor, the window and the agent server, connects them, does what the command
/// line asks for and carries out the menu's commands. Closing the window leaves the program serving agents. Owned by
/// the entry point; main thread only.
class AppDelegate : public QObject {
    Q_OBJECT

public:
    /// Whether there is anywhere to show a window. Without, agents are served all the same.
    enum class Display { Present, None };

    /// `launchMs` is when the process began, on the monotonic clock.
    AppDelegate(CommandLine commandLine, double launchMs, Display display);
    ~AppDelegate() override;

    /// To be called once the event loop runs.
    void applicationDidFinishLaunching();

    /// The program was started again: comes forward and opens `take`, or the newest one when none is open.
    void applicationShouldHandleReopen(const std::optional<QString>& take);

    void reveal(); ///< Brings the window forward.

    // The menu's commands.
    void showSettings();
    void openTake();
    void openNewest();
    void exportVideo();
    void share();
    void closeWindow();
    void undo();
    void redo();
    void copy();
    void selectAll();
    void cutFillers();
    void tighten();
    void trimStart();
    void trimEnd();
    void splitAtPlayhead();
    void clearTrim();
    void quit();
    [[nodiscard]] bool canUndo() const; ///< In the field that is written in, else in the edit.
    [[nodiscard]] bool canRedo() const;
    [[nodiscard]] QString undoStep() const; ///< The edit's step that undo takes back; empty in a field.
    [[nodiscard]] QString redoStep() const;
    [[nodiscard]] bool canTrim() const;
    [[nodiscard]] bool canClearTrim() const;

    [[nodiscard]] Editor& editor() { return *m_editor; }
    [[nodiscard]] Sharer& sharer() { return *m_sharer; }
    [[nodiscard]] EditorWindow* window() { return m_window.get(); } ///< Null without a display.
    [[nodiscard]] MCPServer& server() { return *m_mcp; }

private:
    void buildWindow();
    QCoro::Task<void> selfTestUI();
    QCoro::Task<void> selfTestSplit();
    QCoro::Task<void> selfTestTrim();
    void windowWillClose();

    const CommandLine m_commandLine;
    const double m_launchMs;
    const Display m_display;
    std::unique_ptr<Editor> m_editor;
    std::unique_ptr<ExportChoices> m_exportChoices;
    CrashReports m_crashReports;
    std::unique_ptr<Sharer> m_sharer;
    ClaudeAgent m_agent;
    std::unique_ptr<MainMenu> m_menu;
    std::unique_ptr<EditorWindow> m_window;
    std::unique_ptr<QWidget> m_settingsWindow; ///< From its first use on.
    QPointer<QMessageBox> m_quitQuestion; ///< While it is on screen.
    std::unique_ptr<KeyMonitor> m_keyMonitor;
    std::unique_ptr<MCPServer> m_mcp; ///< After the editor and the sharer, which it uses.
};

} // namespace kelmo
