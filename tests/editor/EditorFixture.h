#pragma once

#include "editor/Editor.h"
#include "tests/editor/TakeFolder.h"
#include "tests/support/TemporaryHome.h"

#include <gtest/gtest.h>

namespace kelmo {

/// A running editor with a home folder and a folder of takes of its own.
class EditorFixture : public testing::Test {
protected:
    using Aligned = TakeFolder::Aligned;

    /// A take of `seconds` with aligned words, opened and loaded.
    void openTalk(const QString& base, int seconds, const std::vector<Word>& words);
    /// Opens a take and waits for its media.
    void openLoaded(const QString& base);

    /// Runs the event loop until it holds; false when that takes too long.
    [[nodiscard]] static bool waitUntil(const std::function<bool()>& holds, int timeoutMs = 20'000);
    static void wait(int ms);

    /// The messages logged under a tag.
    [[nodiscard]] QStringList logged(const QString& tag) const;
    [[nodiscard]] QStringList loggedLike(const QString& tag, const QString& pattern) const;

    [[nodiscard]] QString undoText() { return m_editor->undo().undoText(); }
    [[nodiscard]] std::vector<Span> keepNow() const { return m_editor->timeline().keep; }

    TemporaryHome m_home;
    TakeFolder m_takes;
    std::unique_ptr<Editor> m_editor = std::make_unique<Editor>(Editor::Sound::Muted);
};

} // namespace kelmo
