#pragma once

#include "agent/ClaudeAgent.h"
#include "tests/support/TemporaryHome.h"

#include <QTest>

#include <gtest/gtest.h>

namespace kelmo {

/// Puts a shell script where the `claude` tool is looked for in a test's home folder. It prints, waits, fails or calls
/// the agent server as its body says; "$HOME" is the test's home, where both leave each other files.
class StandInClaude {
public:
    explicit StandInClaude(const TemporaryHome& home)
        : m_home(home)
    {
    }

    void install(const QByteArray& body, const QString& place = QStringLiteral(".local/bin/claude")) const;

    /// One event of the tool's output with an assistant's text, or with a call of a tool; ends in a line feed.
    [[nodiscard]] static QByteArray says(const QString& text);
    [[nodiscard]] static QByteArray calls(const QString& tool);

private:
    const TemporaryHome& m_home;
};

/// The agent's lines as one text: tool lines begin with "* ", each ends in a line feed.
[[nodiscard]] QByteArray shown(const ClaudeAgent& agent);

/// Asks and waits until the run has ended.
void askAndWait(ClaudeAgent& agent, const QString& prompt = QStringLiteral("cut the waffle"));

/// Whether there is a living process of that id; one that has ended and is not yet reaped counts as gone.
[[nodiscard]] bool isAlive(qint64 process);

} // namespace kelmo
