#include "tests/agent/SmallTake.h"

#include "tests/movies/CodedMovie.h"

#include <gtest/gtest.h>

namespace kelmo {

namespace {

void writeJson(const QString& path, const QJsonObject& object)
{
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly)) << qPrintable(path);
    file.write(QJsonDocument(object).toJson());
}

QJsonObject transcript()
{
    const QStringList texts{QStringLiteral("Welcome,"), QStringLiteral("this"), QStringLiteral("um"),
        QStringLiteral("“is”"), QStringLiteral("a"), QStringLiteral("uh"), QStringLiteral("small"),
        QStringLiteral("take.")};
    QJsonArray words;
    for (int i = 0; i < SmallTake::words; ++i) {
        const double start = 1000 * i + 1000;
        words.append(QJsonObject{{QStringLiteral("text"), texts[i]}, {QStringLiteral("startMs"), start},
            {QStringLiteral("endMs"), start + 400}});
    }
    return {{QStringLiteral("words"), words}, {QStringLiteral("timeBase"), QStringLiteral("screenFile")},
        {QStringLiteral("aligned"), true}};
}

} // namespace

QString SmallTake::write(const QString& folder, double seconds)
{
    CodedMovie movie;
    movie.spec.path = folder + QStringLiteral("/talk.mov");
    movie.spec.video = VideoSpec();
    movie.spec.video->width = 160;
    movie.spec.video->height = 120;
    movie.spec.audio = {AudioSpec()};
    movie.times = steadyTimes(int(seconds * 30), 20);
    movie.soundSeconds = seconds;
    make(movie);
    writeJson(folder + QStringLiteral("/talk_sync.json"), {});
    writeJson(folder + QStringLiteral("/talk_transcript.json"), transcript());
    return movie.spec.path;
}

} // namespace kelmo
