#include "tests/editor/EditorFixture.h"

#include "telemetry/Log.h"

#include <QRegularExpression>
#include <QTest>

namespace kelmo {

void EditorFixture::openTalk(const QString& base, int seconds, const std::vector<Word>& words)
{
    m_takes.makeMovie(base, seconds);
    m_takes.writeTranscript(base, words, Aligned::Yes);
    openLoaded(base);
    ASSERT_EQ(m_editor->sourceDurationMs(), seconds * 1000);
}

void EditorFixture::openLoaded(const QString& base)
{
    m_editor->open(m_takes.movie(base));
    ASSERT_TRUE(waitUntil([&] { return m_editor->loaded() != nullptr; }))
        << qPrintable(m_editor->status().value_or(QStringLiteral("no status")));
}

bool EditorFixture::waitUntil(const std::function<bool()>& holds, int timeoutMs)
{
    return QTest::qWaitFor(holds, timeoutMs);
}

void EditorFixture::wait(int ms) { QTest::qWait(ms); }

QStringList EditorFixture::logged(const QString& tag) const { return loggedLike(tag, QString()); }

QStringList EditorFixture::loggedLike(const QString& tag, const QString& pattern) const
{
    Log::flush();
    const QStringList lines
        = QString::fromUtf8(m_home.read(QStringLiteral("Library/Logs/KelmoEditor.log"))).split(QLatin1Char('\n'));
    const QString head = QStringLiteral(" [") % tag % QStringLiteral("] ");
    const QRegularExpression wanted(QRegularExpression::anchoredPattern(pattern));
    QStringList found;
    for (const QString& line : lines) {
        const qsizetype at = line.indexOf(head);
        const QString message = line.mid(at + head.size());
        if (at > 0 && (pattern.isEmpty() || wanted.match(message).hasMatch()))
            found.append(message);
    }
    return found;
}

} // namespace kelmo
