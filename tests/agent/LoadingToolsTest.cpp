#include "agent/MCPProtocol.h"
#include "tests/agent/ServerFixture.h"
#include "tests/agent/SmallTake.h"

#include <gmock/gmock.h>

using namespace kelmo;

namespace {

const QString take = QStringLiteral("talk.mov");

/// Calls that come while a take's media is being loaded: the take is opened and the tool called in one turn of the
/// event loop, so that the loading cannot be over.
class LoadingToolsTest : public ServerFixture {
protected:
    LoadingToolsTest()
    {
        m_sharer = std::make_unique<Sharer>(m_editor);
        SmallTake::write(takesFolder());
    }

    void open() { m_editor.open(takesFolder() + QLatin1Char('/') + take); }

    auto call(const char* tool, const char* arguments)
    {
        return MCPProtocol::dispatch({&m_editor, m_sharer.get()},
            {QStringLiteral("tools/call"),
                {{QStringLiteral("name"), QString::fromLatin1(tool)},
                    {QStringLiteral("arguments"), QJsonDocument::fromJson(arguments).object()}},
                "1"});
    }

    static QJsonObject resultOf(const tl::expected<DeferredJson, RPCError>& outcome)
    {
        EXPECT_TRUE(outcome);
        return outcome ? QJsonDocument::fromJson((*outcome)()).object() : QJsonObject();
    }
    static std::string textOf(const QJsonObject& result)
    {
        return result.value(u"content").toArray().last()[u"text"].toString().toStdString();
    }
};

struct Row {
    const char* tool;
    const char* arguments;
};

constexpr Row rows[] = {
    {"get_frame", R"({"timeMs":1234,"maxWidth":80})"},
    {"trim", R"({"endMs":9000,"exact":true})"},
    {"export", R"({"codec":"h264","height":0})"},
};

} // namespace

TEST_F(LoadingToolsTest, callsWaitForTheMedia)
{
    const char* answers[] = {"Frame at edited 1234 ms (source 1234 ms).",
        R"({"editedDurationMs":9000,"keep":[[0,9000]],"trim":{"endMs":9000,"startMs":0,"trimmed":true}})", ".mp4\"}"};
    for (const Row& row : rows) {
        open();
        auto calling = call(row.tool, row.arguments);
        const QJsonObject result = resultOf(QCoro::waitFor(calling));
        EXPECT_FALSE(result.contains(u"isError")) << row.tool;
        EXPECT_THAT(textOf(result), testing::EndsWith(answers[&row - rows]));
    }
}

TEST_F(LoadingToolsTest, callsTellWhyTheMediaCannotBeOpened)
{
    QFile movie(takesFolder() + QLatin1Char('/') + take);
    ASSERT_TRUE(movie.resize(300));
    for (const Row& row : rows) {
        open();
        auto calling = call(row.tool, row.arguments);
        const std::string early = textOf(resultOf(QCoro::waitFor(calling)));
        ASSERT_TRUE(m_editor.status());
        EXPECT_THAT(early, testing::StartsWith("Error: Couldn't open: ")) << row.tool;
        EXPECT_EQ(early, "Error: " + m_editor.status()->toStdString()) << row.tool;
        auto later = call(row.tool, row.arguments);
        EXPECT_EQ(textOf(resultOf(QCoro::waitFor(later))), early) << row.tool;
    }
}

TEST_F(LoadingToolsTest, callsFailWhenAnotherTakeIsOpenedOrTheEditorEnds)
{
    for (const Row& row : rows) {
        open();
        auto calling = call(row.tool, row.arguments);
        open();
        EXPECT_EQ(textOf(resultOf(QCoro::waitFor(calling))), "Error: The take was closed before it was loaded")
            << row.tool;
        EXPECT_FALSE(m_editor.cuts().isTrimmed()) << "a trim that was meant for another take";
    }
    auto editor = std::make_unique<Editor>(Editor::Sound::Muted);
    editor->open(takesFolder() + QLatin1Char('/') + take);
    auto waiting = editor->whenLoaded();
    editor.reset();
    EXPECT_FALSE(QCoro::waitFor(waiting));
}

TEST_F(LoadingToolsTest, shareWaitsForTheMedia)
{
    startShareServer();
    m_sharer = std::make_unique<Sharer>(m_editor);
    m_editor.onTakeReady = [this](const Take& ready) { m_sharer->takeOpened(ready); };
    open();
    auto calling = call("share", "{}");
    EXPECT_THAT(textOf(resultOf(QCoro::waitFor(calling))), testing::HasSubstr("https://example.com/v/"));
}
