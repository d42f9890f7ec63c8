#include "editor/Editor.h"

namespace kelmo {

namespace {

constexpr int undoSteps = 200;

} // namespace

Editor::Editor(Sound sound)
    : m_sound(sound)
{
    m_undo.setUndoLimit(undoSteps);
}

Editor::~Editor()
{
    m_player.reset();
    m_watch.reset();
    cancelExport();
    m_grabs.drop();
    m_lanes.waitForDone();
}

void Editor::setStatus(std::optional<QString> status, StatusKind kind)
{
    m_status = std::move(status);
    m_statusKind = kind;
    Q_EMIT statusChanged();
}

void Editor::withdrawStatus(const QString& status)
{
    if (m_status == status)
        setStatus(std::nullopt);
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

} // namespace kelmo
