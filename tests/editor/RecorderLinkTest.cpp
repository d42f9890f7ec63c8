#include "tests/editor/EditorFixture.h"
#include "tests/editor/RecorderStandIn.h"

#include <QUrl>
#include <QUrlQuery>

namespace kelmo {

namespace {

class RecorderRequests : public EditorFixture {
protected:
    /// A take whose words are `seconds` old and not aligned.
    void openAged(const QString& base, double seconds)
    {
        m_takes.makeMovie(base, 5);
        m_takes.writeTranscript(base, TakeFolder::talk(5), Aligned::No);
        m_takes.age(m_takes.transcript(base), seconds);
        openLoaded(base);
    }

    RecorderStandIn m_recorder;
};

} // namespace

TEST_F(RecorderRequests, oldTranscriptIsAskedForOnceAndFreshOnesAreNot)
{
    if (!m_recorder.listen())
        GTEST_SKIP() << "port 43120 is taken";
    openAged(QStringLiteral("fresh"), 5);
    openAged(QStringLiteral("almost"), 13);
    wait(300);
    EXPECT_TRUE(m_recorder.requests().isEmpty());
    EXPECT_TRUE(logged(QStringLiteral("align")).isEmpty());

    const QString base = QStringLiteral("2024-05-02 10.11.12 ü&x=1+2 100%#?");
    openAged(base, 60);
    ASSERT_TRUE(waitUntil([&] { return !m_recorder.requests().isEmpty(); }));
    wait(300);
    ASSERT_EQ(m_recorder.requests().size(), 1);
    const QByteArray request = m_recorder.requests().front();
    const QByteArray head = request.left(request.indexOf("\r\n\r\n"));
    const QByteArrayList line = head.left(head.indexOf("\r\n")).split(' ');
    ASSERT_EQ(line.size(), 3) << request.constData();
    EXPECT_EQ(line[0], "POST");
    EXPECT_EQ(line[2], "HTTP/1.1");
    EXPECT_TRUE(line[1].startsWith("/align?take=2024-05-02%2010.11.12%20%C3%BC%26x")) << line[1].constData();
    EXPECT_EQ(QUrl::fromPercentEncoding(line[1].mid(line[1].indexOf('=') + 1)), base);
    EXPECT_FALSE(line[1].mid(line[1].indexOf('=') + 1).contains('+')) << "some servers read a plus as a blank";
    EXPECT_TRUE(head.toLower().contains("\r\nx-kelmo: 1")) << head.constData();
    EXPECT_TRUE(request.endsWith("\r\n\r\n")) << "no body";
    EXPECT_EQ(logged(QStringLiteral("align")), QStringList{QStringLiteral("asking the recorder to align ") % base});

    // The answer comes as a file.
    m_takes.writeTranscript(base, TakeFolder::talk(5, 30), Aligned::Yes);
    EXPECT_TRUE(waitUntil([&] { return m_editor->take()->aligned; }, 5000));
    EXPECT_EQ(m_editor->words(), TakeFolder::talk(5, 30));
    openLoaded(base);
    wait(300);
    EXPECT_EQ(m_recorder.requests().size(), 1) << "an aligned transcript is not asked for";
}

TEST_F(RecorderRequests, unreachableRecorderIsLoggedAndTheFileStillAwaited)
{
    ASSERT_TRUE(m_recorder.reserve());
    openAged(QStringLiteral("old"), 3600);
    if (!waitUntil([&] { return logged(QStringLiteral("align")).size() > 1; }, 3000))
        GTEST_SKIP() << "something answers on port 43120";
    EXPECT_EQ(loggedLike(QStringLiteral("align"), QStringLiteral("recorder align request failed: .+")).size(), 1);
    EXPECT_EQ(m_editor->status(), std::nullopt);
    m_takes.writeTranscript(QStringLiteral("old"), TakeFolder::talk(5, 30), Aligned::Yes);
    EXPECT_TRUE(waitUntil([&] { return m_editor->take()->aligned; }, 5000));
}

} // namespace kelmo
