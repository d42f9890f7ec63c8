#pragma once

#include "editor/Editor.h"
#include "views/transcript/WordTextView.h"

namespace kelmo {

/// Builds and repaints the transcript's text and listens to the editor and to the user's caret. Owned by its
/// TranscriptView, which tells it of the editor's changes; main thread. Ranges are UTF-16 units of the text.
class Coordinator : public QObject {
    Q_OBJECT

public:
    Coordinator(Editor& editor, WordTextView* textView, QObject* parent = nullptr);

    void bind(); ///< Follows the playhead's word and the editor's selection from now on.
    void sync(); ///< Paints what has changed since the last time: all of a new text, the looks after an edit.

    void highlight(std::optional<int> word); ///< The word being spoken; scrolls to it while playing.
    void select(const std::optional<Span>& span); ///< The words whose middle lies in it; none leaves the text alone.

    /// For each word, where it is in the text.
    [[nodiscard]] const std::vector<TextRange>& wordRanges() const { return m_wordRanges; }
    /// The last word that begins at or before a character, the first one before all words; none without words.
    [[nodiscard]] std::optional<int> word(int at) const;
    /// Ascending. A caret means the word that it is in or after.
    [[nodiscard]] std::vector<int> words(TextRange in) const;

private:
    void rebuild();
    void restyle();
    std::optional<TextRange> showHighlight();
    void textViewDidChangeSelection();
    [[nodiscard]] QString flow();

    Editor& m_editor;
    const QPointer<WordTextView> m_textView;
    int m_takeRevision = -1; ///< Last painted.
    int m_cutRevision = -1; ///< Last styled.
    std::vector<TextRange> m_wordRanges;
    std::vector<bool> m_fillers; ///< For each word, whether it is one, because normalising 25,000 words takes time.
    std::optional<int> m_highlighted;
    std::optional<int> m_sought; ///< The word that the user's selection has led to last.
    bool m_programmatic = false; ///< The text or the selection changes by itself, so the user didn't select.
};

} // namespace kelmo
