#pragma once

#include "tests/support/TemporaryHome.h"
#include "views/transcript/TranscriptView.h"

#include <QTemporaryDir>
#include <QTest>

#include <gtest/gtest.h>

namespace kelmo {

/// A transcript in a shown window, of a take on disk, driven by keys and the mouse.
class TranscriptFixture : public testing::Test {
protected:
    /// One word each half second, said for 400 ms.
    [[nodiscard]] static std::vector<Word> said(const QString& words);
    /// As many as asked for; without a pause, all of them are one paragraph.
    [[nodiscard]] static std::vector<Word> saidLong(int count);

    /// Writes a take of these words and opens it; its media is loaded when this returns.
    void open(const std::vector<Word>& words);
    void writeTranscript(const std::vector<Word>& words) const;
    void writeMovie(int seconds) const;
    /// Shows the view, active and focused. The window's size is in logical pixels.
    void show(QSize size = {700, 260});

    [[nodiscard]] WordTextView& text() { return m_view->textView(); }
    [[nodiscard]] const QString& shownText() { return text().page().text(); }
    void key(int key, Qt::KeyboardModifiers modifiers = Qt::NoModifier)
    {
        QTest::keyClick(&text(), Qt::Key(key), modifiers);
    }
    void caretAt(int position) { text().setSelectedRange({position, 0}); }
    void select(const QString& part);
    [[nodiscard]] QString selected();

    // Places in the viewport.
    [[nodiscard]] QPoint before(int position); ///< The left edge of a character, half-way down its line.
    [[nodiscard]] QPoint in(const QString& part); ///< The middle of a part of the text.

    /// The words that are struck through, as they look on the page.
    [[nodiscard]] QStringList struck();
    [[nodiscard]] WordStyle style(int word) { return text().page().styles().at(size_t(word)).style; }
    [[nodiscard]] QImage pixels() { return m_view->grab().toImage(); }
    /// The pixels of a part of the text, as they are on show.
    [[nodiscard]] QImage pixels(const QString& part);

    TemporaryHome m_home;
    QTemporaryDir m_folder;
    Editor m_editor{Editor::Sound::Muted};
    std::unique_ptr<TranscriptView> m_view;
};

} // namespace kelmo
