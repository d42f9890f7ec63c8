#include "agent/ClaudeAgent.h"

#include "agent/ClaudeCommand.h"
#include "platform/Home.h"
#include "telemetry/Analytics.h"
#include "telemetry/Log.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QTextBoundaryFinder>

namespace kelmo {

namespace {

// A frame that the agent looks at comes back in one line of a few megabytes. Whatever is longer than this isn't one of
// the events that make a line here.
constexpr qsizetype longestEvent = 16 * 1024 * 1024;

ClaudeAgent::Line toolLine(const QString& text) { return {QUuid::createUuid(), text, true}; }
ClaudeAgent::Line textLine(const QString& text) { return {QUuid::createUuid(), text, false}; }

/// Characters as a reader counts them.
int characterCount(const QString& text)
{
    QTextBoundaryFinder finder(QTextBoundaryFinder::Grapheme, text);
    int count = 0;
    while (finder.toNextBoundary() != -1)
        ++count;
    return count;
}

QString shortened(const QString& text)
{
    if (text.size() <= ClaudeAgent::longestText)
        return text;
    const int kept = ClaudeAgent::longestText - 1;
    return text.left(text[kept - 1].isHighSurrogate() ? kept - 1 : kept) % u'…';
}

QString shownToolName(QString name)
{
    name.remove(QLatin1String(ClaudeCommand::toolPrefix));
    name.replace(u'_', u' ');
    return QStringLiteral("→ ") % name;
}

} // namespace

ClaudeAgent::ClaudeAgent(QObject* parent)
    : QObject(parent)
    , m_buffer(longestEvent)
{
}

ClaudeAgent::~ClaudeAgent()
{
    if (m_process)
        m_process->disconnect(this);
    delete m_process;
}

bool ClaudeAgent::ask(const QString& prompt)
{
    const QString request = prompt.trimmed();
    if (request.isEmpty() || m_process)
        return false;
    const std::optional<QString> tool = claudePath();
    if (!tool) {
        replaceLines(
            textLine(QStringLiteral("Claude Code CLI not found. Install it and run `claude` once to log in.")));
        return false;
    }
    replaceLines(toolLine(request));
    m_buffer.clear();
    launch(*tool, request);
    return true;
}

void ClaudeAgent::clearLines()
{
    if (m_process)
        return;
    m_lines.clear();
    m_characters = 0;
    Q_EMIT linesChanged();
}

std::optional<QString> ClaudeAgent::claudePath() { return ClaudeCommand::path(); }

void ClaudeAgent::launch(const QString& tool, const QString& prompt)
{
    m_process = new ChildProcess(this);
    m_process->setProgram(tool);
    m_process->setArguments(ClaudeCommand::arguments(prompt));
    m_process->setWorkingDirectory(Home::path());
    m_process->setProcessEnvironment(ClaudeCommand::environment(QProcessEnvironment::systemEnvironment(), tool));
    m_process->setStandardInputFile(QProcess::nullDevice());
    m_process->setStandardErrorFile(QProcess::nullDevice());
    connect(
        m_process, &QProcess::readyReadStandardOutput, this, [this] { received(m_process->readAllStandardOutput()); });
    connect(m_process, &QProcess::started, this, [this, prompt] { started(prompt); });
    connect(m_process, &QProcess::finished, this, &ClaudeAgent::finished);
    connect(m_process, &QProcess::errorOccurred, this, [this](QProcess::ProcessError error) {
        if (error == QProcess::FailedToStart)
            failedToStart();
    });
    m_process->start(QIODevice::ReadOnly);
}

void ClaudeAgent::started(const QString& prompt)
{
    Log::line(u"claude", QStringLiteral("asked: ") % prompt);
    Analytics::capture(QStringLiteral("ask_claude"), {{QStringLiteral("prompt_chars"), characterCount(prompt)}});
    setRunning(true);
}

void ClaudeAgent::failedToStart()
{
    const QString reason = m_process->errorString();
    std::exchange(m_process, nullptr)->deleteLater();
    append(textLine(QStringLiteral("Couldn't start Claude: ") % reason));
    Q_EMIT linesChanged();
    Q_EMIT couldNotStart();
}

void ClaudeAgent::received(const QByteArray& data)
{
    const QUuid newest = m_lines.back().id;
    const QByteArrayList events = m_buffer.add(data);
    for (const QByteArray& event : events) {
        const QJsonDocument document = QJsonDocument::fromJson(event);
        if (document.isObject())
            handle(document.object());
    }
    if (m_lines.back().id != newest)
        Q_EMIT linesChanged();
}

void ClaudeAgent::handle(const QJsonObject& object)
{
    const QString type = object.value(u"type").toString();
    if (type == QLatin1String("assistant")) {
        const QJsonArray content = object.value(u"message")[u"content"].toArray();
        for (const auto item : content)
            handleContent(item.toObject());
    } else if (type == QLatin1String("result")) {
        const QJsonValue result = object.value(u"result");
        if (object.value(u"is_error").toBool() && result.isString())
            append(textLine(result.toString()));
    }
}

void ClaudeAgent::handleContent(const QJsonObject& item)
{
    const QString type = item.value(u"type").toString();
    if (type == QLatin1String("text")) {
        const QString text = item.value(u"text").toString();
        if (!text.isEmpty())
            append(textLine(text.trimmed()));
    } else if (type == QLatin1String("tool_use")) {
        const QJsonValue name = item.value(u"name");
        if (name.isString())
            append(toolLine(shownToolName(name.toString())));
    }
}

void ClaudeAgent::finished(int status, QProcess::ExitStatus how)
{
    const bool failed = status != 0 && how == QProcess::NormalExit && !m_process->stopAsked();
    std::exchange(m_process, nullptr)->deleteLater();
    setRunning(false);
    // Its own last words say more than a number does.
    if (failed && m_lines.back().isTool) {
        append(textLine(QStringLiteral("Claude stopped (exit %1).").arg(status)));
        Q_EMIT linesChanged();
    }
    Log::line(u"claude", QStringLiteral("finished (exit %1)").arg(status));
}

void ClaudeAgent::replaceLines(Line line)
{
    m_lines.clear();
    m_characters = 0;
    append(std::move(line));
    Q_EMIT linesChanged();
}

void ClaudeAgent::append(Line line)
{
    line.text = shortened(line.text);
    m_characters += line.text.size();
    m_lines.push_back(std::move(line));
    while (m_lines.size() > maxLines || (m_characters > maxCharacters && m_lines.size() > 2)) {
        m_characters -= m_lines[1].text.size();
        m_lines.erase(m_lines.begin() + 1);
    }
}

void ClaudeAgent::setRunning(bool running)
{
    m_running = running;
    Q_EMIT runningChanged();
}

} // namespace kelmo
