#include "tests/editor/EditorFixture.h"

#include <QCoroFuture>

namespace kelmo {

namespace {

/// Frames that are asked for, and how many of them are still to come.
class AskedFrames {
public:
    AskedFrames(Editor& editor, int count)
    {
        for (int i = 0; i < count; ++i)
            ask(editor, 17.0 * i);
    }

    [[nodiscard]] int waiting() const { return m_state->waiting; }
    [[nodiscard]] const QStringList& errors() const { return m_state->errors; }

private:
    struct State {
        int waiting = 0;
        QStringList errors;
    };

    void ask(Editor& editor, double atMs)
    {
        ++m_state->waiting;
        follow(editor.frame(atMs, 1280), m_state);
    }

    static QCoro::Task<void> follow(QCoro::Task<Result<QByteArray>> frame, std::shared_ptr<State> state)
    {
        const Result<QByteArray> png = co_await frame;
        --state->waiting;
        if (!png)
            state->errors.append(userText(png.error()));
    }

    std::shared_ptr<State> m_state = std::make_shared<State>();
};

class WorkLanesTest : public EditorFixture {
protected:
    // Large enough that a few hundred frames of it take seconds.
    void makeLargeTake(const QString& base)
    {
        CodedMovie movie = m_takes.talkingMovie(base + QStringLiteral(".mov"), 2);
        movie.spec.video->width = 1280;
        movie.spec.video->height = 720;
        make(movie);
        m_takes.writeSync(base);
    }
};

constexpr int frames = 300;
constexpr int atOnce = 6; ///< Frames that may be on their way together.

} // namespace

TEST_F(WorkLanesTest, framesHoldUpNeitherTranscriptsNorExports)
{
    makeLargeTake(QStringLiteral("talk"));
    openLoaded(QStringLiteral("talk"));
    ASSERT_TRUE(m_editor->awaitingWords());
    ASSERT_FALSE(m_editor->trim(std::nullopt, 200, QStringLiteral("Trim")));
    const AskedFrames asked(*m_editor, frames);

    m_takes.writeTranscript(QStringLiteral("talk"), TakeFolder::talk(2), Aligned::Yes);
    ASSERT_TRUE(waitUntil([&] { return !m_editor->words().empty(); }));
    EXPECT_GT(asked.waiting(), atOnce) << "the transcript was read when nearly all frames were made";

    auto exporting = m_editor->exportVideo(Codec::H264, 180, 30, QStringLiteral("writer"));
    const Result<ExportResult> exported = QCoro::waitFor(exporting);
    EXPECT_TRUE(exported) << qPrintable(userText(exported.error()));
    EXPECT_GT(asked.waiting(), atOnce) << "the export began when nearly all frames were made";
}

TEST_F(WorkLanesTest, framesOfAClosedTakeAreNotMade)
{
    makeLargeTake(QStringLiteral("talk"));
    m_takes.makeMovie(QStringLiteral("next"), 2);
    openLoaded(QStringLiteral("talk"));
    const AskedFrames asked(*m_editor, frames);
    openLoaded(QStringLiteral("next"));
    ASSERT_TRUE(waitUntil([&] { return asked.waiting() == 0; }));
    EXPECT_GE(asked.errors().size(), frames - atOnce);
    EXPECT_EQ(
        asked.errors().count(QStringLiteral("The take was closed before the frame was made")), asked.errors().size());
    auto frame = m_editor->frame(0, 100);
    EXPECT_TRUE(QCoro::waitFor(frame)) << "of the take that is open";
}

} // namespace kelmo
