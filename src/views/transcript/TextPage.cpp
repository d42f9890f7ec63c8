#include "views/transcript/TextPage.h"

#include "views/style/Theme.h"

#include <QFontMetricsF>
#include <QGlyphRun>

#include <algorithm>
#include <cmath>

namespace kelmo {

namespace {

const QColor keptColour = Theme::white(0.86);
const QColor fillerColour(255, 159, 10, 217); // The orange that desktops mark with, at 0.85.
const QColor cutColour = Theme::white(0.28);
const QColor strikeColour = Theme::white(0.4);

/// More lines than any screen shows at once.
constexpr size_t layoutsKept = 400;

QTextCharFormat formatOf(WordStyle style)
{
    QTextCharFormat format;
    format.setForeground(style == WordStyle::Cut ? cutColour : fillerColour);
    return format;
}

/// Every character stands after the one before it, each on its own.
bool isPlain(const QTextLayout& layout)
{
    constexpr char16_t firstCombining = 0x300;
    const QString text = layout.text();
    return layout.textOption().textDirection() == Qt::LeftToRight
        && std::all_of(text.begin(), text.end(), [](QChar character) { return character < QChar(firstCombining); });
}

} // namespace

TextPage::TextPage(const QFont& font)
    : m_font(font)
{
}

void TextPage::flow()
{
    m_layouts.clear();
    m_lines.flow(m_text, m_font, m_width);
}

void TextPage::setText(const QString& text)
{
    m_text = text;
    m_styles.clear();
    flow();
}

void TextPage::setFont(const QFont& font)
{
    m_font = font;
    flow();
}

void TextPage::setWidth(double width)
{
    if (width == m_width)
        return;
    m_width = width;
    flow();
}

std::vector<int> TextPage::setStyles(std::vector<StyledRange> styles)
{
    std::vector<int> changed;
    const bool sameRanges = styles.size() == m_styles.size();
    for (size_t i = 0; i < styles.size(); ++i) {
        if (sameRanges && styles[i] == m_styles[i])
            continue;
        const int last = m_lines.indexOf(std::max(styles[i].range.location, styles[i].range.end() - 1));
        for (int line = m_lines.indexOf(styles[i].range.location); line <= last; ++line) {
            if (changed.empty() || changed.back() < line)
                changed.push_back(line);
        }
    }
    m_styles = std::move(styles);
    for (const int line : changed)
        m_layouts.erase(line);
    return changed;
}

std::vector<StyledRange>::const_iterator TextPage::firstStyleEndingAfter(int position) const
{
    return std::partition_point(m_styles.begin(), m_styles.end(),
        [position](const StyledRange& style) { return style.range.end() <= position; });
}

std::optional<TextRange> TextPage::wordAt(int position) const
{
    const auto next = std::partition_point(m_styles.begin(), m_styles.end(),
        [position](const StyledRange& style) { return style.range.location <= position; });
    return next == m_styles.begin() ? std::nullopt : std::optional(std::prev(next)->range);
}

const QTextLayout& TextPage::layout(int index) const
{
    if (const auto known = m_layouts.find(index); known != m_layouts.end())
        return *known->second;
    if (m_layouts.size() >= layoutsKept)
        m_layouts.clear();
    const PageLines::Line& line = m_lines.line(index);
    auto layout = std::make_unique<QTextLayout>(PageLines::shown(m_text, line.start, line.end), m_font);
    layout->setCacheEnabled(true);
    layout->setTextOption(PageLines::option(line.rightToLeft, QTextOption::NoWrap));
    layout->setFormats(formats(line));
    layout->beginLayout();
    layout->createLine().setLineWidth(m_width);
    layout->endLayout();
    return *m_layouts.emplace(index, std::move(layout)).first->second;
}

QList<QTextLayout::FormatRange> TextPage::formats(const PageLines::Line& line) const
{
    QList<QTextLayout::FormatRange> formats;
    for (auto style = firstStyleEndingAfter(line.start); style != m_styles.end() && style->range.location < line.end;
         ++style) {
        if (style->style == WordStyle::Kept || style->range.length == 0)
            continue;
        const int from = std::max(style->range.location, line.start);
        const int to = std::min(style->range.end(), line.end);
        formats.append({from - line.start, to - from, formatOf(style->style)});
    }
    return formats;
}

int TextPage::lastPositionIn(int line) const
{
    if (line + 1 == m_lines.count())
        return length();
    const int next = m_lines.line(line + 1).start;
    // Before the line feed, or before the character after which the line broke.
    return m_text[next - 1] == QChar::LineFeed ? next - 1 : std::max(m_lines.line(line).start, before(next));
}

int TextPage::positionIn(int index, double x) const
{
    const PageLines::Line& line = m_lines.line(index);
    int position = line.start + layout(index).lineAt(0).xToCursor(x);
    if (!isPlain(layout(index))) {
        // Inside a cluster of many characters, as an emoji is one, Qt may name a position beyond it.
        if (const std::optional<TextRange> word = wordUnder(index, x))
            position = std::clamp(position, word->location, word->end());
    }
    return std::min(position, lastPositionIn(index));
}

std::optional<TextRange> TextPage::wordUnder(int index, double x) const
{
    const PageLines::Line& line = m_lines.line(index);
    for (auto word = firstStyleEndingAfter(line.start); word != m_styles.end() && word->range.location < line.end;
         ++word) {
        std::vector<QRectF> boxes;
        addBoxes(boxes, index, std::max(word->range.location, line.start), std::min(word->range.end(), line.end));
        const bool isUnder = std::any_of(
            boxes.begin(), boxes.end(), [x](const QRectF& box) { return box.left() <= x && x < box.right(); });
        if (isUnder)
            return word->range;
    }
    return std::nullopt;
}

int TextPage::positionAt(QPointF point) const
{
    if (point.y() >= m_lines.height())
        return length();
    return positionIn(m_lines.indexAt(point.y()), point.x());
}

QPointF TextPage::caretTop(int position) const
{
    const int index = m_lines.indexOf(position);
    const PageLines::Line& line = m_lines.line(index);
    return {layout(index).lineAt(0).cursorToX(position - line.start), line.top};
}

std::vector<QRectF> TextPage::boxes(TextRange range) const
{
    std::vector<QRectF> boxes;
    for (int i = m_lines.indexOf(range.location); i < m_lines.count() && m_lines.line(i).start < range.end(); ++i) {
        const PageLines::Line& line = m_lines.line(i);
        const int from = std::max(range.location, line.start);
        addBoxes(boxes, i, from, std::min(range.end(), line.end));
    }
    return boxes;
}

void TextPage::addBoxes(std::vector<QRectF>& boxes, int index, int from, int to) const
{
    if (from >= to)
        return;
    const PageLines::Line& line = m_lines.line(index);
    const QTextLayout& layout = this->layout(index);
    const QTextLine placed = layout.lineAt(0);
    const auto add = [&](double left, double right) {
        if (!boxes.empty() && boxes.back().top() == line.top && std::abs(boxes.back().right() - left) < 0.1)
            boxes.back().setRight(right);
        else
            boxes.emplace_back(left, line.top, right - left, PageLines::pitch);
    };
    if (isPlain(layout)) {
        add(placed.cursorToX(from - line.start), placed.cursorToX(to - line.start));
        return;
    }
    // Where directions meet, neighbours in the text need not stand beside each other.
    std::vector<std::pair<double, double>> extents;
    for (const QGlyphRun& run : placed.glyphRuns(from - line.start, to - from))
        extents.emplace_back(run.boundingRect().left(), run.boundingRect().right());
    std::sort(extents.begin(), extents.end());
    for (const auto& [left, right] : extents)
        add(left, right);
}

int TextPage::after(int position) const
{
    const int index = m_lines.indexOf(position);
    const PageLines::Line& line = m_lines.line(index);
    if (position < line.end)
        return line.start + layout(index).nextCursorPosition(position - line.start);
    return std::min(position + 1, length());
}

int TextPage::before(int position) const
{
    const int index = m_lines.indexOf(std::max(0, position - 1));
    const PageLines::Line& line = m_lines.line(index);
    if (position - 1 >= line.end || position <= line.start)
        return std::max(0, position - 1);
    return line.start + layout(index).previousCursorPosition(position - line.start);
}

void TextPage::drawLine(QPainter& painter, int index) const
{
    const QFontMetricsF metrics(m_font);
    const QTextLayout& layout = this->layout(index);
    const double baseline = (PageLines::pitch + metrics.ascent() - metrics.descent()) / 2;
    painter.setPen(keptColour);
    // A character from a taller font must not move its line.
    layout.draw(&painter, {0, m_lines.line(index).top + baseline - layout.lineAt(0).ascent()});
    strike(painter, index);
}

void TextPage::strike(QPainter& painter, int index) const
{
    const PageLines::Line& line = m_lines.line(index);
    const QFontMetricsF metrics(m_font);
    const double ratio = painter.deviceTransform().m22();
    const double baseline = (PageLines::pitch + metrics.ascent() - metrics.descent()) / 2;
    // On whole device pixels, so that every stroke is as thick as the next.
    const double middle = painter.deviceTransform().map(QPointF(0, line.top + baseline - metrics.strikeOutPos())).y();
    const double thickness = std::max(1.0, std::round(metrics.lineWidth() * ratio)) / ratio;
    const double top = line.top + baseline - metrics.strikeOutPos() + (std::round(middle) - middle) / ratio;
    for (auto style = firstStyleEndingAfter(line.start); style != m_styles.end() && style->range.location < line.end;
         ++style) {
        if (style->style != WordStyle::Cut)
            continue;
        std::vector<QRectF> boxes;
        addBoxes(boxes, index, std::max(style->range.location, line.start), std::min(style->range.end(), line.end));
        for (const QRectF& box : boxes)
            painter.fillRect(QRectF(box.left(), top, box.width(), thickness), strikeColour);
    }
}

} // namespace kelmo
