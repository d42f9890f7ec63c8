#pragma once

#include "agent/LineBuffer.h"
#include "platform/ChildProcess.h"

#include <QUuid>

#include <deque>

namespace kelmo {

/// Lets the user ask for an edit in words: runs the `claude` command-line tool, which edits through the agent server,
/// and turns what it prints into a short list of lines. One request at a time, each a fresh run of the tool. Owned by
/// the window's content; main thread only. Destroying it ends a run.
class ClaudeAgent : public QObject {
    Q_OBJECT

public:
    struct Line {
        QUuid id; ///< Its own for every line.
        QString text;
        bool isTool = false; ///< The request itself and tool calls; not the agent's text, results and errors.
    };

    // A list of a few lines' height needs no more. The request stays, the oldest lines after it go.
    static constexpr int maxLines = 400;
    static constexpr int maxCharacters = 64 * 1024; ///< Of all lines together.
    static constexpr int longestText = 16 * 1024; ///< Characters of one line; a longer text is cut off with "…".

    explicit ClaudeAgent(QObject* parent = nullptr);
    ~ClaudeAgent() override;

    /// Starts a run that replaces the lines of the last one. Does nothing when the prompt is blank or a run is going.
    /// What goes wrong becomes a line. Returns at once; false if there will be no run.
    bool ask(const QString& prompt);
    void clearLines(); ///< Does nothing while a run is going.

    [[nodiscard]] bool running() const { return m_running; }
    [[nodiscard]] const std::deque<Line>& lines() const { return m_lines; } ///< Oldest first.
    /// The tool while it runs, so that it can be stopped; null otherwise. Ours.
    [[nodiscard]] ChildProcess* process() const { return m_running ? m_process : nullptr; }

Q_SIGNALS:
    void linesChanged();
    void runningChanged();
    void couldNotStart(); ///< A run that ask() promised.

private:
    [[nodiscard]] static std::optional<QString> claudePath();
    void launch(const QString& tool, const QString& prompt);
    void started(const QString& prompt);
    void failedToStart();
    void received(const QByteArray& data);
    void handle(const QJsonObject& object);
    void handleContent(const QJsonObject& item);
    void finished(int status, QProcess::ExitStatus how);

    void replaceLines(Line line);
    void append(Line line);
    void setRunning(bool running);

    ChildProcess* m_process = nullptr; ///< A child of this object, from its launch to its end.
    bool m_running = false;
    LineBuffer m_buffer;
    std::deque<Line> m_lines;
    qsizetype m_characters = 0; ///< Of all lines.
};

} // namespace kelmo
