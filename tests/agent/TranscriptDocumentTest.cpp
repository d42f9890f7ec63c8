#include "agent/TranscriptDocument.h"

#include "tests/agent/ServerFixture.h"

#include <random>

using namespace kelmo;

namespace {

class TranscriptDocumentTest : public ServerFixture {
protected:
    // Only the words count here, so the movie may be a broken one.
    void openLongTake(int count)
    {
        std::mt19937 random(1);
        const QStringList texts{QStringLiteral("the"), QStringLiteral("quick,"), QStringLiteral("“fox”"),
            QStringLiteral("don't"), QStringLiteral("say \"um\""), QStringLiteral("internationalisation")};
        QJsonArray words;
        double at = 0;
        for (int i = 0; i < count; ++i) {
            const double length = 20 + double(random() % 300'000) / 1000;
            words.append(QJsonObject{{QStringLiteral("text"), texts[int(random() % 6)]},
                {QStringLiteral("startMs"), at}, {QStringLiteral("endMs"), at + length}});
            at += length + double(random() % 100'000) / 1000;
        }
        m_home.write(QStringLiteral("takes/long.mov"), "no movie");
        m_home.write(QStringLiteral("takes/long_transcript.json"),
            QJsonDocument({{QStringLiteral("words"), words}, {QStringLiteral("aligned"), true},
                              {QStringLiteral("timeBase"), QStringLiteral("screenFile")}})
                .toJson());
        m_editor.open(takesFolder() + QStringLiteral("/long.mov"));
        ASSERT_EQ(m_editor.words().size(), size_t(count));
        Cuts cuts = m_editor.cuts();
        for (int i = 0; i < count; i += 50)
            cuts.add({{m_editor.words()[size_t(i)].startMs, m_editor.words()[size_t(i)].endMs}});
        m_editor.setCuts(cuts, QStringLiteral("Cut"));
    }
};

} // namespace

TEST_F(TranscriptDocumentTest, jsonIsWhatTheLibraryWouldWrite)
{
    openLongTake(3000);
    const QByteArray json = TranscriptDocument(m_editor).json();
    QJsonParseError problem;
    const QJsonDocument read = QJsonDocument::fromJson(json, &problem);
    ASSERT_EQ(problem.error, QJsonParseError::NoError) << qPrintable(problem.errorString());
    EXPECT_EQ(read.toJson(QJsonDocument::Compact), json);
    const QJsonArray words = read[u"words"].toArray();
    ASSERT_EQ(words.size(), 3000);
    for (int i = 0; i < words.size(); ++i) {
        const Word& word = m_editor.words()[size_t(i)];
        ASSERT_EQ(words[i][u"text"].toString(), word.text);
        ASSERT_EQ(words[i][u"startMs"].toDouble(), word.startMs);
        ASSERT_EQ(words[i][u"endMs"].toDouble(), word.endMs);
        ASSERT_EQ(words[i][u"cut"].toBool(), i % 50 == 0);
    }
}
