#include "tests/views/transcript/TranscriptFixture.h"

#include "telemetry/Log.h"

#include <QGuiApplication>
#include <QProcess>
#include <QStyleHints>

namespace kelmo {

namespace {

using TranscriptViewTest = TranscriptFixture;

QString utf8(const char* text) { return QString::fromUtf8(text); }

/// How far the most coloured pixel leans to one side: red over blue, or blue over red.
int warmest(const QImage& image, int sign)
{
    int most = 0;
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x)
            most = std::max(most, sign * (qRed(image.pixel(x, y)) - qBlue(image.pixel(x, y))));
    }
    return most;
}

/// The brightest pixel's green.
int brightest(const QImage& image)
{
    int most = 0;
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x)
            most = std::max(most, qGreen(image.pixel(x, y)));
    }
    return most;
}

/// The longest row of neighbouring pixels that are all brighter than the card.
int longestStroke(const QImage& image)
{
    int longest = 0;
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0, run = 0; x < image.width(); ++x) {
            run = qGreen(image.pixel(x, y)) > 60 ? run + 1 : 0;
            longest = std::max(longest, run);
        }
    }
    return longest;
}

} // namespace

TEST_F(TranscriptViewTest, paintPausesLongerThanOneAndAHalfSecondsStartParagraphs)
{
    open({{utf8("a"), 0, 100, {}}, {utf8("b"), 1600, 1700, {}}, {utf8("c"), 3201, 3300, {}},
        {utf8("d"), 3300, 3400, {}}});
    show();
    EXPECT_EQ(shownText(), utf8("a b\nc d"));
    const std::vector<TextRange> ranges{{0, 1}, {2, 1}, {4, 1}, {6, 1}};
    EXPECT_EQ(m_view->coordinator().wordRanges(), ranges);
    EXPECT_LT(before(0).y(), before(4).y());
    Log::flush();
    const QString log = QString::fromUtf8(m_home.read(utf8("Library/Logs/KelmoEditor.log")));
    EXPECT_TRUE(log.contains(utf8("[timing] transcript painted: ")));
    EXPECT_TRUE(log.contains(utf8(" ms for 4 words")));
}

TEST_F(TranscriptViewTest, emptyTranscriptSaysWhyAndDeleteDoesNothing)
{
    open({});
    show();
    EXPECT_EQ(shownText(), utf8("No speech heard in this take."));
    EXPECT_LT(brightest(text().viewport()->grab(text().caretBox(0).toRect()).toImage()), 255)
        << "where there is nothing to edit, no caret stands";
    key(Qt::Key_Delete);
    key(Qt::Key_A, Qt::ControlModifier);
    key(Qt::Key_Delete);
    EXPECT_EQ(m_editor.undo().count(), 0);
}

