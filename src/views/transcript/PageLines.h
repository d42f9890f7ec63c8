#pragma once

#include <QFont>
#include <QString>
#include <QTextOption>

#include <vector>

namespace kelmo {

/// Where the lines of a text begin when it flows down a page of some width. Qt breaks the lines; only their places are
/// kept, so that an hour of talk takes little room and one line can be laid out again without its neighbours. Lengths
/// are logical pixels from the top of the page. Main thread only.
class PageLines {
public:
    struct Line {
        int start = 0; ///< Its first character.
        int end = 0; ///< After its last one; a line feed that ends its paragraph lies outside.
        double top = 0; ///< Of the line's box, which is `pitch` high.
        bool rightToLeft = false; ///< Its paragraph reads so.
    };

    static constexpr double pitch = 24;
    static constexpr double betweenParagraphs = 12;

    /// Breaks the whole text again. There is at least one line, even of an empty text.
    void flow(const QString& text, const QFont& font, double width);

    [[nodiscard]] int count() const { return int(m_lines.size()); }
    [[nodiscard]] const Line& line(int index) const { return m_lines[size_t(index)]; }
    /// The line that a caret before this character stands in.
    [[nodiscard]] int indexOf(int position) const;
    /// The line at a height, the first or last one beyond the page's ends; the space above a paragraph belongs to it.
    [[nodiscard]] int indexAt(double y) const;
    [[nodiscard]] double height() const { return m_lines.back().top + pitch; }

    /// The text as it is laid out: what would break or move a line by itself counts as a space.
    [[nodiscard]] static QString shown(const QString& text, int start, int end);
    [[nodiscard]] static QTextOption option(bool rightToLeft, QTextOption::WrapMode wrap);

private:
    void flowParagraph(const QString& text, int start, int end, const QFont& font, double width);

    std::vector<Line> m_lines{Line()};
    double m_top = 0; ///< Of the next line, while flowing.
};

} // namespace kelmo
