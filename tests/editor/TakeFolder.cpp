#include "tests/editor/TakeFolder.h"

#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QSaveFile>

#include <gtest/gtest.h>

namespace kelmo {

void TakeFolder::makeMovie(const QString& base, int seconds) const
{
    CodedMovie movie;
    movie.spec = smallMovie(m_folder, base + QStringLiteral(".mov"));
    movie.spec.video->width = 160;
    movie.spec.video->height = 90;
    movie.spec.video->lastFrameDuration = 300;
    movie.times = steadyTimes(2 * seconds, 300);
    make(movie);
}

CodedMovie TakeFolder::talkingMovie(const QString& name, int seconds) const
{
    CodedMovie movie;
    movie.spec = smallMovie(m_folder, name);
    movie.spec.audio = {AudioSpec()};
    movie.times = steadyTimes(30 * seconds, 20);
    movie.soundSeconds = seconds;
    return movie;
}

void TakeFolder::writeSync(const QString& base, const QJsonObject& fields) const
{
    write(base + QStringLiteral("_sync.json"), QJsonDocument(fields).toJson());
}

void TakeFolder::writeTranscript(const QString& base, const std::vector<Word>& words, Aligned aligned) const
{
    QSaveFile target(transcript(base));
    ASSERT_TRUE(target.open(QIODevice::WriteOnly));
    target.write(transcriptJson(words, aligned));
    ASSERT_TRUE(target.commit());
}

void TakeFolder::write(const QString& name, const QByteArray& bytes) const
{
    QFile target(file(name));
    ASSERT_TRUE(target.open(QIODevice::WriteOnly)) << qPrintable(name);
    target.write(bytes);
}

void TakeFolder::age(const QString& path, double seconds) const
{
    QFile target(path);
    ASSERT_TRUE(target.open(QIODevice::ReadWrite)) << qPrintable(path);
    const QDateTime then = QDateTime::currentDateTime().addMSecs(-qint64(seconds * 1000));
    ASSERT_TRUE(target.setFileTime(then, QFileDevice::FileModificationTime));
}

QByteArray TakeFolder::transcriptJson(const std::vector<Word>& words, Aligned aligned)
{
    QJsonArray list;
    for (const Word& word : words)
        list.append(word.toJson());
    QJsonObject transcript{{QStringLiteral("words"), list}, {QStringLiteral("timeBase"), QStringLiteral("screenFile")}};
    if (aligned == Aligned::Yes)
        transcript.insert(QStringLiteral("aligned"), true);
    return QJsonDocument(transcript).toJson();
}

std::vector<Word> TakeFolder::talk(int count, double shiftMs)
{
    std::vector<Word> words;
    for (int i = 0; i < count; ++i)
        words.push_back({QStringLiteral("w%1").arg(i), i * 1000 + 200 + shiftMs, i * 1000 + 700 + shiftMs, {}});
    return words;
}

} // namespace kelmo
