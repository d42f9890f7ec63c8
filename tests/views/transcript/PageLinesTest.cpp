#include "views/transcript/PageLines.h"

#include "views/transcript/TextPage.h"

#include <QTextLayout>

#include <gtest/gtest.h>

namespace kelmo {

namespace {

constexpr double width = 500;

QFont font()
{
    QFont made;
    made.setPixelSize(15);
    return made;
}

QString talk(int words)
{
    QString text;
    for (int i = 0; i < words; ++i)
        text += QStringLiteral("word%1%2 ")
                    .arg(i * 7919 % 1000)
                    .arg(i % 11 ? QString() : QStringLiteral(", well-known"));
    return text.trimmed();
}

std::vector<int> startsByQt(const QString& text)
{
    QTextLayout layout(text, font());
    layout.setTextOption(PageLines::option(false, QTextOption::WrapAtWordBoundaryOrAnywhere));
    layout.beginLayout();
    std::vector<int> starts;
    for (QTextLine line = layout.createLine(); line.isValid(); line = layout.createLine()) {
        line.setLineWidth(width);
        starts.push_back(line.textStart());
    }
    layout.endLayout();
    return starts;
}

} // namespace

TEST(PageLines, flowOfALongParagraphBreaksWhereQtDoesInOnePiece)
{
    for (const QString& text : {talk(3000), QString(9000, QChar(u'\u65e5')), QString(9000, QLatin1Char('a'))}) {
        PageLines lines;
        lines.flow(text, font(), width);
        std::vector<int> starts;
        for (int i = 0; i < lines.count(); ++i)
            starts.push_back(lines.line(i).start);
        EXPECT_EQ(starts, startsByQt(text));
        EXPECT_EQ(lines.line(lines.count() - 1).end, text.size());
    }
}

TEST(PageLines, flowEveryCharacterIsInOneLineAndEveryHeightToo)
{
    PageLines lines;
    lines.flow(talk(60) + QStringLiteral("\n\nx\n"), font(), width);
    for (int i = 0; i < lines.count(); ++i) {
        EXPECT_EQ(lines.indexOf(lines.line(i).start), i);
        EXPECT_EQ(
            lines.indexOf(lines.line(i).end - (i + 1 < lines.count() && lines.line(i + 1).start == lines.line(i).end)),
            i);
        EXPECT_EQ(lines.indexAt(lines.line(i).top), i);
        EXPECT_EQ(lines.indexAt(lines.line(i).top + PageLines::pitch - 0.01), i);
    }
    EXPECT_EQ(lines.indexAt(-50), 0);
    EXPECT_EQ(lines.indexAt(1e6), lines.count() - 1);
    const int last = lines.count() - 1;
    EXPECT_EQ(lines.line(last).start, lines.line(last).end) << "an empty paragraph at the end";
    EXPECT_EQ(lines.line(last).top - lines.line(last - 1).top, PageLines::pitch + PageLines::betweenParagraphs);
}

TEST(TextPage, setStylesNamesTheLinesThatLookDifferent)
{
    TextPage page(font());
    page.setWidth(width);
    page.setText(talk(200));
    std::vector<StyledRange> styles;
    for (int at = 0; at < page.length(); at += 10)
        styles.push_back({{at, 5}, WordStyle::Kept});
    EXPECT_EQ(int(page.setStyles(styles).size()), page.lines().count());
    EXPECT_TRUE(page.setStyles(styles).empty());
    styles[3].style = WordStyle::Cut;
    styles[40].style = WordStyle::Filler;
    const std::vector<int> changed{
        page.lines().indexOf(styles[3].range.location), page.lines().indexOf(styles[40].range.location)};
    EXPECT_EQ(page.setStyles(styles), changed);
}

TEST(TextPage, boxesOfMixedDirectionsLieWhereTheLettersAre)
{
    TextPage page(font());
    page.setWidth(width);
    const QString hebrew = QString::fromUtf8("שלום");
    const QString arabic = QString::fromUtf8("مرحبا");
    page.setText(QStringLiteral("first ") % hebrew % QStringLiteral(" ") % arabic % QStringLiteral(" last"));
    const auto boxOf = [&](const QString& part) {
        const std::vector<QRectF> boxes = page.boxes({int(page.text().indexOf(part)), int(part.size())});
        EXPECT_EQ(boxes.size(), 1u) << qPrintable(part);
        return boxes.front();
    };
    EXPECT_LT(boxOf(QStringLiteral("first")).right(), boxOf(arabic).left());
    EXPECT_LT(boxOf(arabic).right(), boxOf(hebrew).left()) << "the earlier word stands further right";
    EXPECT_LT(boxOf(hebrew).right(), boxOf(QStringLiteral("last")).left());
    const int across = int(page.text().indexOf(hebrew));
    EXPECT_EQ(page.boxes({0, across + 2}).size(), 2u) << "half of a word the other way is a piece of its own";
}

TEST(TextPage, positionsOfAParagraphFromTheRightStartThere)
{
    TextPage page(font());
    page.setWidth(width);
    page.setText(QString::fromUtf8("שלום עולם"));
    EXPECT_GT(page.caretTop(1).x(), width / 2);
    EXPECT_LT(page.caretTop(8).x(), page.caretTop(1).x());
    EXPECT_EQ(page.positionAt({page.caretTop(3).x(), 5}), 3);
}

} // namespace kelmo
