// The slide on which a short program is being typed.
#include "tools/sample-take/SlideStyle.h"
#include "tools/sample-take/Slides.h"

#include <QFontMetricsF>
#include <QSet>

namespace kelmo {

namespace {

const QString& alreadyThere()
{
    static const QString text = QStringLiteral("struct Span {\n"
                                               "    double start = 0;   // seconds\n"
                                               "    double end = 0;\n"
                                               "};\n"
                                               "\n"
                                               "// What is left when the cuts are gone.\n");
    return text;
}

const QString& toType()
{
    static const QString text = QStringLiteral("auto keep(const Spans& cuts, double length)\n"
                                               "{\n"
                                               "    Spans kept;\n"
                                               "    double at = 0;\n"
                                               "    for (const Span& cut : cuts) {\n"
                                               "        kept.push_back({at, cut.start});\n"
                                               "        at = cut.end;\n"
                                               "    }\n"
                                               "    kept.push_back({at, length});\n"
                                               "    return kept;\n"
                                               "}\n");
    return text;
}

constexpr double kLineHeight = 34;

bool isWordCharacter(QChar character) { return character.isLetterOrNumber() || character == u'_'; }

QColor colourOf(const QString& token)
{
    static const QSet<QString> keywords = {QStringLiteral("struct"), QStringLiteral("auto"), QStringLiteral("const"),
        QStringLiteral("for"), QStringLiteral("return")};
    static const QSet<QString> types = {QStringLiteral("Span"), QStringLiteral("Spans"), QStringLiteral("double")};
    if (keywords.contains(token))
        return QColor(0xc7, 0x9b, 0xff);
    if (types.contains(token))
        return style::Sky;
    if (token.front().isDigit())
        return style::Yellow;
    if (token == QLatin1String("keep") || token == QLatin1String("push_back"))
        return style::Mint;
    return isWordCharacter(token.front()) ? style::Text : style::Dim;
}

void paintCodeLine(QPainter& painter, QPointF baseline, const QString& line, double advance)
{
    const qsizetype comment = line.indexOf(QLatin1String("//"));
    const qsizetype codeEnd = comment < 0 ? line.size() : comment;
    for (qsizetype at = 0; at < codeEnd;) {
        qsizetype end = at + 1;
        if (isWordCharacter(line[at])) {
            while (end < codeEnd && isWordCharacter(line[end]))
                ++end;
        }
        const QString token = line.mid(at, end - at);
        style::write(
            painter, baseline + QPointF(static_cast<double>(at) * advance, 0), token, style::code(25), colourOf(token));
        at = end;
    }
    if (comment >= 0)
        style::write(painter, baseline + QPointF(static_cast<double>(comment) * advance, 0), line.mid(comment),
            style::code(25), QColor(0x6f, 0x7d, 0x9c));
}

void paintWindow(QPainter& painter, const QRectF& window)
{
    style::panel(painter, window, QColor(0x0b, 0x10, 0x1d));
    const std::array<QColor, 3> lights = {style::Coral, style::Yellow, style::Mint};
    painter.setPen(Qt::NoPen);
    for (size_t light = 0; light < lights.size(); ++light) {
        painter.setBrush(lights[light]);
        painter.drawEllipse(QPointF(window.left() + 34 + static_cast<double>(light) * 26, window.top() + 28), 7, 7);
    }
    style::write(painter, window.topLeft() + QPointF(140, 37), QStringLiteral("keep.cpp"), style::body(24), style::Dim);
    painter.fillRect(QRectF(window.left(), window.top() + 56, window.width(), 1.5), style::PanelEdge);
}

void paintDiagram(QPainter& painter, const SlideState& state)
{
    const std::array<double, 4> edges = {0, 0.34, 0.52, 1};
    const QRectF row(1370, 400, 410, 74);
    const double cut = style::shown(state, 1);
    const double joined = style::shown(state, 2);
    const double undone = style::shown(state, 3);
    style::write(painter, {1370, 370}, QStringLiteral("said"), style::body(28), style::Dim);
    for (size_t part = 0; part < 3; ++part) {
        const QRectF box(row.left() + edges[part] * row.width(), row.top(),
            (edges[part + 1] - edges[part]) * row.width() - 6, row.height());
        painter.setPen(Qt::NoPen);
        painter.setBrush(part == 1 ? style::faded(style::Coral, 0.25 + 0.75 * cut) : style::faded(style::Sky, 0.8));
        painter.drawRoundedRect(box, 10, 10);
    }
    painter.setOpacity(joined);
    style::write(painter, {1370, 560}, QStringLiteral("heard"), style::body(28), style::Dim);
    const double gap = (1 - joined) * 74;
    painter.setPen(Qt::NoPen);
    painter.setBrush(style::Yellow);
    painter.drawRoundedRect(QRectF(1370, 590, 0.34 * 410 - 6, 74), 10, 10);
    painter.drawRoundedRect(QRectF(1370 + 0.34 * 410 + gap, 590, 0.48 * 410 - 6, 74), 10, 10);
    painter.setOpacity(1);
    style::write(painter, {1370, 748}, QStringLiteral("Nothing is thrown away"), style::body(32, QFont::DemiBold),
        style::faded(style::Mint, undone));
}

} // namespace

const std::vector<double>& keyWeights()
{
    static const std::vector<double> weights = [] {
        std::vector<double> result;
        for (qsizetype at = 0; at < toType().size(); ++at) {
            const QChar character = toType()[at];
            const bool indent = character == u' ' && at > 0 && (toType()[at - 1] == u' ' || toType()[at - 1] == u'\n');
            // The editor indents by itself; a new line is a moment to think.
            result.push_back(indent ? 0 : character == u'\n' ? 2.6 : isWordCharacter(character) ? 1 : 1.35);
        }
        return result;
    }();
    return weights;
}

void paintCodeSlide(QPainter& painter, const SlideState& state)
{
    style::title(painter, QStringLiteral("Under the hood"));
    const QRectF window(140, 270, 1150, 702);
    paintWindow(painter, window);
    const double advance = QFontMetricsF(style::code(25)).horizontalAdvance(u'0');
    const QStringList lines = QString(alreadyThere() + toType().left(state.typed)).split(u'\n');
    for (qsizetype index = 0; index < lines.size(); ++index) {
        const QPointF baseline(window.left() + 96, window.top() + 98 + static_cast<double>(index) * kLineHeight);
        style::write(
            painter, baseline - QPointF(62, 0), QStringLiteral("%1").arg(index + 1, 2), style::code(21), style::Faint);
        paintCodeLine(painter, baseline, lines[index], advance);
        if (state.caret && index + 1 == lines.size())
            painter.fillRect(
                QRectF(baseline.x() + static_cast<double>(lines[index].size()) * advance + 1, baseline.y() - 24, 3, 31),
                style::Yellow);
    }
    paintDiagram(painter, state);
}

} // namespace kelmo
