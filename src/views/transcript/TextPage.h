#pragma once

#include "views/transcript/PageLines.h"
#include "views/transcript/StyledRange.h"

#include <QPainter>
#include <QTextLayout>

#include <memory>
#include <optional>
#include <unordered_map>

namespace kelmo {

/// The transcript as a page: a text, the looks of its words, and where each character is. Knows no widget. The lines
/// are broken once per text and width; only those that are looked at have a layout, and a changed look costs the lines
/// that it is on. Positions are UTF-16 units of the text, places logical pixels from the page's corner. Main thread
/// only.
class TextPage {
public:
    explicit TextPage(const QFont& font);

    void setText(const QString& text); ///< Forgets the looks.
    void setFont(const QFont& font);
    void setWidth(double width);
    /// Requires: ranges inside the text, ascending. Returns the lines on which anything looks different now.
    std::vector<int> setStyles(std::vector<StyledRange> styles);

    [[nodiscard]] const QString& text() const { return m_text; }
    [[nodiscard]] int length() const { return int(m_text.size()); }
    [[nodiscard]] const std::vector<StyledRange>& styles() const { return m_styles; }
    [[nodiscard]] const PageLines& lines() const { return m_lines; }
    [[nodiscard]] double width() const { return m_width; }
    /// The word that a position is in or right after; nothing before the first one and in a text without words.
    [[nodiscard]] std::optional<TextRange> wordAt(int position) const;

    // Places.
    [[nodiscard]] int positionAt(QPointF point) const; ///< The nearest; the text's end below the last line.
    [[nodiscard]] int positionIn(int line, double x) const; ///< The nearest in a line.
    [[nodiscard]] int lastPositionIn(int line) const; ///< The last one that still shows in this line.
    [[nodiscard]] QPointF caretTop(int position) const; ///< Where a caret stands; it is a line's box high.
    /// The boxes of lines that a range covers, one or more for each line, in order.
    [[nodiscard]] std::vector<QRectF> boxes(TextRange range) const;

    // The next and the previous position that a caret may stand at, or the text's end and start.
    [[nodiscard]] int after(int position) const;
    [[nodiscard]] int before(int position) const;

    void drawLine(QPainter& painter, int line) const;

private:
    void flow();
    [[nodiscard]] const QTextLayout& layout(int line) const;
    [[nodiscard]] QList<QTextLayout::FormatRange> formats(const PageLines::Line& line) const;
    [[nodiscard]] std::optional<TextRange> wordUnder(int line, double x) const;
    void addBoxes(std::vector<QRectF>& boxes, int line, int from, int to) const;
    void strike(QPainter& painter, int line) const;
    [[nodiscard]] std::vector<StyledRange>::const_iterator firstStyleEndingAfter(int position) const;

    QFont m_font;
    QString m_text;
    double m_width = 600;
    PageLines m_lines;
    std::vector<StyledRange> m_styles;
    mutable std::unordered_map<int, std::unique_ptr<QTextLayout>> m_layouts; ///< By line, of those looked at lately.
};

} // namespace kelmo
