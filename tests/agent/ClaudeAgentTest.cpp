#include "agent/ClaudeAgent.h"

#include "tests/agent/ServerFixture.h"
#include "tests/agent/StandInClaude.h"

#include <QSignalSpy>

namespace kelmo {

namespace {

const QString waffle = QStringLiteral("cut the waffle");

class ClaudeAgentTest : public ServerFixture {
protected:
    void SetUp() override
    {
        for (const char* place : {"/opt/homebrew/bin/claude", "/usr/local/bin/claude"}) {
            if (QFileInfo::exists(QString::fromLatin1(place)))
                GTEST_SKIP() << "this machine has the real tool at " << place;
        }
    }

    /// Waits for a file that the script writes, and returns its content without the last line feed.
    [[nodiscard]] QByteArray waitForFile(const QString& name) const
    {
        EXPECT_TRUE(QTest::qWaitFor([&] { return m_home.read(name).endsWith('\n'); }, 30'000)) << qPrintable(name);
        return m_home.read(name).trimmed();
    }

    bool waitForLines(const QByteArray& text) const
    {
        return QTest::qWaitFor([&] { return shown(m_agent) == text; }, 30'000);
    }

    /// The script prints exactly these bytes, then whatever `after` does.
    void installPrinting(const QByteArray& bytes, const QByteArray& after = "") const
    {
        m_home.write(QStringLiteral("events"), bytes);
        m_tool.install("cat \"$HOME/events\"\n" + after);
    }

    StandInClaude m_tool{m_home};
    ClaudeAgent m_agent;
};

struct Printed {
    QByteArray events;
    QByteArray lines; ///< After the request.
};

struct Ending {
    QByteArray events;
    QByteArray script;
    QByteArray lines;
    QByteArray logged;
};

} // namespace

TEST_F(ClaudeAgentTest, askWithoutTheToolSaysHowToGetIt)
{
    m_home.write(QStringLiteral(".local/bin/claude"), "#!/bin/sh\n"); // Not executable, so it is none.
    QDir().mkpath(m_home.file(QStringLiteral(".claude/local/claude/x"))); // Nor is a folder.
    m_agent.ask(waffle);
    EXPECT_EQ(shown(m_agent), "Claude Code CLI not found. Install it and run `claude` once to log in.\n");
    EXPECT_FALSE(m_agent.running());
}

TEST_F(ClaudeAgentTest, askBlankDoesNothingAndSoDoesASecondOne)
{
    m_tool.install("echo run >> \"$HOME/runs\"; while [ ! -e \"$HOME/go\" ]; do sleep 0.05; done");
    m_agent.ask(QStringLiteral(" \n\t "));
    EXPECT_TRUE(m_agent.lines().empty());
    m_agent.ask(QStringLiteral(" \ncut the waffle\n"));
    m_agent.ask(QStringLiteral("before it has even started"));
    ASSERT_TRUE(QTest::qWaitFor([this] { return m_agent.running(); }));
    m_agent.ask(QStringLiteral("while it runs"));
    EXPECT_EQ(shown(m_agent), "* cut the waffle\n");
    EXPECT_EQ(waitForFile(QStringLiteral("runs")), "run");
    m_home.write(QStringLiteral("go"), "");
    ASSERT_TRUE(QTest::qWaitFor([this] { return !m_agent.running(); }, 30'000));
    EXPECT_EQ(m_agent.process(), nullptr);
    EXPECT_TRUE(log().contains(QStringLiteral("[claude] asked: cut the waffle\n"))) << log().toStdString();
    EXPECT_TRUE(log().contains(QStringLiteral("[claude] finished (exit 0)\n")));
    EXPECT_EQ(m_home.read(QStringLiteral("runs")), "run\n");
}

TEST_F(ClaudeAgentTest, askCallsTheToolAsAgreed)
{
    m_tool.install("exit 9", QStringLiteral(".claude/local/claude"));
    m_tool.install("printf '%s\\n' \"$@\" > \"$HOME/arguments\"\n"
                   "{ echo \"$PATH\"; pwd; readlink /proc/$$/fd/0 /proc/$$/fd/2; cat; } > \"$HOME/world\"\n"
                   "echo loud complaints >&2");
    askAndWait(m_agent);
    const QByteArrayList arguments = m_home.read(QStringLiteral("arguments")).split('\n');
    ASSERT_EQ(arguments.size(), 15) << "fourteen and the end of the last line";
    EXPECT_EQ(arguments.first(11).join(' '),
        "-p cut the waffle --output-format stream-json --verbose --mcp-config "
        R"({"mcpServers":{"kelmo-editor":{"type":"http","url":"http://127.0.0.1:7799/mcp"}}})"
        " --strict-mcp-config --allowedTools mcp__kelmo-editor --append-system-prompt");
    EXPECT_TRUE(arguments[11].startsWith("You are editing a video in Kelmo, ")) << arguments[11].constData();
    EXPECT_TRUE(arguments[11].contains("(words with indexes) → cut_ranges with wordIndices"));
    EXPECT_EQ(arguments[12] + ' ' + arguments[13], "--max-turns 40");

    const QByteArrayList world = m_home.read(QStringLiteral("world")).trimmed().split('\n');
    ASSERT_EQ(world.size(), 4) << "standard input is empty";
    const QByteArray home = m_home.path().toUtf8();
    EXPECT_EQ(world[0], home + "/.local/bin:/opt/homebrew/bin:/usr/local/bin:/usr/bin:/bin:" + qgetenv("PATH"));
    EXPECT_EQ(world[1], home);
    EXPECT_EQ(world[2] + world[3], "/dev/null/dev/null");
    EXPECT_EQ(shown(m_agent), "* cut the waffle\n");
}

TEST_F(ClaudeAgentTest, eventsBecomeLines)
{
    const Printed table[] = {
        {StandInClaude::says(QStringLiteral("\n\nDone.\n")), "Done.\n"},
        {StandInClaude::says(QString()), ""},
        {StandInClaude::calls(QStringLiteral("tighten_pauses")), "* → tighten pauses\n"},
        {StandInClaude::calls(QStringLiteral("mcp__kelmo-editor__get_frame")), "* → get frame\n"},
        {R"({"type":"assistant","message":{"content":[{"type":"text","text":"one"},3,{"type":"thinking","text":"no"},)"
         R"({"type":"tool_use"},{"type":"tool_use","name":"Read"},{"type":"text","text":7},{"type":"text","text":"two"}]}})"
         "\n",
            "one\n* → Read\ntwo\n"},
        {R"({"type":"assistant","message":{}})"
         "\n"
         R"({"type":"assistant","message":"hi"})"
         "\n"
         R"({"type":"assistant"})"
         "\n",
            ""},
        {R"({"type":"result","is_error":true,"result":"Credit balance is too low"})"
         "\n",
            "Credit balance is too low\n"},
        {R"({"type":"result","is_error":false,"result":"Fine."})"
         "\n"
         R"({"type":"result","is_error":true,"result":4})"
         "\n"
         R"({"type":"result","is_error":1,"result":"not true"})"
         "\n",
            ""},
        {R"({"type":"system","subtype":"init"})"
         "\n"
         R"({"type":"user","message":{"content":[{"type":"text","text":"echo"}]}})"
         "\n",
            ""},
        {QByteArray("garbage\n[1,2]\n\"text\"\n{\"type\":\"assistant\"\n\xff\xfe\n\n\r\n", 45)
                + StandInClaude::says(QStringLiteral("after all that")).chopped(1) + "\r\n",
            "after all that\n"},
        {StandInClaude::says(QStringLiteral("heard")) + StandInClaude::says(QStringLiteral("cut short")).chopped(1),
            "heard\n"},
    };
    for (const Printed& row : table) {
        installPrinting(row.events);
        askAndWait(m_agent);
        EXPECT_EQ(shown(m_agent), "* cut the waffle\n" + row.lines) << row.events.constData();
    }
}

TEST_F(ClaudeAgentTest, eventSplitAcrossChunksIsHandledOnceItsLineFeedArrives)
{
    const QByteArray event = StandInClaude::says(QStringLiteral("A – B"));
    m_home.write(QStringLiteral("one"), event + event.first(event.size() / 2));
    m_home.write(QStringLiteral("two"), event.sliced(event.size() / 2) + event);
    m_tool.install("cat \"$HOME/one\"; while [ ! -e \"$HOME/go\" ]; do sleep 0.05; done; cat \"$HOME/two\"");
    m_agent.ask(waffle);
    ASSERT_TRUE(waitForLines("* cut the waffle\nA – B\n")) << shown(m_agent).constData();
    QTest::qWait(200);
    EXPECT_EQ(m_agent.lines().size(), 2U) << "half an event is none yet";
    m_home.write(QStringLiteral("go"), "");
    ASSERT_TRUE(waitForLines("* cut the waffle\nA – B\nA – B\nA – B\n")) << shown(m_agent).constData();
    ASSERT_TRUE(QTest::qWaitFor([this] { return !m_agent.running(); }, 30'000));
    QSet<QUuid> ids;
    for (const ClaudeAgent::Line& line : m_agent.lines())
        ids.insert(line.id);
    EXPECT_EQ(ids.size(), 4);
}

TEST_F(ClaudeAgentTest, endSaysMoreOnlyWhenNothingElseDid)
{
    const QByteArray call = StandInClaude::calls(QStringLiteral("cut_ranges"));
    const QByteArray text = StandInClaude::says(QStringLiteral("I could not."));
    const Ending table[] = {
        {call, "exit 1", "* → cut ranges\nClaude stopped (exit 1).\n", "finished (exit 1)"},
        {"", "exit 127", "Claude stopped (exit 127).\n", "finished (exit 127)"},
        {call + text, "exit 1", "* → cut ranges\nI could not.\n", "finished (exit 1)"},
        {call, "exit 0", "* → cut ranges\n", "finished (exit 0)"},
        {call, "kill -KILL $$", "* → cut ranges\n", "finished (exit 9)"},
    };
    for (const Ending& row : table) {
        installPrinting(row.events, row.script);
        askAndWait(m_agent);
        EXPECT_EQ(shown(m_agent), "* cut the waffle\n" + row.lines) << row.script.constData();
        EXPECT_TRUE(log().trimmed().endsWith(QString::fromLatin1(row.logged))) << log().toStdString();
    }
}

TEST_F(ClaudeAgentTest, askAToolThatCannotBeLaunchedSaysWhy)
{
    m_tool.install("");
    m_home.write(QStringLiteral(".local/bin/claude"), "#!/nowhere/interpreter\n");
    QSignalSpy running(&m_agent, &ClaudeAgent::runningChanged);
    m_agent.ask(waffle);
    ASSERT_TRUE(QTest::qWaitFor([this] { return m_agent.lines().size() == 2; }, 30'000));
    EXPECT_TRUE(shown(m_agent).startsWith("* cut the waffle\nCouldn't start Claude: ")) << shown(m_agent).constData();
    EXPECT_TRUE(shown(m_agent).contains("No such file")) << shown(m_agent).constData();
    EXPECT_EQ(running.count(), 0);
    m_tool.install("");
    askAndWait(m_agent);
    EXPECT_EQ(shown(m_agent), "* cut the waffle\n") << "the next run goes as if nothing had been";
}

TEST_F(ClaudeAgentTest, stopEndsTheRunAndWhatItStartedWithoutALine)
{
    const QByteArray call = StandInClaude::calls(QStringLiteral("cut_ranges"));
    const QByteArray spawn = "sleep 600 & echo $! > \"$HOME/child\"\n";
    const Ending table[] = {
        {call, spawn + "wait", "", "finished (exit 15)"},
        {call, "trap 'exit 143' TERM\n" + spawn + "wait", "", "finished (exit 143)"},
        // Deaf itself, and so is what it starts: only killing helps.
        {call, "trap '' TERM\n" + spawn + "while :; do sleep 0.1; done", "", "finished (exit 9)"},
    };
    for (const Ending& row : table) {
        QFile::remove(m_home.file(QStringLiteral("child")));
        installPrinting(row.events, row.script);
        m_agent.ask(waffle);
        const qint64 child = waitForFile(QStringLiteral("child")).toLongLong();
        ASSERT_TRUE(QTest::qWaitFor([this] { return m_agent.running() && m_agent.lines().size() == 2; }, 30'000));
        ASSERT_TRUE(isAlive(child));
        m_agent.process()->stop();
        ASSERT_TRUE(QTest::qWaitFor([this] { return !m_agent.running(); }, 30'000));
        EXPECT_EQ(shown(m_agent), "* cut the waffle\n* → cut ranges\n") << row.script.constData();
        EXPECT_TRUE(log().trimmed().endsWith(QString::fromLatin1(row.logged))) << log().toStdString();
        EXPECT_TRUE(QTest::qWaitFor([&] { return !isAlive(child); }, 30'000)) << row.script.constData();
    }
}

TEST_F(ClaudeAgentTest, agentThatGoesAwayLeavesNothingRunning)
{
    for (const QByteArray trap : {"", "trap '' TERM\n"}) {
        QFile::remove(m_home.file(QStringLiteral("child")));
        m_tool.install(trap + "sleep 600 & echo $! > \"$HOME/child\"\nwhile :; do echo '{}'; sleep 0.01; done");
        auto agent = std::make_unique<ClaudeAgent>();
        agent->ask(waffle);
        const qint64 child = waitForFile(QStringLiteral("child")).toLongLong();
        ASSERT_TRUE(QTest::qWaitFor([&] { return agent->running(); }, 30'000));
        const qint64 script = agent->process()->processId();
        agent.reset();
        EXPECT_FALSE(isAlive(script)) << trap.constData();
        EXPECT_TRUE(QTest::qWaitFor([&] { return !isAlive(child); }, 30'000)) << trap.constData();
    }
}

TEST_F(ClaudeAgentTest, floodLeavesTheEventLoopFreeAndTheListShort)
{
    const QByteArray event = StandInClaude::says(QStringLiteral("so much to say"));
    const QByteArray longText = StandInClaude::says(QString(100'000, u'x'));
    m_home.write(QStringLiteral("one"), event.chopped(1));
    m_home.write(QStringLiteral("long"), longText);
    m_tool.install("yes \"$(cat \"$HOME/one\")\" | head -c 6000000\n"
                   "for i in 1 2 3 4 5 6 7 8 9; do cat \"$HOME/long\"; done\n"
                   "echo '\"'; yes 'never a line feed' | tr -d '\\n' | head -c 20000000\n"
                   "echo; cat \"$HOME/one\"; echo");
    QElapsedTimer sinceTick;
    qint64 longestGap = 0;
    QTimer ticks;
    QObject::connect(&ticks, &QTimer::timeout, &ticks, [&] {
        longestGap = std::max(longestGap, sinceTick.restart());
        EXPECT_LE(m_agent.lines().size(), size_t(ClaudeAgent::maxLines));
    });
    sinceTick.start();
    ticks.start(5);
    m_agent.ask(waffle);
    ASSERT_TRUE(QTest::qWaitFor([this] { return m_agent.running(); }, 30'000));
    ASSERT_TRUE(QTest::qWaitFor([this] { return !m_agent.running(); }, 120'000));
    RecordProperty("longestGapMs", int(longestGap));
    EXPECT_LT(longestGap, 1000);
    qsizetype characters = 0;
    for (const ClaudeAgent::Line& line : m_agent.lines())
        characters += line.text.size();
    EXPECT_LE(characters, ClaudeAgent::maxCharacters);
    EXPECT_EQ(m_agent.lines().front().text, waffle);
    EXPECT_EQ(m_agent.lines().back().text, QStringLiteral("so much to say")) << "after the endless line all is well";
    const QString cut = m_agent.lines()[m_agent.lines().size() - 2].text;
    EXPECT_EQ(cut.size(), ClaudeAgent::longestText);
    EXPECT_TRUE(cut.endsWith(u'…'));
}

TEST_F(ClaudeAgentTest, toolEditsTheOpenTakeThroughTheServer)
{
    serve();
    openSmallTake();
    // The tool reads the transcript, cuts by word, and says what it did: the calls are real, the choice of words isn't.
    qputenv("KELMO_TEST_PORT", QByteArray::number(m_port));
    m_home.write(QStringLiteral("calls"), StandInClaude::calls(QStringLiteral("get_transcript")));
    m_home.write(QStringLiteral("cuts"), StandInClaude::calls(QStringLiteral("cut_ranges")));
    m_home.write(QStringLiteral("done"), StandInClaude::says(QStringLiteral("I cut “this um”.")));
    m_tool.install(R"(call() {
    curl -sS --max-time 60 "http://127.0.0.1:$KELMO_TEST_PORT/mcp" -H 'Content-Type: application/json' \
        -d "{\"jsonrpc\":\"2.0\",\"id\":1,\"method\":\"tools/call\",\"params\":{\"name\":\"$1\",\"arguments\":$2}}"
}
cat "$HOME/calls"; call get_transcript '{}' > "$HOME/transcript" || exit 1
cat "$HOME/cuts"; call cut_ranges '{"wordIndices":[1,2]}' > "$HOME/answer" || exit 1
cat "$HOME/done")");
    askAndWait(m_agent);
    qunsetenv("KELMO_TEST_PORT");
    EXPECT_EQ(shown(m_agent), "* cut the waffle\n* → get transcript\n* → cut ranges\nI cut “this um”.\n");
    EXPECT_TRUE(m_home.read(QStringLiteral("transcript")).contains("Welcome,"));
    ASSERT_EQ(m_editor.cuts().spans.size(), 1U) << m_home.read(QStringLiteral("answer")).constData();
    const Span cut = m_editor.cuts().spans.front();
    EXPECT_TRUE(cut.start <= 2000 && cut.end >= 3400) << cut.start << ' ' << cut.end;
    m_editor.undo().undo();
    EXPECT_TRUE(m_editor.cuts().spans.empty()) << "the agent's cut is one step to take back";
}

} // namespace kelmo
