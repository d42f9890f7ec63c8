// The slide with the written talk, on which words are struck out.
#include "tools/sample-take/SlideStyle.h"
#include "tools/sample-take/Slides.h"

#include <QFontMetricsF>

namespace kelmo {

namespace {

struct PageWord {
    QString text;
    int struckAt = 0; ///< The step that strikes it out; 0 for a word that stays.
};

const std::vector<PageWord>& pageWords()
{
    static const std::vector<PageWord> words = [] {
        const QString text = QStringLiteral("Every film begins as a heap of sentences, and #um, most of them are too "
                                            "long. You say a thing, then @you @say @the @thing @again, because the "
                                            "first time felt clumsy. On paper you would simply cross it out.");
        std::vector<PageWord> result;
        for (const QString& word : text.split(u' ')) {
            const int step = word.startsWith(u'#') ? 2 : word.startsWith(u'@') ? 3 : 0;
            result.push_back({step == 0 ? word : word.mid(1), step});
        }
        return result;
    }();
    return words;
}

void paintWord(QPainter& painter, QPointF baseline, double width, const PageWord& word, const SlideState& state)
{
    const double struck = word.struckAt == 0 ? 0 : style::shown(state, word.struckAt);
    if (word.struckAt > 0) {
        painter.setPen(Qt::NoPen);
        painter.setBrush(style::faded(style::Coral, 0.28 - 0.14 * struck));
        painter.drawRoundedRect(QRectF(baseline.x() - 7, baseline.y() - 40, width + 14, 54), 9, 9);
    }
    const QColor ink(0x22, 0x29, 0x3a);
    style::write(painter, baseline, word.text, style::body(42), style::faded(ink, 1 - 0.55 * struck));
    if (struck > 0)
        painter.fillRect(QRectF(baseline.x() - 4, baseline.y() - 16, (width + 8) * struck, 4), style::Coral);
}

void paintStrip(QPainter& painter, const SlideState& state)
{
    // Below the page the same talk as a strip: what is struck out above closes up here.
    const double firstCut = style::shown(state, 2);
    const double secondCut = style::shown(state, 3);
    const double gone = 26 * firstCut + 150 * secondCut;
    const QRectF strip(1330, 470, 450 - gone, 110);
    style::write(painter, {1330, 420}, QStringLiteral("The film, meanwhile"), style::body(30), style::Dim);
    painter.setPen(QPen(style::PanelEdge, 1.5));
    painter.setBrush(style::Panel);
    painter.drawRoundedRect(QRectF(1318, 456, 474, 138), 16, 16);
    painter.setPen(Qt::NoPen);
    painter.setBrush(style::Yellow);
    painter.drawRoundedRect(strip, 10, 10);
    style::waveform(painter, strip.adjusted(22, 16, -22, -16), static_cast<int>(strip.width() / 9), 4,
        [](double) { return style::faded(style::Ink, 0.75); });
    const double seconds = 21.4 - 0.6 * firstCut - 3.1 * secondCut;
    style::write(painter, {1330, 664}, QString::number(seconds, 'f', 1) + QStringLiteral(" s"), style::headline(56),
        style::Text);
}

} // namespace

void paintPageSlide(QPainter& painter, const SlideState& state)
{
    style::title(painter, QStringLiteral("The same talk, written down"));
    const QRectF page(140, 300, 1100, 590);
    painter.setPen(Qt::NoPen);
    painter.setBrush(QColor(0, 0, 0, 70));
    painter.drawRoundedRect(page.translated(0, 10), 20, 20);
    painter.setBrush(QColor(0xfb, 0xf8, 0xf1));
    painter.drawRoundedRect(page, 20, 20);

    const QFontMetricsF metrics(style::body(42));
    const double times = style::shown(state, 1);
    QPointF at(page.left() + 70, page.top() + 100);
    int number = 0;
    for (const PageWord& word : pageWords()) {
        const double width = metrics.horizontalAdvance(word.text);
        if (at.x() + width > page.right() - 70)
            at = QPointF(page.left() + 70, at.y() + 92);
        paintWord(painter, at, width, word, state);
        if (number++ % 4 == 0)
            style::write(painter, at + QPointF(0, 34),
                QStringLiteral("0:%1").arg(number * 21 / 44 + 4, 2, 10, QLatin1Char('0')), style::body(20),
                style::faded(QColor(0x9a, 0x8f, 0x7a), times));
        at.rx() += width + 15;
    }
    paintStrip(painter, state);
}

} // namespace kelmo
