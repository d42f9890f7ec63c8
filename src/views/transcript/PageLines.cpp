#include "views/transcript/PageLines.h"

#include <QTextLayout>

#include <algorithm>

namespace kelmo {

namespace {

/// A take may be one paragraph of any length; laying out stretches of it keeps the cost of a character the same.
constexpr int stretchLength = 2000;

bool isMoving(QChar character)
{
    return character < QChar::Space || character == QChar::LineSeparator || character == QChar::ParagraphSeparator;
}

/// Where the lines of a text without paragraphs begin.
std::vector<int> lineStarts(const QString& text, const QFont& font, bool rightToLeft, double width)
{
    QTextLayout layout(text, font);
    layout.setTextOption(PageLines::option(rightToLeft, QTextOption::WrapAtWordBoundaryOrAnywhere));
    std::vector<int> starts;
    layout.beginLayout();
    for (QTextLine line = layout.createLine(); line.isValid(); line = layout.createLine()) {
        line.setLineWidth(width);
        starts.push_back(line.textStart());
    }
    layout.endLayout();
    return starts;
}

} // namespace

QString PageLines::shown(const QString& text, int start, int end)
{
    QString part = text.mid(start, end - start);
    std::replace_if(part.begin(), part.end(), isMoving, QChar(QChar::Space));
    return part;
}

QTextOption PageLines::option(bool rightToLeft, QTextOption::WrapMode wrap)
{
    QTextOption option;
    option.setWrapMode(wrap);
    option.setAlignment(rightToLeft ? Qt::AlignRight : Qt::AlignLeft);
    option.setTextDirection(rightToLeft ? Qt::RightToLeft : Qt::LeftToRight);
    return option;
}

void PageLines::flow(const QString& text, const QFont& font, double width)
{
    m_lines.clear();
    m_top = 0;
    for (int start = 0;;) {
        const qsizetype feed = text.indexOf(QChar::LineFeed, start);
        const int end = int(feed < 0 ? text.size() : feed);
        flowParagraph(text, start, end, font, width);
        if (feed < 0)
            return;
        start = end + 1;
        m_top += betweenParagraphs;
    }
}

void PageLines::flowParagraph(const QString& text, int start, int end, const QFont& font, double width)
{
    const bool rightToLeft = QStringView(text).mid(start, end - start).isRightToLeft();
    int room = stretchLength;
    do {
        const int taken = std::min(room, end - start);
        const bool isLast = start + taken == end;
        const std::vector<int> starts = lineStarts(shown(text, start, start + taken), font, rightToLeft, width);
        // A stretch's last line may go on in the next one, so that one begins with it.
        const size_t whole = isLast ? starts.size() : starts.size() - 1;
        if (whole == 0) {
            room *= 2;
            continue;
        }
        for (size_t i = 0; i < whole; ++i) {
            const int next = i + 1 < starts.size() ? start + starts[i + 1] : end;
            m_lines.push_back({start + starts[i], next, m_top, rightToLeft});
            m_top += pitch;
        }
        start = isLast ? end : start + starts.back();
    } while (start < end);
}

int PageLines::indexOf(int position) const
{
    const auto next = std::upper_bound(
        m_lines.begin(), m_lines.end(), position, [](int at, const Line& line) { return at < line.start; });
    return std::max(0, int(next - m_lines.begin()) - 1);
}

int PageLines::indexAt(double y) const
{
    const auto line = std::partition_point(
        m_lines.begin(), m_lines.end(), [y](const Line& candidate) { return candidate.top + pitch <= y; });
    return int(std::min(line, m_lines.end() - 1) - m_lines.begin());
}

} // namespace kelmo
