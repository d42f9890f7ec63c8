#include "views/transcript/AccessibleWordText.h"

namespace kelmo {

namespace {

QAccessibleInterface* make(const QString&, QObject* object)
{
    auto* view = qobject_cast<WordTextView*>(object);
    return view ? new AccessibleWordText(*view) : nullptr;
}

/// The range from one word's start to the next one's, as readers expect of words.
TextRange wordUnit(const TextPage& page, int offset)
{
    const std::vector<StyledRange>& words = page.styles();
    const auto next = std::partition_point(
        words.begin(), words.end(), [offset](const StyledRange& word) { return word.range.location <= offset; });
    const int start = next == words.begin() ? 0 : std::prev(next)->range.location;
    const int end = next == words.end() ? page.length() : next->range.location;
    return {start, end - start};
}

TextRange lineUnit(const TextPage& page, int offset)
{
    const int line = page.lines().indexOf(offset);
    const int start = page.lines().line(line).start;
    const int end = line + 1 < page.lines().count() ? page.lines().line(line + 1).start : page.length();
    return {start, end - start};
}

TextRange paragraphUnit(const TextPage& page, int offset)
{
    const int start = offset == 0 ? 0 : int(page.text().lastIndexOf(QChar::LineFeed, offset - 1)) + 1;
    const qsizetype feed = page.text().indexOf(QChar::LineFeed, offset);
    return {start, int(feed < 0 ? page.length() : feed + 1) - start};
}

const char* attributesOf(WordStyle style)
{
    switch (style) {
    case WordStyle::Cut:
        return "text-line-through-type:single;color:rgb(86,86,87);";
    case WordStyle::Filler:
        return "color:rgb(255,159,10);";
    case WordStyle::Kept:
        break;
    }
    return "";
}

} // namespace

void AccessibleWordText::install() { QAccessible::installFactory(make); }

void AccessibleWordText::tellText(WordTextView& view, const QString& before)
{
    if (!QAccessible::isActive())
        return;
    QAccessibleTextUpdateEvent event(&view, 0, before, view.page().text());
    QAccessible::updateAccessibility(&event);
}

void AccessibleWordText::tellCaret(WordTextView& view, TextRange before)
{
    if (!QAccessible::isActive())
        return;
    const TextRange selected = view.selectedRange();
    QAccessibleTextCursorEvent moved(&view, view.caretPosition());
    QAccessible::updateAccessibility(&moved);
    tellCuts(view);
    if (selected == before || (selected.length == 0 && before.length == 0))
        return;
    QAccessibleTextSelectionEvent selects(&view, selected.location, selected.end());
    QAccessible::updateAccessibility(&selects);
}

void AccessibleWordText::tellCuts(WordTextView& view)
{
    if (!QAccessible::isActive())
        return;
    QAccessibleEvent event(&view, QAccessible::DescriptionChanged);
    QAccessible::updateAccessibility(&event);
}

AccessibleWordText::AccessibleWordText(WordTextView& view)
    : QAccessibleWidget(&view, QAccessible::EditableText)
{
}

WordTextView& AccessibleWordText::view() const { return *static_cast<WordTextView*>(widget()); }

QString AccessibleWordText::text(QAccessible::Text kind) const
{
    const QString cut = kind == QAccessible::Description ? whatIsCut() : QString();
    return cut.isEmpty() ? QAccessibleWidget::text(kind) : cut;
}

/// Whether the caret's word is cut, and how many are; empty when none is.
QString AccessibleWordText::whatIsCut() const
{
    const std::vector<StyledRange>& words = page().styles();
    const auto isCut = [](const StyledRange& word) { return word.style == WordStyle::Cut; };
    const auto count = std::count_if(words.begin(), words.end(), isCut);
    if (count == 0)
        return {};
    const QString all = QStringLiteral("%1 of %2 words are cut").arg(count).arg(words.size());
    const std::optional<TextRange> here = page().wordAt(view().caretPosition());
    const bool hereIsCut = here && std::any_of(words.begin(), words.end(), [&](const StyledRange& word) {
        return word.range == *here && isCut(word);
    });
    return hereIsCut ? QStringLiteral("“") % text(here->location, here->end()) % QStringLiteral("” is cut, ") % all
                     : all;
}

QAccessible::State AccessibleWordText::state() const
{
    QAccessible::State state = QAccessibleWidget::state();
    state.readOnly = true;
    state.multiLine = true;
    state.selectableText = true;
    return state;
}

void* AccessibleWordText::interface_cast(QAccessible::InterfaceType type)
{
    if (type == QAccessible::TextInterface)
        return static_cast<QAccessibleTextInterface*>(this);
    return QAccessibleWidget::interface_cast(type);
}

void AccessibleWordText::selection(int index, int* start, int* end) const
{
    const TextRange selected = index == 0 ? view().selectedRange() : TextRange();
    *start = selected.location;
    *end = selected.end();
}

int AccessibleWordText::selectionCount() const { return view().selectedRange().length > 0 ? 1 : 0; }

void AccessibleWordText::addSelection(int start, int end) { setSelection(0, start, end); }

void AccessibleWordText::removeSelection(int index)
{
    if (index == 0)
        view().setSelectedRange({view().caretPosition(), 0});
}

void AccessibleWordText::setSelection(int index, int start, int end)
{
    if (index == 0)
        view().setSelectedRange({std::min(start, end), std::abs(end - start)});
}

int AccessibleWordText::cursorPosition() const { return view().caretPosition(); }

void AccessibleWordText::setCursorPosition(int position)
{
    view().setSelectedRange({position, 0});
    view().reveal({position, 0});
}

QString AccessibleWordText::text(int start, int end) const
{
    const int from = std::clamp(start, 0, page().length());
    return page().text().mid(from, std::clamp(end, from, page().length()) - from);
}

int AccessibleWordText::characterCount() const { return page().length(); }

TextRange AccessibleWordText::unit(int offset, QAccessible::TextBoundaryType boundary) const
{
    switch (boundary) {
    case QAccessible::CharBoundary:
        return {offset, page().after(offset) - offset};
    case QAccessible::WordBoundary:
        return wordUnit(page(), offset);
    case QAccessible::LineBoundary:
        return lineUnit(page(), offset);
    case QAccessible::SentenceBoundary:
    case QAccessible::ParagraphBoundary:
        return paragraphUnit(page(), offset);
    case QAccessible::NoBoundary:
        break;
    }
    return {0, page().length()};
}

QString AccessibleWordText::report(std::optional<TextRange> range, int* start, int* end) const
{
    *start = range ? range->location : -1;
    *end = range ? range->end() : -1;
    return range ? text(*start, *end) : QString();
}

QString AccessibleWordText::textAtOffset(int offset, QAccessible::TextBoundaryType boundary, int* start, int* end) const
{
    const bool inside = offset >= 0 && offset <= page().length();
    return report(inside ? std::optional(unit(offset, boundary)) : std::nullopt, start, end);
}

QString AccessibleWordText::textBeforeOffset(
    int offset, QAccessible::TextBoundaryType boundary, int* start, int* end) const
{
    const bool inside = offset >= 0 && offset <= page().length();
    const int from = inside ? unit(offset, boundary).location : 0;
    return report(from > 0 ? std::optional(unit(page().before(from), boundary)) : std::nullopt, start, end);
}

QString AccessibleWordText::textAfterOffset(
    int offset, QAccessible::TextBoundaryType boundary, int* start, int* end) const
{
    const bool inside = offset >= 0 && offset <= page().length();
    const int next = inside ? unit(offset, boundary).end() : page().length();
    return report(next < page().length() ? std::optional(unit(next, boundary)) : std::nullopt, start, end);
}

QRect AccessibleWordText::characterRect(int offset) const
{
    if (offset < 0 || offset > page().length())
        return {};
    const std::vector<QRectF> boxes = view().boxes({offset, page().after(offset) - offset});
    const QRect box = (boxes.empty() ? view().caretBox(offset) : boxes.front()).toAlignedRect();
    return {view().viewport()->mapToGlobal(box.topLeft()), box.size()};
}

int AccessibleWordText::offsetAtPoint(const QPoint& onScreen) const
{
    const QPoint at = view().viewport()->mapFromGlobal(onScreen);
    return view().viewport()->rect().contains(at) ? view().positionAt(at) : -1;
}

void AccessibleWordText::scrollToSubstring(int start, int end) { view().reveal({start, std::max(0, end - start)}); }

QString AccessibleWordText::attributes(int offset, int* start, int* end) const
{
    const std::vector<StyledRange>& words = page().styles();
    const auto word = std::partition_point(
        words.begin(), words.end(), [offset](const StyledRange& each) { return each.range.end() <= offset; });
    if (word == words.end() || word->range.location > offset) {
        *start = word == words.begin() ? 0 : std::prev(word)->range.end();
        *end = word == words.end() ? page().length() : word->range.location;
        return {};
    }
    *start = word->range.location;
    *end = word->range.end();
    return QString::fromLatin1(attributesOf(word->style));
}

} // namespace kelmo
