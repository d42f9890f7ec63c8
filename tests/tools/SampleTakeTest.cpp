#include "tests/tools/MediaCommands.h"

#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <cmath>
#include <span>

namespace kelmo::test {

namespace {

constexpr int kRate = 48000;
constexpr double kLongPauseMs = 700;
constexpr double kSilence = 0.0056; // −45 dB below full scale.
constexpr double kSpeech = 0.012;

struct Word {
    QString text;
    double startMs;
    double endMs;
};

QJsonObject readObject(const QString& path)
{
    QFile file(path);
    EXPECT_TRUE(file.open(QIODevice::ReadOnly)) << qPrintable(path);
    return QJsonDocument::fromJson(file.readAll()).object();
}

std::vector<Word> readWords(const QString& path)
{
    std::vector<Word> words;
    const QJsonObject transcript = readObject(path);
    for (const QJsonValue& value : transcript[QStringLiteral("words")].toArray())
        words.push_back({value[QStringLiteral("text")].toString(), value[QStringLiteral("startMs")].toDouble(-1),
            value[QStringLiteral("endMs")].toDouble(-1)});
    return words;
}

/// Makes a take "t"; answers with the last line that the program prints.
QString makeTake(const QTemporaryDir& folder, const QStringList& options)
{
    const QByteArray output = outputOf(QStringLiteral(SAMPLE_TAKE_PROGRAM),
        QStringList{QStringLiteral("--out"), folder.path(), QStringLiteral("--name"), QStringLiteral("t")} + options);
    return QString::fromUtf8(output).trimmed().section(u'\n', -1);
}

const QStringList& smallPicture()
{
    static const QStringList options = {QStringLiteral("--width"), QStringLiteral("320"), QStringLiteral("--height"),
        QStringLiteral("180"), QStringLiteral("--fps"), QStringLiteral("15")};
    return options;
}

double loudness(const std::vector<float>& samples, double fromMs, double toMs)
{
    const auto from = static_cast<size_t>(fromMs * kRate / 1000);
    const auto to = std::min(samples.size(), static_cast<size_t>(toMs * kRate / 1000));
    double sum = 0;
    for (size_t index = from; index < to; ++index)
        sum += static_cast<double>(samples[index]) * samples[index];
    return to > from ? std::sqrt(sum / static_cast<double>(to - from)) : 0;
}

/// Checks that there is sound in every word and none in the long pauses; answers with the number of those.
int matchWithSound(const std::vector<Word>& words, const std::vector<float>& heard)
{
    int pauses = 0;
    for (size_t index = 0; index < words.size(); ++index) {
        const Word& word = words[index];
        EXPECT_LT(word.startMs, word.endMs) << qPrintable(word.text);
        EXPECT_GT(loudness(heard, word.startMs, word.endMs), kSpeech) << qPrintable(word.text) << word.startMs;
        if (index == 0 || word.startMs - words[index - 1].endMs < kLongPauseMs)
            continue;
        ++pauses;
        EXPECT_LT(loudness(heard, words[index - 1].endMs + 40, word.startMs - 40), kSilence) << word.startMs;
    }
    return pauses;
}

int fillersIn(const std::vector<Word>& words)
{
    static const QStringList fillers
        = {QStringLiteral("um"), QStringLiteral("uh"), QStringLiteral("er"), QStringLiteral("hmm")};
    return static_cast<int>(std::count_if(words.begin(), words.end(), [](const Word& word) {
        QString letters = word.text.toLower();
        letters.removeIf([](QChar character) { return !character.isLetter(); });
        return fillers.contains(letters);
    }));
}

/// The mean brightness of the mouth's place in a webcam picture of 320 × 180.
double mouthBrightness(const QImage& picture)
{
    double sum = 0;
    for (int y = 104; y < 120; ++y) {
        for (int x = 152; x < 168; ++x)
            sum += picture.constScanLine(y)[x];
    }
    return sum / (16 * 16);
}

} // namespace

TEST(SampleTake, makeWithWebcamWritesAWholeTakeWhoseWordsMatchTheVoice)
{
    QTemporaryDir folder;
    const QString path = makeTake(folder,
        {QStringLiteral("--width"), QStringLiteral("640"), QStringLiteral("--height"), QStringLiteral("360"),
            QStringLiteral("--seconds"), QStringLiteral("20")});
    EXPECT_EQ(path, folder.filePath(QStringLiteral("t.mov")));
    const QString webcam = folder.filePath(QStringLiteral("t_webcam.mov"));
    EXPECT_EQ(QDir(folder.path()).entryList(QDir::Files),
        (QStringList{QStringLiteral("t.mov"), QStringLiteral("t_sync.json"), QStringLiteral("t_transcript.json"),
            QStringLiteral("t_webcam.mov")}));

    EXPECT_EQ(probe(path, QStringLiteral("v:0"), QStringLiteral("stream=codec_name,width,height,color_space,duration")),
        QStringList(QStringLiteral("h264,640,360,bt709,20.000000")));
    EXPECT_EQ(probe(webcam, QStringLiteral("v:0"), QStringLiteral("stream=codec_name,width,height,nb_frames")),
        QStringList(QStringLiteral("h264,1280,720,573")));
    const QJsonObject sync = readObject(folder.filePath(QStringLiteral("t_sync.json")));
    EXPECT_EQ(sync[QStringLiteral("webcamOffsetFromScreenMs")].toDouble(), 350);
    EXPECT_EQ(sync[QStringLiteral("screenFileName")].toString(), QStringLiteral("t.mov"));

    const std::vector<Word> words = readWords(folder.filePath(QStringLiteral("t_transcript.json")));
    EXPECT_GE(words.size(), 30U);
    EXPECT_GE(matchWithSound(words, sound(webcam, QStringLiteral("a:0"))), 2);
    EXPECT_LT(words.back().endMs, 20000 - 350);
    // The voice must not come from both files.
    EXPECT_LT(loudness(sound(path, QStringLiteral("a:0")), 900, 20000), kSilence);
}

TEST(SampleTake, makeScreenShowsFramesOnlyWhenSomethingChanges)
{
    QTemporaryDir folder;
    const QString path = makeTake(folder,
        {QStringLiteral("--width"), QStringLiteral("320"), QStringLiteral("--height"), QStringLiteral("180"),
            QStringLiteral("--no-webcam"), QStringLiteral("--seconds"), QStringLiteral("20")});
    const QStringList times = probe(path, QStringLiteral("v:0"), QStringLiteral("frame=pts_time"));
    ASSERT_GT(times.size(), 150);
    ASSERT_LT(times.size(), 900);
    EXPECT_EQ(times.first().toDouble(), 0);
    double shortest = 100;
    double longest = 0;
    for (qsizetype index = 1; index < times.size(); ++index) {
        const double gap = times[index].toDouble() - times[index - 1].toDouble();
        shortest = std::min(shortest, gap);
        longest = std::max(longest, gap);
    }
    EXPECT_GT(shortest, 0.012);
    EXPECT_LT(shortest, 0.0175);
    EXPECT_GT(longest, 0.3);
}

TEST(SampleTake, makeFaceOpensItsMouthWithTheVoice)
{
    QTemporaryDir folder;
    makeTake(folder, smallPicture() + QStringList{QStringLiteral("--seconds"), QStringLiteral("8")});
    const QString webcam = folder.filePath(QStringLiteral("t_webcam.mov"));
    const std::vector<float> heard = sound(webcam, QStringLiteral("a:0"));
    double loudSum = 0;
    double quietSum = 0;
    int loud = 0;
    int quiet = 0;
    const std::vector<QImage> shown = pictures(webcam, 320, 180);
    for (size_t frame = 0; frame < shown.size(); ++frame) {
        const double ms = static_cast<double>(frame) * 1000 / 30;
        const double level = loudness(heard, ms - std::min(ms, 20.0), ms + 40);
        if (level > 0.09) {
            loudSum += mouthBrightness(shown[frame]);
            ++loud;
        } else if (level < 0.002) {
            quietSum += mouthBrightness(shown[frame]);
            ++quiet;
        }
    }
    ASSERT_GT(loud, 15);
    ASSERT_GT(quiet, 15);
    EXPECT_LT(loudSum / loud, quietSum / quiet - 10);
}

TEST(SampleTake, makeWholeTalkHasWordsFillersAndPausesToEdit)
{
    QTemporaryDir folder;
    const QString path = makeTake(folder, smallPicture() + QStringList(QStringLiteral("--no-webcam")));
    const std::vector<Word> words = readWords(folder.filePath(QStringLiteral("t_transcript.json")));
    EXPECT_GE(words.size(), 140U);
    EXPECT_GE(words.back().endMs, 75000);
    EXPECT_GE(fillersIn(words), 7);
    EXPECT_GE(matchWithSound(words, sound(path, QStringLiteral("a:0"))), 6);
    QStringList opening;
    for (size_t index = 0; index < 40; ++index)
        opening.append(words[index].text);
    EXPECT_TRUE(opening.join(u' ').contains(QStringLiteral("this working?")));
    EXPECT_TRUE(opening.join(u' ').contains(QStringLiteral("No way.")));
    const QJsonObject transcript = readObject(folder.filePath(QStringLiteral("t_transcript.json")));
    EXPECT_EQ(transcript[QStringLiteral("timeBase")].toString(), QStringLiteral("screenFile"));
    EXPECT_TRUE(transcript[QStringLiteral("aligned")].toBool());
}

TEST(SampleTake, makeLongerThanTheTalkStartsItOver)
{
    QTemporaryDir folder;
    const QString path = makeTake(folder,
        smallPicture()
            + QStringList{QStringLiteral("--no-webcam"), QStringLiteral("--seconds"), QStringLiteral("120"),
                QStringLiteral("--unaligned")});
    EXPECT_EQ(probe(path, QStringLiteral("v:0"), QStringLiteral("stream=duration")),
        QStringList(QStringLiteral("120.000000")));
    const std::vector<Word> words = readWords(folder.filePath(QStringLiteral("t_transcript.json")));
    const auto again = std::find_if(
        words.begin() + 20, words.end(), [](const Word& word) { return word.text == QStringLiteral("Hi."); });
    ASSERT_NE(again, words.end());
    EXPECT_GT(again->startMs, 75000);
    EXPECT_LE(words.back().endMs, 120000);
    matchWithSound(words, sound(path, QStringLiteral("a:0")));
    EXPECT_FALSE(readObject(folder.filePath(QStringLiteral("t_transcript.json"))).contains(QStringLiteral("aligned")));
}

TEST(SampleTake, makeTwiceGivesTheSameBytesAndAnotherSeedOthers)
{
    const QStringList options = smallPicture()
        + QStringList{
            QStringLiteral("--seconds"), QStringLiteral("6"), QStringLiteral("--no-webcam"), QStringLiteral("--seed")};
    std::vector<QByteArray> movies;
    for (const QString& seed : {QStringLiteral("5"), QStringLiteral("5"), QStringLiteral("6")}) {
        QTemporaryDir folder;
        QFile file(makeTake(folder, options + QStringList(seed)));
        ASSERT_TRUE(file.open(QIODevice::ReadOnly));
        movies.push_back(file.readAll());
    }
    EXPECT_TRUE(movies[0] == movies[1]);
    EXPECT_FALSE(movies[0] == movies[2]);
}

} // namespace kelmo::test
