#include "benchmarks/Row.h"

#include "tools/moviemaker/MovieMaker.h"
#include "views/transcript/TranscriptView.h"

#include <QApplication>
#include <QJsonArray>
#include <QJsonDocument>
#include <QTemporaryDir>

#include <chrono>
#include <cstdio>
#include <cstdlib>

namespace kelmo::bench {

namespace {

constexpr int wordCount = 25'000;
constexpr int cutCount = 500;
constexpr double wordMs = 432; ///< Three hours for all of them.
constexpr int rounds = 15;
constexpr QSize cardSize(1288, 200); ///< As the window places it at first.

QString text(const char* latin) { return QString::fromLatin1(latin); }

/// Two pictures a minute for three hours.
void writeMovie(const QString& path)
{
    VideoSpec video;
    video.width = 160;
    video.height = 90;
    video.lastFrameDuration = 18'000;
    MovieSpec spec;
    spec.path = path;
    spec.video = video;
    QImage picture(video.width, video.height, QImage::Format_RGB32);
    picture.fill(Qt::darkBlue);
    Result<MovieMaker> maker = MovieMaker::create(spec);
    for (int i = 0; maker && i < 360; ++i)
        (void)maker->addVideoFrame(picture, i * 18'000);
    if (!maker || !maker->finish()) {
        std::fprintf(stderr, "no movie at %s\n", qPrintable(path));
        std::exit(1);
    }
}

/// A talk as it is spoken: some 4,000 different words, fillers, and a long breath now and then.
QJsonArray words(bool inParagraphs)
{
    QJsonArray list;
    for (int i = 0; i < wordCount; ++i) {
        const int spelling = i * 7919 % (i % 3 ? 300 : 4000);
        const QString said = i % 31 ? text("w") % QString::number(spelling * 104'729 % 99'991, 36) : text("um,");
        const double pause = inParagraphs && i % 90 == 0 ? 1700 : 60;
        list.append(Word{said, i * wordMs + pause, std::max(i * wordMs + pause, (i + 1) * wordMs), 0.9}.toJson());
    }
    return list;
}

void write(const QString& path, const QJsonObject& object)
{
    QFile file(path);
    if (file.open(QIODevice::WriteOnly))
        file.write(QJsonDocument(object).toJson(QJsonDocument::Compact));
}

/// Counts what is painted of a widget.
class PaintCount : public QObject {
public:
    int paints = 0;

protected:
    bool eventFilter(QObject*, QEvent* event) override
    {
        paints += event->type() == QEvent::Paint;
        return false;
    }
};

/// The transcript in a window of its own, over an editor without a player: what is measured is not the preview.
class Page {
public:
    explicit Page(bool inParagraphs = true)
        : m_path(m_folder.filePath(text("take.mov")))
    {
        writeMovie(m_path);
        write(m_folder.filePath(text("take_sync.json")), {});
        write(m_folder.filePath(text("take_transcript.json")),
            {{text("words"), words(inParagraphs)}, {text("timeBase"), text("screenFile")}, {text("aligned"), true}});
        // The first to hear of a change starts the clock, the last one paints and stops it.
        for (const auto signal : {&Editor::takeChanged, &Editor::cutsChanged})
            QObject::connect(&m_editor, signal, &m_editor, [this] { m_startedAt = now(); });
        m_view = std::make_unique<TranscriptView>(m_editor);
        for (const auto signal : {&Editor::takeChanged, &Editor::cutsChanged})
            QObject::connect(&m_editor, signal, m_view.get(), [this] { paint(); });
        m_view->resize(cardSize);
        m_view->textView().viewport()->installEventFilter(&m_count);
        m_view->show();
        m_view->setFocus();
        QCoreApplication::processEvents();
        open();
        while (!m_editor.built())
            QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
        cut();
    }

    /// Seconds from the new words to their first frame.
    double open()
    {
        double seconds = 0;
        const auto noted
            = QObject::connect(&m_editor, &Editor::takeChanged, [&] { seconds = m_paintedAt - m_startedAt; });
        m_editor.open(m_path);
        QObject::disconnect(noted);
        return seconds;
    }

    /// Seconds from an edit of one word to its frame, without what the editor itself does.
    double restyle(int word)
    {
        m_editor.toggleWords({word});
        return m_paintedAt - m_startedAt;
    }

    /// Seconds for the highlight to go to a word in sight, painted.
    double highlight(int word)
    {
        const double startedAt = now();
        m_view->coordinator().highlight(word);
        paint();
        return m_paintedAt - startedAt;
    }

    /// Seconds from the key to the frame for cutting ten words or restoring them.
    double deleteTen(int word)
    {
        const std::vector<TextRange>& ranges = m_view->coordinator().wordRanges();
        const TextRange first = ranges[size_t(word)];
        m_view->textView().setSelectedRange({first.location, ranges[size_t(word) + 9].end() - first.location});
        paint();
        QKeyEvent press(QEvent::KeyPress, Qt::Key_Delete, Qt::NoModifier);
        const double startedAt = now();
        const int before = m_count.paints;
        QCoreApplication::sendEvent(&m_view->textView(), &press);
        paint();
        // What the edit itself had painted may have been all.
        return m_count.paints > before ? now() - startedAt : std::numeric_limits<double>::infinity();
    }

private:
    static double now()
    {
        return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
    }

    void paint()
    {
        const int before = m_count.paints;
        QCoreApplication::sendPostedEvents(m_view.get(), QEvent::UpdateRequest);
        m_paintedAt = m_count.paints > before ? now() : std::numeric_limits<double>::infinity();
    }

    void cut()
    {
        Cuts cuts;
        std::vector<Span> spans;
        const double step = m_editor.sourceDurationMs() / cutCount;
        for (int i = 0; i < cutCount; ++i)
            spans.push_back({i * step + 2000, i * step + 5000});
        cuts.add(spans);
        m_editor.setCuts(cuts, text("Bench"));
    }

    QTemporaryDir m_folder;
    QString m_path;
    Editor m_editor{Editor::Sound::Muted};
    PaintCount m_count;
    std::unique_ptr<TranscriptView> m_view;
    double m_startedAt = 0;
    double m_paintedAt = 0;
};

Outcome judged(const std::function<double(int)>& measure, double targetMs)
{
    std::vector<double> seconds;
    for (int i = 0; i <= rounds; ++i)
        seconds.push_back(measure(i));
    seconds.erase(seconds.begin()); // The first one warms up.
    const double ms = median(seconds) * 1e3;
    return {ms, text("ms"), QStringLiteral("%1 ms").arg(targetMs), ms <= targetMs,
        QStringLiteral("at most %1 ms in %2 rounds")
            .arg(*std::max_element(seconds.begin(), seconds.end()) * 1e3, 0, 'f', 2)
            .arg(rounds)};
}

Outcome painted(bool inParagraphs)
{
    Page page(inParagraphs);
    return judged([&](int) { return page.open(); }, 150);
}

Outcome restyled(bool inParagraphs)
{
    Page page(inParagraphs);
    return judged([&](int round) { return page.restyle(20 + round % 5); }, 8);
}

Outcome highlighted()
{
    Page page(false);
    return judged([&](int round) { return page.highlight(20 + round); }, 2);
}

Outcome deleted()
{
    Page page;
    return judged([&](int round) { return page.deleteTen(20 + round); }, 16);
}

} // namespace

std::vector<Row> transcriptRows()
{
    return {{text("page-paint"), text("transcript of 25,000 words painted, from the new words to the first frame"),
                [] { return painted(true); }},
        {text("page-paint-endless"), text("the same in one paragraph"), [] { return painted(false); }},
        {text("page-restyle"), text("restyle and frame after one edit in it, 500 cuts"), [] { return restyled(true); }},
        {text("page-restyle-endless"), text("the same in one paragraph"), [] { return restyled(false); }},
        {text("page-highlight"), text("playhead highlight's step in one paragraph, with its frame"), highlighted},
        {text("page-delete"), text("key to frame, deleting 10 of 25,000 words, 500 cuts, without the preview"),
            deleted}};
}

} // namespace kelmo::bench
