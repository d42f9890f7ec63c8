#include "views/transcript/TextCaret.h"

#include <algorithm>

namespace kelmo {

namespace {

struct Binding {
    QKeySequence::StandardKey key;
    TextCaret::Move move;
};

using Step = TextCaret::Step;
using Anchor = TextCaret::Anchor;

constexpr std::array bindings{
    Binding{QKeySequence::MoveToPreviousChar, {Step::Left, Anchor::Follows}},
    Binding{QKeySequence::MoveToNextChar, {Step::Right, Anchor::Follows}},
    Binding{QKeySequence::MoveToPreviousWord, {Step::WordLeft, Anchor::Follows}},
    Binding{QKeySequence::MoveToNextWord, {Step::WordRight, Anchor::Follows}},
    Binding{QKeySequence::MoveToPreviousLine, {Step::Up, Anchor::Follows}},
    Binding{QKeySequence::MoveToNextLine, {Step::Down, Anchor::Follows}},
    Binding{QKeySequence::MoveToPreviousPage, {Step::PageUp, Anchor::Follows}},
    Binding{QKeySequence::MoveToNextPage, {Step::PageDown, Anchor::Follows}},
    Binding{QKeySequence::MoveToStartOfLine, {Step::LineStart, Anchor::Follows}},
    Binding{QKeySequence::MoveToEndOfLine, {Step::LineEnd, Anchor::Follows}},
    Binding{QKeySequence::MoveToStartOfDocument, {Step::TextStart, Anchor::Follows}},
    Binding{QKeySequence::MoveToEndOfDocument, {Step::TextEnd, Anchor::Follows}},
    Binding{QKeySequence::SelectPreviousChar, {Step::Left, Anchor::Stays}},
    Binding{QKeySequence::SelectNextChar, {Step::Right, Anchor::Stays}},
    Binding{QKeySequence::SelectPreviousWord, {Step::WordLeft, Anchor::Stays}},
    Binding{QKeySequence::SelectNextWord, {Step::WordRight, Anchor::Stays}},
    Binding{QKeySequence::SelectPreviousLine, {Step::Up, Anchor::Stays}},
    Binding{QKeySequence::SelectNextLine, {Step::Down, Anchor::Stays}},
    Binding{QKeySequence::SelectPreviousPage, {Step::PageUp, Anchor::Stays}},
    Binding{QKeySequence::SelectNextPage, {Step::PageDown, Anchor::Stays}},
    Binding{QKeySequence::SelectStartOfLine, {Step::LineStart, Anchor::Stays}},
    Binding{QKeySequence::SelectEndOfLine, {Step::LineEnd, Anchor::Stays}},
    Binding{QKeySequence::SelectStartOfDocument, {Step::TextStart, Anchor::Stays}},
    Binding{QKeySequence::SelectEndOfDocument, {Step::TextEnd, Anchor::Stays}},
};

bool isVertical(Step step)
{
    return step == Step::Up || step == Step::Down || step == Step::PageUp || step == Step::PageDown;
}

} // namespace

std::optional<TextCaret::Move> TextCaret::moveFor(const QKeyEvent& key)
{
    const auto binding = std::find_if(
        bindings.begin(), bindings.end(), [&](const Binding& candidate) { return key.matches(candidate.key); });
    return binding == bindings.end() ? std::nullopt : std::optional(binding->move);
}

TextRange TextCaret::selection() const { return {std::min(m_anchor, m_position), std::abs(m_position - m_anchor)}; }

void TextCaret::set(TextRange selection)
{
    m_anchor = std::clamp(selection.location, 0, m_page.length());
    m_position = std::clamp(selection.end(), m_anchor, m_page.length());
    m_x.reset();
}

void TextCaret::move(Move move, double pageHeight)
{
    if (!isVertical(move.step))
        m_x.reset();
    const TextRange selected = selection();
    const bool collapses = move.anchor == Anchor::Follows && selected.length > 0
        && (move.step == Step::Left || move.step == Step::Right);
    if (collapses)
        m_position = move.step == Step::Left ? selected.location : selected.end();
    else
        m_position = target(move.step, pageHeight);
    if (move.anchor == Anchor::Follows)
        m_anchor = m_position;
}

int TextCaret::target(Step step, double pageHeight)
{
    const int line = m_page.lines().indexOf(m_position);
    switch (step) {
    case Step::Left:
    case Step::Right:
    case Step::WordLeft:
    case Step::WordRight:
        return sideways(step);
    case Step::Up:
        return downwards(-PageLines::pitch);
    case Step::Down:
        return downwards(PageLines::pitch);
    case Step::PageUp:
        return downwards(-pageHeight);
    case Step::PageDown:
        return downwards(pageHeight);
    case Step::LineStart:
        return m_page.lines().line(line).start;
    case Step::LineEnd:
        return m_page.lastPositionIn(line);
    case Step::TextStart:
        return 0;
    case Step::TextEnd:
        return m_page.length();
    }
    return m_position;
}

int TextCaret::sideways(Step step) const
{
    const bool mirrored = m_page.lines().line(m_page.lines().indexOf(m_position)).rightToLeft;
    const bool forward = (step == Step::Right || step == Step::WordRight) != mirrored;
    if (step == Step::WordLeft || step == Step::WordRight)
        return nextWord(forward);
    return forward ? m_page.after(m_position) : m_page.before(m_position);
}

int TextCaret::nextWord(bool forward) const
{
    const std::vector<StyledRange>& words = m_page.styles();
    const auto next = std::partition_point(words.begin(), words.end(), [&](const StyledRange& word) {
        return forward ? word.range.location <= m_position : word.range.location < m_position;
    });
    if (forward)
        return next == words.end() ? m_page.length() : next->range.location;
    return next == words.begin() ? 0 : std::prev(next)->range.location;
}

int TextCaret::downwards(double distance)
{
    const QPointF from = m_page.caretTop(m_position);
    m_x = m_x.value_or(from.x());
    const double y = from.y() + PageLines::pitch / 2 + distance;
    const int line = m_page.lines().indexOf(m_position);
    int aimed = m_page.lines().indexAt(y);
    if (aimed == line && y > 0 && y < m_page.lines().height()) // The gap between two paragraphs is no line.
        aimed = std::clamp(line + (distance > 0 ? 1 : -1), 0, m_page.lines().count() - 1);
    if (aimed == line)
        return distance > 0 ? m_page.length() : 0;
    return m_page.positionIn(aimed, *m_x);
}

void TextCaret::begin(int position, Unit unit)
{
    m_unit = unit;
    m_begun = {position, 0};
    if (unit != Unit::Character)
        m_begun = unitAt(position);
    set(m_begun);
}

void TextCaret::grow(int position)
{
    m_unit = Unit::Character;
    m_begun = {m_anchor, 0};
    extendTo(position);
}

void TextCaret::extendTo(int position)
{
    const TextRange reached = m_unit == Unit::Character ? TextRange{position, 0} : unitAt(position);
    const bool backwards = reached.location < m_begun.location;
    m_anchor = backwards ? m_begun.end() : m_begun.location;
    m_position = backwards ? reached.location : std::max(reached.end(), m_begun.end());
    m_x.reset();
}

TextRange TextCaret::unitAt(int position) const
{
    const QString& text = m_page.text();
    if (m_unit == Unit::Word) {
        const std::optional<TextRange> word = m_page.wordAt(position);
        return word && position <= word->end() ? *word : TextRange{position, 0};
    }
    const int start = position == 0 ? 0 : int(text.lastIndexOf(QChar::LineFeed, position - 1)) + 1;
    const qsizetype feed = text.indexOf(QChar::LineFeed, position);
    return {start, int(feed < 0 ? text.size() : feed) - start};
}

} // namespace kelmo
