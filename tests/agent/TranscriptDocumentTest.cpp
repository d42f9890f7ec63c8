#include "agent/TranscriptDocument.h"

#include "agent/ToolResult.h"
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

double msOf(const std::function<void()>& work)
{
    double best = std::numeric_limits<double>::infinity();
    for (int i = 0; i < 7; ++i) {
        const auto start = std::chrono::steady_clock::now();
        work();
        best = std::min(
            best, std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start).count());
    }
    return best;
}

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

TEST_F(TranscriptDocumentTest, jsonOfALongTranscriptCostsLittleMoreThanTheLibraryAlone)
{
    openLongTake(25'000);
    const QJsonDocument whole = QJsonDocument::fromJson(TranscriptDocument(m_editor).json());
    const double library = msOf([&] { (void)whole.toJson(QJsonDocument::Compact); });
    const double snapshot = msOf([&] { TranscriptDocument{m_editor}; });
    const double ours = msOf([&] {
        const TranscriptDocument document(m_editor);
        (void)ToolResult::text([&document] { return document.json(); })();
    });
    // The same through the socket, from the request to the last byte in the client's hands.
    serve();
    const QByteArray call
        = post(rpc(QStringLiteral("tools/call"), {{QStringLiteral("name"), QStringLiteral("get_transcript")}}));
    const double served = msOf([&] { (void)exchange(call); });
    RecordProperty("servedMs", std::to_string(served));
    RecordProperty("libraryMs", std::to_string(library));
    RecordProperty("oursMs", std::to_string(ours));
    RecordProperty("snapshotMs", std::to_string(snapshot));
    EXPECT_LT(ours, 1.5 * library);
    EXPECT_LT(served, 1.5 * library);
    EXPECT_LT(snapshot, 10) << "this part keeps the window waiting";
}
