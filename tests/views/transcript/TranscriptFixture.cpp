#include "tests/views/transcript/TranscriptFixture.h"

#include "tests/movies/CodedMovie.h"

namespace kelmo {

std::vector<Word> TranscriptFixture::said(const QString& words)
{
    std::vector<Word> list;
    for (const QString& word : words.split(QLatin1Char(' '))) {
        const double start = double(list.size()) * 500;
        list.push_back({word, start, start + 400, {}});
    }
    return list;
}

std::vector<Word> TranscriptFixture::saidLong(int count)
{
    std::vector<Word> list;
    for (int i = 0; i < count; ++i)
        list.push_back({QStringLiteral("word%1").arg(i * 7919 % 1000), i * 100.0, i * 100.0 + 90, {}});
    return list;
}

void TranscriptFixture::open(const std::vector<Word>& words)
{
    writeMovie(std::max(4, words.empty() ? 0 : int(words.back().endMs / 1000) + 1));
    writeTranscript(words);
    m_editor.open(m_folder.filePath(QStringLiteral("talk.mov")));
    ASSERT_TRUE(QTest::qWaitFor([this] { return m_editor.built() != nullptr; }, 20'000));
}

void TranscriptFixture::writeTranscript(const std::vector<Word>& words) const
{
    QJsonArray list;
    for (const Word& word : words)
        list.append(word.toJson());
    QFile file(m_folder.filePath(QStringLiteral("talk_transcript.json")));
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(QJsonDocument(
        QJsonObject{{QStringLiteral("words"), list}, {QStringLiteral("timeBase"), QStringLiteral("screenFile")},
            {QStringLiteral("aligned"), true}})
                   .toJson());
}

void TranscriptFixture::writeMovie(int seconds) const
{
    CodedMovie movie;
    movie.spec = smallMovie(m_folder, QStringLiteral("talk.mov"));
    movie.spec.video->width = 160;
    movie.spec.video->height = 90;
    movie.spec.video->lastFrameDuration = 300;
    movie.times = steadyTimes(2 * seconds, 300);
    make(movie);
}

void TranscriptFixture::show(QSize size)
{
    m_view = std::make_unique<TranscriptView>(m_editor);
    m_view->resize(size);
    m_view->show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(m_view.get()));
    m_view->activateWindow();
    m_view->setFocus();
    ASSERT_TRUE(QTest::qWaitFor([this] { return text().hasFocus(); }));
}

void TranscriptFixture::select(const QString& part)
{
    const int at = int(shownText().indexOf(part));
    ASSERT_GE(at, 0) << qPrintable(part);
    text().setSelectedRange({at, int(part.size())});
}

QString TranscriptFixture::selected()
{
    const TextRange range = text().selectedRange();
    return shownText().mid(range.location, range.length);
}

QPoint TranscriptFixture::before(int position) { return text().caretBox(position).center().toPoint(); }

QPoint TranscriptFixture::in(const QString& part)
{
    const std::vector<QRectF> boxes = text().boxes({int(shownText().indexOf(part)), int(part.size())});
    return boxes.front().center().toPoint();
}

QStringList TranscriptFixture::struck()
{
    QStringList words;
    for (const StyledRange& word : text().page().styles()) {
        if (word.style == WordStyle::Cut)
            words.append(shownText().mid(word.range.location, word.range.length));
    }
    return words;
}

QImage TranscriptFixture::pixels(const QString& part)
{
    const QRectF box = text().boxes({int(shownText().indexOf(part)), int(part.size())}).front();
    const QPoint corner = text().viewport()->mapTo(m_view.get(), box.toRect().topLeft());
    return m_view->grab(QRect(corner, box.toRect().size())).toImage();
}

} // namespace kelmo
