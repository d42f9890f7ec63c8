#include "views/transcript/Coordinator.h"

#include "platform/MonotonicClock.h"
#include "telemetry/Log.h"

#include <QScopedValueRollback>

namespace kelmo {

namespace {

/// A longer silence starts a new paragraph.
constexpr double paragraphPauseMs = 1500;

double middle(const Word& word) { return (word.startMs + word.endMs) / 2; }

} // namespace

Coordinator::Coordinator(Editor& editor, WordTextView* textView, QObject* parent)
    : QObject(parent)
    , m_editor(editor)
    , m_textView(textView)
{
    connect(textView, &WordTextView::selectionChanged, this, &Coordinator::textViewDidChangeSelection);
}

void Coordinator::bind()
{
    connect(&m_editor.playhead(), &Playhead::wordChanged, this, [this] { highlight(m_editor.playhead().word()); });
    connect(&m_editor, &Editor::selectionChanged, this, [this] { select(m_editor.selection()); });
    highlight(m_editor.playhead().word());
    select(m_editor.selection());
}

void Coordinator::sync()
{
    if (!m_textView)
        return;
    if (m_editor.takeRevision() != m_takeRevision)
        rebuild();
    if (m_editor.cutRevision() != m_cutRevision) {
        m_cutRevision = m_editor.cutRevision();
        restyle();
        showHighlight();
    }
}

void Coordinator::rebuild()
{
    m_takeRevision = m_editor.takeRevision();
    const double startedAt = MonotonicClock::nowMs();
    const QString text = flow();
    m_fillers.clear();
    for (const Word& word : m_editor.words())
        m_fillers.push_back(EditOps::isFiller(word.text));
    m_highlighted.reset();
    {
        const QScopedValueRollback<bool> guard(m_programmatic, true);
        m_textView->setText(text);
    }
    m_cutRevision = -1;
    Log::line(u"timing",
        QStringLiteral("transcript painted: ") % QString::number(MonotonicClock::nowMs() - startedAt, 'f', 0)
            % QStringLiteral(" ms for %1 words").arg(m_wordRanges.size()));
    highlight(m_editor.playhead().word()); // It won't be announced again before it changes.
}

/// The whole text; notes where each word is in it.
QString Coordinator::flow()
{
    m_wordRanges.clear();
    const std::vector<Word>& words = m_editor.words();
    if (words.empty())
        return m_editor.awaitingWords() ? QStringLiteral("Transcribing…")
                                        : QStringLiteral("No speech heard in this take.");
    QString text;
    m_wordRanges.reserve(words.size());
    for (size_t i = 0; i < words.size(); ++i) {
        if (i > 0) {
            const bool pauses = words[i].startMs - words[i - 1].endMs > paragraphPauseMs;
            text += pauses ? QChar(QChar::LineFeed) : QChar(QChar::Space);
        }
        m_wordRanges.push_back({int(text.size()), int(words[i].text.size())});
        text += words[i].text;
    }
    return text;
}

void Coordinator::restyle()
{
    const std::vector<Word>& words = m_editor.words();
    // New words may be cut before they are painted; the text that is still there has the old ones.
    const size_t count = std::min(words.size(), m_wordRanges.size());
    std::vector<StyledRange> styles;
    styles.reserve(count);
    for (size_t i = 0; i < count; ++i) {
        const WordStyle style = EditOps::isCut(words[i], m_editor.cuts().effective) ? WordStyle::Cut
            : m_fillers[i]                                                          ? WordStyle::Filler
                                                                                    : WordStyle::Kept;
        styles.push_back({m_wordRanges[i], style});
    }
    m_textView->setStyles(std::move(styles));
}

void Coordinator::highlight(std::optional<int> word)
{
    if (!m_textView || word == m_highlighted)
        return;
    m_highlighted = word;
    const std::optional<TextRange> shown = showHighlight();
    if (shown && m_editor.isPlaying())
        m_textView->follow(*shown);
}

/// A word that is cut is not being spoken, although the pause after it may still be heard.
std::optional<TextRange> Coordinator::showHighlight()
{
    const std::vector<Word>& words = m_editor.words();
    const size_t word = m_highlighted ? size_t(*m_highlighted) : words.size();
    const bool isSpoken
        = word < std::min(words.size(), m_wordRanges.size()) && !EditOps::isCut(words[word], m_editor.cuts().effective);
    const std::optional<TextRange> range = isSpoken ? std::optional(m_wordRanges[word]) : std::nullopt;
    m_textView->setHighlight(range);
    return range;
}

void Coordinator::select(const std::optional<Span>& span)
{
    if (!m_textView || !span)
        return;
    const std::vector<Word>& words = m_editor.words();
    const auto inside = [&](const Word& word) { return span->start <= middle(word) && middle(word) <= span->end; };
    const auto first = std::find_if(words.begin(), words.end(), inside);
    const auto last = std::find_if(words.rbegin(), words.rend(), inside);
    const QScopedValueRollback<bool> guard(m_programmatic, true);
    if (first == words.end() || words.size() != m_wordRanges.size()) {
        m_textView->setSelectedRange({m_textView->selectedRange().location, 0});
        return;
    }
    const TextRange from = m_wordRanges[size_t(first - words.begin())];
    const TextRange to = m_wordRanges[size_t(words.rend() - last) - 1];
    const TextRange range{from.location, to.end() - from.location};
    m_textView->setSelectedRange(range);
    m_textView->reveal(range);
}

std::optional<int> Coordinator::word(int at) const
{
    if (m_wordRanges.empty())
        return std::nullopt;
    const auto next = std::partition_point(
        m_wordRanges.begin(), m_wordRanges.end(), [at](TextRange range) { return range.location <= at; });
    return std::max(0, int(next - m_wordRanges.begin()) - 1);
}

std::vector<int> Coordinator::words(TextRange in) const
{
    if (in.length == 0) {
        const std::optional<int> only = word(std::max(0, in.location - 1));
        return only ? std::vector{*only} : std::vector<int>();
    }
    std::vector<int> found;
    const auto first = std::partition_point(
        m_wordRanges.begin(), m_wordRanges.end(), [&](TextRange range) { return range.end() <= in.location; });
    for (auto range = first; range != m_wordRanges.end() && range->location < in.end(); ++range) {
        if (range->overlaps(in))
            found.push_back(int(range - m_wordRanges.begin()));
    }
    return found;
}

void Coordinator::textViewDidChangeSelection()
{
    if (m_programmatic)
        return;
    m_editor.setSelection(std::nullopt);
    const std::optional<int> under = word(m_textView->selectedRange().location);
    // Every step of a drag that began here would say its word again.
    if (m_textView->isExtending() && under == m_sought)
        return;
    m_sought = under;
    if (under)
        m_editor.seekToWord(*under);
}

} // namespace kelmo
