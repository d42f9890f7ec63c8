#include "model/Transcript.h"

#include "tests/support/TemporaryHome.h"

#include <gtest/gtest.h>

#include <sys/stat.h>

using namespace kelmo;

namespace {

QByteArray wordsJson(const QByteArray& words) { return "{\"words\":[" + words + "]}"; }

} // namespace

TEST(Transcript, decodeMalformedTextGivesNothing)
{
    const QByteArray good = R"({"text":"a","startMs":1,"endMs":2})";
    const QByteArray cases[] = {
        "",
        "not json",
        "[]",
        "{} trailing",
        R"({"words":{}})",
        R"({"timeBase":3})",
        R"({"aligned":1})",
        R"({"aligned":"true"})",
        wordsJson("null"),
        wordsJson(good + R"(,{"startMs":1,"endMs":2})"),
        wordsJson(good + R"(,{"text":"b","endMs":2})"),
        wordsJson(good + R"(,{"text":"b","startMs":1})"),
        wordsJson(good + R"(,{"text":null,"startMs":1,"endMs":2})"),
        wordsJson(good + R"(,{"text":"b","startMs":"1","endMs":2})"),
        wordsJson(good + R"(,{"text":"b","startMs":true,"endMs":2})"),
        wordsJson(good + R"(,{"text":"b","startMs":1,"endMs":2,"confidence":"high"})"),
        wordsJson(good + R"(,{"text":"b","startMs":1,"endMs":2,"confidence":false})"),
        wordsJson(R"({"text":"half \ud83d","startMs":1,"endMs":2})"),
        wordsJson(R"({"text":"b","startMs":1,"endMs":1e999})"),
        wordsJson("{\"text\":\"\xff\xfe\",\"startMs\":1,\"endMs\":2}"),
        "{\"extra\":" + QByteArray(1'000'000, '[') + QByteArray(1'000'000, ']') + "}",
    };
    for (const QByteArray& json : cases)
        EXPECT_FALSE(Transcript::decode(json)) << json.left(120).toStdString();
}

TEST(Transcript, decodeAbsentAndNullKeysGivesDefaults)
{
    for (const char* json : {"{}", R"({"words":null,"timeBase":null,"aligned":null,"other":[1]})"}) {
        const auto transcript = Transcript::decode(json);
        ASSERT_TRUE(transcript) << json;
        EXPECT_TRUE(transcript->words.empty());
        EXPECT_FALSE(transcript->timeBase);
        EXPECT_FALSE(transcript->aligned);
    }
    const auto word = Transcript::decode(wordsJson(R"({"text":"a","startMs":1,"endMs":2,"confidence":null})"));
    ASSERT_TRUE(word);
    EXPECT_EQ(word->words, (std::vector<Word>{{QStringLiteral("a"), 1, 2, std::nullopt}}));
}

TEST(Transcript, decodeReversedWordDropsItAndKeepsTheRest)
{
    const auto transcript = Transcript::decode(R"({"timeBase":"screenFile","aligned":true,"words":[
        {"text":"reversed","startMs":500,"endMs":400},{"text":"point","startMs":7,"endMs":7,"confidence":0.5}]})");
    ASSERT_TRUE(transcript);
    EXPECT_EQ(transcript->words, (std::vector<Word>{{QStringLiteral("point"), 7, 7, 0.5}}));
    EXPECT_EQ(transcript->timeBase, QStringLiteral("screenFile"));
    EXPECT_EQ(transcript->aligned, true);
}

TEST(Transcript, decodeUnorderedWordsSortsByStartAndKeepsFileOrderOfTies)
{
    const auto transcript = Transcript::decode(wordsJson(
        R"({"text":"c","startMs":30,"endMs":40},{"text":"a","startMs":10,"endMs":90},{"text":"b","startMs":10,"endMs":11})"));
    ASSERT_TRUE(transcript);
    QString order;
    for (const Word& word : transcript->words)
        order += word.text;
    EXPECT_EQ(order, QStringLiteral("abc"));
}

TEST(Transcript, readMissingOrHugeFileGivesNothing)
{
    const TemporaryHome home;
    EXPECT_FALSE(Transcript::read(home.file(QStringLiteral("none.json"))));
    EXPECT_FALSE(Transcript::read(home.path()));

    // A sparse file that would be a fine empty transcript if anyone read all of it.
    const QString path = home.write(QStringLiteral("huge.json"), "{}");
    ASSERT_TRUE(Transcript::read(path));
    ASSERT_TRUE(QFile::resize(path, 300LL * 1024 * 1024));
    EXPECT_FALSE(Transcript::read(path));

    const QString marked = home.write(QStringLiteral("marked.json"), "\xEF\xBB\xBF{\"aligned\":true}");
    const auto transcript = Transcript::read(marked);
    ASSERT_TRUE(transcript) << "a byte order mark";
    EXPECT_EQ(transcript->aligned, true);

    const QString pipe = home.path() % QStringLiteral("/pipe.json");
    ASSERT_EQ(::mkfifo(QFile::encodeName(pipe).constData(), 0600), 0);
    EXPECT_FALSE(Transcript::read(pipe)) << "which has no writer";
}

TEST(Word, toJsonWithoutConfidenceHasThreeKeysAndReadsBack)
{
    const Word plain{QStringLiteral("Hé,"), 1.5, 2, std::nullopt};
    EXPECT_EQ(plain.toJson().keys(),
        (QStringList{QStringLiteral("endMs"), QStringLiteral("startMs"), QStringLiteral("text")}));
    const Word rated{QStringLiteral("x"), 0, 0, 0.25};
    const auto read = Transcript::decode(
        wordsJson(QJsonDocument(rated.toJson()).toJson() + ',' + QJsonDocument(plain.toJson()).toJson()));
    ASSERT_TRUE(read);
    EXPECT_EQ(read->words, (std::vector<Word>{rated, plain}));
    EXPECT_NE(qHash(plain), qHash(rated));
}