TEST_F(TranscriptViewTest, awaitedTranscriptIsPaintedWhenItArrives)
{
    writeMovie(4);
    QFile sync(m_folder.filePath(utf8("talk_sync.json")));
    ASSERT_TRUE(sync.open(QIODevice::WriteOnly));
    sync.write("{}");
    sync.close();
    m_editor.open(m_folder.filePath(utf8("talk.mov")));
    show();
    EXPECT_EQ(shownText(), utf8("Transcribing…"));
    key(Qt::Key_Delete);
    writeTranscript(said(utf8("here it is")));
    EXPECT_TRUE(QTest::qWaitFor([&] { return shownText() == utf8("here it is"); }, 20'000));
    EXPECT_TRUE(QTest::qWaitFor([&] {
        return brightest(text().viewport()->grab(text().caretBox(0).toRect()).toImage()) == 255;
    })) << "now the caret blinks";
}

TEST_F(TranscriptViewTest, deleteAtACaretCutsTheWordBeforeItAndRestoresItAgain)
{
    open(said(utf8("one two three")));
    show();
    caretAt(7);
    key(Qt::Key_Backspace);
    EXPECT_EQ(struck(), QStringList{utf8("two")});
    EXPECT_EQ(m_editor.undo().undoText(), utf8("Delete Words"));
    EXPECT_EQ(text().selectedRange(), (TextRange{7, 0})) << "the caret stays";
    key(Qt::Key_Delete);
    EXPECT_EQ(struck(), QStringList());
    caretAt(8); // In the space after it.
    key(Qt::Key_Delete);
    EXPECT_EQ(struck(), QStringList{utf8("two")});
    m_editor.undo().undo();
    EXPECT_EQ(struck(), QStringList());
    caretAt(0);
    key(Qt::Key_Delete);
    EXPECT_EQ(struck(), QStringList{utf8("one")}) << "before all words means the first";
}

TEST_F(TranscriptViewTest, deleteOfHalvesOfTwoWordsCutsBoth)
{
    open(said(utf8("one two three four")));
    show();
    select(utf8("wo thr"));
    key(Qt::Key_Delete);
    EXPECT_EQ(struck(), (QStringList{utf8("two"), utf8("three")}));
    EXPECT_EQ(selected(), utf8("wo thr"));
    select(utf8(" three "));
    key(Qt::Key_Delete);
    EXPECT_EQ(struck(), QStringList{utf8("two")}) << "spaces belong to no word";
}

TEST_F(TranscriptViewTest, looksFillersAreOrangeAndCutWordsStruckThrough)
{
    open(said(utf8("so Um, this works")));
    show();
    EXPECT_GT(warmest(pixels(utf8("Um,")), 1), 100);
    EXPECT_LT(warmest(pixels(utf8("this")), 1), 40);
    const int keptBrightness = brightest(pixels(utf8("this")));
    select(utf8("Um, this"));
    key(Qt::Key_Delete);
    caretAt(0);
    EXPECT_EQ(style(1), WordStyle::Cut) << "being cut wins over being a filler";
    EXPECT_LT(warmest(pixels(utf8("Um,")), 1), 40);
    EXPECT_LT(brightest(pixels(utf8("this"))), keptBrightness - 40);
    EXPECT_GE(longestStroke(pixels(utf8("this"))), pixels(utf8("this")).width() - 2);
    EXPECT_LT(longestStroke(pixels(utf8("works"))), pixels(utf8("works")).width() / 2);
    m_editor.undo().undo();
    EXPECT_EQ(style(1), WordStyle::Filler);
    EXPECT_GT(warmest(pixels(utf8("Um,")), 1), 100);
}

TEST_F(TranscriptViewTest, looksAreTheSameAtEveryScaleOfTheScreen)
{
    for (const char* scale : {"1.25", "1.5", "2"}) {
        QProcess child;
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(utf8("QT_SCALE_FACTOR"), utf8(scale));
        child.setProcessEnvironment(environment);
        child.start(QCoreApplication::applicationFilePath(),
            {utf8("--gtest_filter=TranscriptViewTest.looksFillers*:WordTextViewTest.mouseSelects*")});
        ASSERT_TRUE(child.waitForFinished(120'000));
        EXPECT_EQ(child.exitCode(), 0) << scale << child.readAllStandardOutput().constData();
    }
}

TEST_F(TranscriptViewTest, selectionOnTheTimelineIsMirroredWithoutMovingThePlayhead)
{
    open(said(utf8("one two three four five")));
    show();
    caretAt(0);
    const double playhead = m_editor.playhead().ms();
    m_editor.setSelection(Span{700, 1700}); // Both ends are middles of words: 700 of "two", 1700 of "four".
    EXPECT_EQ(selected(), utf8("two three four"));
    EXPECT_EQ(m_editor.playhead().ms(), playhead);
    EXPECT_TRUE(m_editor.selection());

    m_editor.setSelection(Span{701, 1699});
    EXPECT_EQ(selected(), utf8("three"));
    m_editor.setSelection(std::nullopt);
    EXPECT_EQ(selected(), utf8("three")) << "what is cleared there stays here";
    m_editor.setSelection(Span{910, 990});
    EXPECT_EQ(text().selectedRange(), (TextRange{8, 0})) << "no word's middle: a caret";
}

TEST_F(TranscriptViewTest, caretMovedByKeysTakesThePlayheadAlongWordByWord)
{
    open(said(utf8("one two three")));
    show();
    m_editor.setSelection(Span{0, 300});
    caretAt(0);
    EXPECT_FALSE(m_editor.selection()) << "the range gives way to the text's selection";
    std::vector<double> playheads;
    for (int i = 0; i < 8; ++i) {
        key(Qt::Key_Right);
        playheads.push_back(m_editor.playhead().ms());
    }
    EXPECT_EQ(playheads, (std::vector<double>{0, 0, 0, 500, 500, 500, 500, 1000}));
    EXPECT_EQ(m_editor.playhead().word(), 2);
}

TEST_F(TranscriptViewTest, wordPressedAgainIsHeardAgainAndADragLetsThePlayheadGo)
{
    open(said(utf8("one two three four")));
    show();
    QWidget& page = *text().viewport();
    const auto drag = [&page](QPoint to) {
        const QPointF at(to);
        QMouseEvent move(
            QEvent::MouseMove, at, page.mapToGlobal(at), Qt::NoButton, Qt::LeftButton, Qt::KeyboardModifiers());
        QCoreApplication::sendEvent(&page, &move);
    };
    QTest::mousePress(&page, Qt::LeftButton, {}, in(utf8("two")));
    EXPECT_EQ(m_editor.playhead().ms(), 500);
    m_editor.previewSource(1600); // As if it had played on.
    drag(in(utf8("four")));
    EXPECT_EQ(m_editor.playhead().ms(), 1600);
    drag(in(utf8("one")));
    EXPECT_EQ(m_editor.playhead().ms(), 0) << "the selection begins elsewhere";
    QTest::mouseRelease(&page, Qt::LeftButton, {}, in(utf8("one")));

    QTest::qWait(2 * QGuiApplication::styleHints()->mouseDoubleClickInterval());
    for (int i = 0; i < 2; ++i) {
        m_editor.previewSource(1600);
        QTest::mouseClick(&page, Qt::LeftButton, {}, in(utf8("two")));
        EXPECT_EQ(m_editor.playhead().ms(), 500) << i;
        QTest::qWait(2 * QGuiApplication::styleHints()->mouseDoubleClickInterval());
    }
}

TEST_F(TranscriptViewTest, playheadsWordIsHighlightedAndFollowedInTheUpperThirdWhilePlaying)
{
    std::vector<Word> words = saidLong(400);
    open(words);
    show({420, 300});
    EXPECT_EQ(text().highlight(), m_view->coordinator().wordRanges()[0]) << "known from the start";
    EXPECT_GT(warmest(pixels(utf8("word0")), -1), 80);

    const auto inUpperThird = [&] {
        const double y = text().boxes(*text().highlight()).front().bottom();
        return y > 0 && y <= text().viewport()->height() / 3.0 + 1;
    };
    m_editor.seekToWord(200);
    EXPECT_EQ(text().highlight(), m_view->coordinator().wordRanges()[200]);
    EXPECT_EQ(text().verticalScrollBar()->value(), 0) << "while paused nothing scrolls by itself";
    key(Qt::Key_Space);
    ASSERT_TRUE(QTest::qWaitFor([&] { return m_editor.isPlaying() && text().verticalScrollBar()->value() > 0; }));
    EXPECT_TRUE(QTest::qWaitFor(inUpperThird));
    key(Qt::Key_Space);
    EXPECT_TRUE(QTest::qWaitFor([&] { return !m_editor.isPlaying(); }));
}

TEST_F(TranscriptViewTest, wordsOfEveryKindKeepTheirRanges)
{
    const std::vector<Word> words{{utf8("naïve"), 0, 400, {}}, {QString(), 500, 900, {}},
        {utf8("two\nlines\u2028here"), 1000, 1400, {}}, {utf8("👩‍👩‍👧‍👦!"), 1500, 1900, {}},
        {utf8("שלום"), 2000, 2400, {}}, {utf8("مرحبا"), 2500, 2900, {}},
        {utf8("今日はとても良い天気ですから散歩に行きましょうと彼は言いました"), 3000, 3400, {}},
        {utf8("e\u0301te\u0301"), 3500, 3900, {}}};
    open(words);
    show({300, 300});
    for (int i = 0; i < int(words.size()); ++i) {
        const TextRange range = m_view->coordinator().wordRanges()[size_t(i)];
        EXPECT_EQ(shownText().mid(range.location, range.length), words[size_t(i)].text);
        if (range.length == 0)
            continue;
        text().setSelectedRange(range);
        key(Qt::Key_Delete);
        EXPECT_EQ(struck(), QStringList{words[size_t(i)].text}) << i;
        m_editor.undo().undo();
        const QRectF box = text().boxes(range).front();
        QTest::mouseClick(text().viewport(), Qt::LeftButton, {}, box.center().toPoint());
        EXPECT_EQ(m_editor.playhead().word(), i) << "a click into it";
    }
    caretAt(0);
    for (int guard = 0; guard < 100 && text().caretPosition() < shownText().size(); ++guard)
        key(Qt::Key_Right);
    EXPECT_EQ(text().caretPosition(), shownText().size()) << "no character holds the caret up";
    EXPECT_FALSE(pixels().isNull());
}

TEST_F(TranscriptViewTest, newWordsOfTheSameTakeArePaintedAnew)
{
    open(said(utf8("one two three")));
    show();
    select(utf8("two"));
    key(Qt::Key_Delete);
    writeTranscript(said(utf8("uno due")));
    m_editor.open(m_folder.filePath(utf8("talk.mov")));
    EXPECT_EQ(shownText(), utf8("uno due"));
    EXPECT_EQ(struck(), QStringList());
    EXPECT_EQ(text().selectedRange(), TextRange());
}

TEST_F(TranscriptViewTest, playheadsHighlightIsNeverOnAStruckWord)
{
    open(said(utf8("one two three four")));
    show();
    m_editor.seekToWord(1);
    ASSERT_EQ(text().highlight(), m_view->coordinator().wordRanges()[1]);
    m_editor.toggleWords({1});
    EXPECT_FALSE(text().highlight()) << "struck just now";
    for (double ms = 0; ms < 2000; ms += 20) {
        m_editor.previewSource(ms);
        const std::vector<StyledRange>& words = text().page().styles();
        const bool onStruck = std::any_of(words.begin(), words.end(),
            [&](const StyledRange& each) { return text().highlight() == each.range && each.style == WordStyle::Cut; });
        EXPECT_FALSE(onStruck) << ms;
    }
    m_editor.seekToWord(1);
    m_editor.undo().undo();
    m_editor.seekToWord(1);
    EXPECT_EQ(text().highlight(), m_view->coordinator().wordRanges()[1]) << "restored";
}

} // namespace kelmo
