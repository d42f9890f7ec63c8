// The slides that tell the story: the title, the old way, the chart, the advice.
#include "tools/sample-take/SlideStyle.h"
#include "tools/sample-take/Slides.h"

namespace kelmo {

namespace {

void bullet(QPainter& painter, double top, const QString& text, double opacity)
{
    painter.setPen(Qt::NoPen);
    painter.setBrush(style::faded(style::Yellow, opacity));
    painter.drawRoundedRect(QRectF(140, top + 13, 14, 14), 4, 4);
    style::write(
        painter, {184, top + 34 + (1 - opacity) * 14}, text, style::body(40), style::faded(style::Text, opacity));
}

void paintCutMark(QPainter& painter, double x, const QRectF& place, double opacity)
{
    painter.setPen(QPen(style::faded(style::Coral, opacity), 3));
    painter.drawLine(QPointF(x, place.top() - 16), QPointF(x, place.bottom() + 16));
    painter.setBrush(style::faded(style::Coral, opacity));
    painter.setPen(Qt::NoPen);
    painter.drawEllipse(QPointF(x, place.top() - 24), 9, 9);
}

/// A timeline as editors draw it: tracks of clips with a ruler above, and a mark at every cough.
void paintOldTimeline(QPainter& painter, const SlideState& state)
{
    const QRectF frame(920, 310, 860, 520);
    style::panel(painter, frame);
    for (int tick = 0; tick <= 20; ++tick) {
        const double x = frame.left() + 40 + tick * 39;
        painter.fillRect(QRectF(x, frame.top() + 34, 2, tick % 5 == 0 ? 20 : 10), style::Faint);
    }
    const QRectF picture(frame.left() + 40, frame.top() + 84, 780, 84);
    for (int clip = 0; clip < 6; ++clip) {
        painter.setPen(Qt::NoPen);
        painter.setBrush(clip % 2 ? QColor(0x3a, 0x4d, 0x7a) : QColor(0x45, 0x5b, 0x8e));
        painter.drawRoundedRect(QRectF(picture.left() + clip * 130, picture.top(), 126, picture.height()), 8, 8);
    }
    for (int track = 0; track < 2; ++track) {
        const QRectF row(picture.left(), picture.bottom() + 34 + track * 142, picture.width(), 108);
        painter.setBrush(style::Ink);
        painter.setPen(Qt::NoPen);
        painter.drawRoundedRect(row.adjusted(-8, -8, 8, 8), 10, 10);
        const QColor colour = track == 0 ? style::Mint : style::Sky;
        style::waveform(painter, row, 104, track * 5 + 2, [&](double) { return style::faded(colour, 0.85); });
    }
    const double marks = style::shown(state, 2) * 9;
    for (int mark = 0; mark < 9; ++mark) {
        const double x = picture.left() + 46 + mark * 86 + (mark * 53) % 37;
        paintCutMark(painter, x, picture, std::clamp(marks - mark, 0.0, 1.0));
    }
}

struct Talk {
    QString name;
    int oldMinutes;
    int newMinutes;
};

void paintBar(
    QPainter& painter, double x, double baseline, double height, const QColor& colour, int value, double grown)
{
    const QRectF bar(x, baseline - height, 92, height);
    painter.setPen(Qt::NoPen);
    painter.setBrush(colour);
    painter.drawRoundedRect(bar, 10, 10);
    painter.fillRect(QRectF(x, std::max(bar.top(), baseline - 12), 92, std::min(12.0, height)), colour);
    painter.setFont(style::body(28, QFont::DemiBold));
    painter.setPen(style::faded(style::Text, grown));
    painter.drawText(QRectF(x - 20, bar.top() - 46, 132, 40), Qt::AlignCenter, QString::number(value));
}

void paintLegend(QPainter& painter, double x, const QColor& colour, const QString& text, double opacity)
{
    painter.setPen(Qt::NoPen);
    painter.setBrush(style::faded(colour, opacity));
    painter.drawRoundedRect(QRectF(x, 268, 24, 24), 6, 6);
    style::write(painter, {x + 40, 290}, text, style::body(28), style::faded(style::Dim, opacity));
}

} // namespace

void paintTitleSlide(QPainter& painter, const SlideState& state)
{
    style::write(
        painter, {140, 300}, QStringLiteral("A TALK ABOUT TALKS"), style::body(28, QFont::DemiBold), style::Yellow);
    style::write(painter, {134, 440}, QStringLiteral("Cut the words,"), style::headline(132), style::Text);
    style::write(painter, {134, 588}, QStringLiteral("keep the story"), style::headline(132), style::Text);
    const double underline = style::shown(state, 1);
    painter.fillRect(QRectF(140, 626, 860 * underline, 8), style::Yellow);
    style::write(painter, {140, 712}, QStringLiteral("Editing a video the way you edit a letter"), style::body(44),
        style::faded(style::Dim, style::shown(state, 2)));
    style::waveform(painter, QRectF(140, 780, 1640, 150), 150, 1, [](double place) {
        const bool kept = place < 0.31 || (place > 0.37 && place < 0.68) || place > 0.72;
        return kept ? style::faded(style::Sky, 0.55) : style::faded(style::Coral, 0.5);
    });
}

void paintOldWaySlide(QPainter& painter, const SlideState& state)
{
    style::title(painter, QStringLiteral("The old way"));
    bullet(painter, 352, QStringLiteral("Record for ten minutes"), style::shown(state, 1));
    bullet(painter, 446, QStringLiteral("Stare at it for an hour"), style::shown(state, 2));
    bullet(painter, 540, QStringLiteral("Hunt every cough by hand"), style::shown(state, 2));
    bullet(painter, 634, QStringLiteral("Know your own “er” by heart"), style::shown(state, 3));
    paintOldTimeline(painter, state);
}

void paintChartSlide(QPainter& painter, const SlideState& state)
{
    static const std::array<Talk, 4> talks
        = {{{QStringLiteral("Onboarding"), 58, 12}, {QStringLiteral("Release notes"), 64, 9},
            {QStringLiteral("Design review"), 55, 11}, {QStringLiteral("Conference"), 63, 12}}};
    constexpr double kBaseline = 870;
    constexpr double kPixelsPerMinute = 7.4;
    style::title(painter, QStringLiteral("Minutes at the editing desk"));
    const double oldGrown = style::shown(state, 1);
    const double newGrown = style::shown(state, 2);
    paintLegend(painter, 140, style::Faint, QStringLiteral("by the timeline"), oldGrown);
    paintLegend(painter, 420, style::Yellow, QStringLiteral("by the words"), newGrown);
    for (int minutes = 0; minutes <= 60; minutes += 20) {
        const double y = kBaseline - minutes * kPixelsPerMinute;
        painter.fillRect(QRectF(210, y, 1090, 1.5), style::faded(style::Faint, 0.6));
        style::write(painter, {140, y + 9}, QString::number(minutes), style::body(26), style::Dim);
    }
    for (size_t index = 0; index < talks.size(); ++index) {
        const double x = 250 + static_cast<double>(index) * 268;
        if (oldGrown > 0)
            paintBar(painter, x, kBaseline, talks[index].oldMinutes * kPixelsPerMinute * oldGrown, style::Faint,
                talks[index].oldMinutes, oldGrown);
        if (newGrown > 0)
            paintBar(painter, x + 102, kBaseline, talks[index].newMinutes * kPixelsPerMinute * newGrown, style::Yellow,
                talks[index].newMinutes, newGrown);
        painter.setFont(style::body(28));
        painter.setPen(style::Dim);
        painter.drawText(QRectF(x - 40, kBaseline + 18, 274, 40), Qt::AlignCenter, talks[index].name);
    }
    const double verdict = style::shown(state, 3);
    style::write(
        painter, {1370, 520}, QStringLiteral("11 min"), style::headline(116), style::faded(style::Yellow, verdict));
    style::write(painter, {1376, 580}, QStringLiteral("on average, instead of 60"), style::body(34),
        style::faded(style::Dim, verdict));
}

void paintAdviceSlide(QPainter& painter, const SlideState& state)
{
    struct Row {
        QString head;
        QString detail;
    };
    static const std::array<Row, 3> rows = {{{QStringLiteral("Talk first"), QStringLiteral("Mistakes are only words")},
        {QStringLiteral("Read it once"), QStringLiteral("Like a letter from a friend")},
        {QStringLiteral("Delete the boring bits"), QStringLiteral("You can always bring them back")}}};
    style::title(painter, QStringLiteral("My whole advice"));
    for (size_t index = 0; index < rows.size(); ++index) {
        const double opacity = style::shown(state, static_cast<int>(index) + 1);
        const double top = 320 + static_cast<double>(index) * 160 + (1 - opacity) * 18;
        painter.setOpacity(opacity);
        style::panel(painter, QRectF(140, top, 1000, 132));
        painter.setPen(Qt::NoPen);
        painter.setBrush(style::Yellow);
        painter.drawEllipse(QPointF(214, top + 66), 34, 34);
        painter.setPen(style::Ink);
        painter.setFont(style::body(34, QFont::Bold));
        painter.drawText(QRectF(180, top + 32, 68, 68), Qt::AlignCenter, QString::number(index + 1));
        style::write(painter, {286, top + 58}, rows[index].head, style::body(42, QFont::DemiBold), style::Text);
        style::write(painter, {286, top + 104}, rows[index].detail, style::body(30), style::Dim);
        painter.setOpacity(1);
    }
    style::write(painter, {140, 900}, QStringLiteral("Thank you. Happy cutting!"), style::headline(64),
        style::faded(style::Mint, style::shown(state, 4)));
}

} // namespace kelmo
