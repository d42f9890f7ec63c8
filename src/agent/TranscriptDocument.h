#pragma once

#include "editor/Editor.h"

namespace kelmo {

/// Everything an agent learns about the open take and its edit, at one moment. Taken on the main thread, which costs
/// a copy of the word list; a plain value that any thread may then write as JSON.
class TranscriptDocument {
public:
    explicit TranscriptDocument(const Editor& editor);

    /// Compact, keys sorted. For the words this takes less time than QJsonDocument would for the finished document.
    [[nodiscard]] QByteArray json() const;

private:
    [[nodiscard]] QByteArray wordsJson() const;

    std::optional<QString> m_take;
    double m_sourceDurationMs;
    std::vector<Word> m_words;
    Cuts m_cuts;
    Timeline m_timeline;
};

} // namespace kelmo
