#include "editor/Editor.h"

namespace kelmo {

namespace {

constexpr int undoLevels = 200;
constexpr int workerThreads = 6;
constexpr double wordLingersMs = 250;

} // namespace

Editor::Editor(Sound sound)
    : m_sound(sound)
{
    m_undo.setUndoLimit(undoLevels);
    m_workers.setMaxThreadCount(workerThreads);
}

Editor::~Editor()
{
    m_watch.reset();
    cancelExport();
    m_workers.waitForDone();
}

void Editor::setStatus(std::optional<QString> status)
{
    m_status = std::move(status);
    Q_EMIT statusChanged();
}

void Editor::setSelection(std::optional<Span> selection)
{
    if (selection == m_selection)
        return;
    m_selection = selection;
    Q_EMIT selectionChanged();
}

void Editor::setCodec(Codec codec)
{
    m_codec = codec;
    Q_EMIT exportChanged();
}

void Editor::setExportHeight(std::optional<int> lines)
{
    m_exportHeight = lines;
    Q_EMIT exportChanged();
}

void Editor::setExportFPS(int fps)
{
    m_exportFPS = fps;
    Q_EMIT exportChanged();
}

void Editor::tick(double editedMs)
{
    m_playhead.setMs(editedMs);
    const double source = m_timeline.source(editedMs);
    // The last word that has begun, a moment early so that a seek to a word's start shows that word.
    const auto next = std::upper_bound(m_words.begin(), m_words.end(), source + 1.0,
        [](double time, const Word& word) { return time < word.startMs; });
    const bool spoken = next != m_words.begin() && source <= std::prev(next)->endMs + wordLingersMs;
    m_playhead.setWord(spoken ? std::optional(int(next - m_words.begin()) - 1) : std::nullopt);
}

void Editor::previewSource(double ms)
{
    tick(std::min(m_timeline.edited(ms), std::max(0.0, m_timeline.durationMs - 1)));
}

} // namespace kelmo
