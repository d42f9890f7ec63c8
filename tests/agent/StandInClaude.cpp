#include "tests/agent/StandInClaude.h"

#include <QSignalSpy>

namespace kelmo {

namespace {

constexpr int runMs = 30'000;

QByteArray event(const QJsonObject& content)
{
    const QJsonObject message{{QStringLiteral("content"), QJsonArray{content}}};
    return QJsonDocument(
               QJsonObject{{QStringLiteral("type"), QStringLiteral("assistant")}, {QStringLiteral("message"), message}})
               .toJson(QJsonDocument::Compact)
        + '\n';
}

} // namespace

void StandInClaude::install(const QByteArray& body, const QString& place) const
{
    QFile script(m_home.write(place, "#!/bin/sh\n" + body + "\n"));
    ASSERT_TRUE(script.setPermissions(QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner));
}

QByteArray StandInClaude::says(const QString& text)
{
    return event({{QStringLiteral("type"), QStringLiteral("text")}, {QStringLiteral("text"), text}});
}

QByteArray StandInClaude::calls(const QString& tool)
{
    const QString name = QStringLiteral("mcp__kelmo-editor__") % tool;
    return event({{QStringLiteral("type"), QStringLiteral("tool_use")}, {QStringLiteral("name"), name}});
}

QByteArray shown(const ClaudeAgent& agent)
{
    QByteArray text;
    for (const ClaudeAgent::Line& line : agent.lines())
        text += (line.isTool ? "* " : "") + line.text.toUtf8() + '\n';
    return text;
}

void askAndWait(ClaudeAgent& agent, const QString& prompt)
{
    QSignalSpy running(&agent, &ClaudeAgent::runningChanged);
    agent.ask(prompt);
    ASSERT_TRUE(QTest::qWaitFor([&] { return running.count() == 2; }, runMs)) << shown(agent).constData();
    EXPECT_FALSE(agent.running());
}

bool isAlive(qint64 process)
{
    QFile status(QStringLiteral("/proc/%1/stat").arg(process));
    if (!status.open(QIODevice::ReadOnly))
        return false;
    const QByteArray text = status.readAll();
    return text.mid(text.lastIndexOf(')') + 2, 1) != "Z";
}

} // namespace kelmo
