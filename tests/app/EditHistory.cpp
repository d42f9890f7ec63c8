#include "tests/app/EditHistory.h"

namespace kelmo {

namespace {

/// The player counts in whole microseconds, in each piece of an edit.
constexpr double roundingMs = 1e-3;

QString cutsFault(const Cuts& cuts)
{
    for (size_t i = 0; i < cuts.spans.size(); ++i) {
        if (cuts.spans[i].isEmpty() || cuts.spans[i].start < 0)
            return QStringLiteral("an empty cut");
        if (i > 0 && cuts.spans[i - 1].end >= cuts.spans[i].start)
            return QStringLiteral("cuts that overlap or touch");
    }
    if (cuts.trimIn < 0 || cuts.trimOut <= cuts.trimIn)
        return QStringLiteral("a trim that ends before it begins");
    Cuts refreshed = cuts;
    refreshed.refresh();
    return refreshed == cuts ? QString() : QStringLiteral("cuts whose sum is out of date");
}

} // namespace

EditHistory::EditHistory(Editor& editor)
    : m_editor(editor)
    , m_undo(editor.undo())
{
    begin();
    connect(&m_undo, &QUndoStack::indexChanged, this, &EditHistory::follow);
    connect(&editor, &Editor::takeChanged, this, [this] {
        if (m_undo.count() == 0)
            begin();
    });
}

void EditHistory::begin()
{
    m_commands.clear();
    m_edits = {m_editor.cuts()};
    m_index = 0;
    m_isWhole = true;
}

/// A step that is undone or redone is one that the history had at that place; any other was made just now.
void EditHistory::follow(int index)
{
    if (m_undo.count() == 0) {
        begin();
        return;
    }
    const QUndoCommand* step = index > 0 ? m_undo.command(index - 1) : nullptr;
    const bool isKnown = size_t(index) <= m_commands.size() && (!step || m_commands[size_t(index) - 1] == step);
    if (!isKnown)
        push(step, index);
    m_index = index;
}

void EditHistory::push(const QUndoCommand* step, int index)
{
    m_commands.resize(size_t(m_index));
    m_edits.resize(size_t(m_index) + 1);
    m_commands.push_back(step);
    m_edits.push_back(m_editor.cuts());
    while (m_commands.size() > size_t(index)) {
        m_commands.erase(m_commands.begin());
        m_edits.erase(m_edits.begin());
        m_isWhole = false;
    }
    ++m_steps;
}

QString EditHistory::fault() const
{
    if (m_undo.index() != m_index || size_t(m_undo.count()) != m_commands.size())
        return QStringLiteral("the history is at %1 of %2, not at %3 of %4")
            .arg(m_undo.index())
            .arg(m_undo.count())
            .arg(m_index)
            .arg(m_commands.size());
    if (m_editor.cuts() != m_edits[size_t(m_index)])
        return QStringLiteral("the edit is %1, its history says %2")
            .arg(m_editor.cuts().signature(), m_edits[size_t(m_index)].signature());
    if (m_isWhole && m_edits.front() != Cuts())
        return QStringLiteral("the history does not begin with the whole take");
    for (const QString& fault : {cutsFault(m_editor.cuts()), timelineFault(), placesFault()}) {
        if (!fault.isEmpty())
            return fault;
    }
    return {};
}

QString EditHistory::timelineFault() const
{
    if (!m_editor.loaded())
        return {};
    Cuts untrimmed = m_editor.cuts();
    untrimmed.trimIn = 0;
    untrimmed.trimOut = Cuts::noTrimOut;
    untrimmed.refresh();
    const Cuts& shown = m_editor.isTrimPreviewing() ? untrimmed : m_editor.cuts();
    if (m_editor.timeline() != Timeline(shown.keep(m_editor.sourceDurationMs())))
        return QStringLiteral("a timeline that is not the edit's");
    if (m_editor.fullTimeline() != Timeline(untrimmed.keep(m_editor.sourceDurationMs())))
        return QStringLiteral("a full timeline that is not the edit's without its trim");
    const int fillers = int(EditOps::fillerIndices(m_editor.words(), m_editor.cuts().effective).size());
    return m_editor.fillerCount() == fillers ? QString() : QStringLiteral("a wrong count of fillers");
}

QString EditHistory::placesFault() const
{
    const double at = m_editor.playhead().ms();
    const Timeline& timeline = m_editor.timeline();
    if (!(at >= 0 && at <= timeline.durationMs + roundingMs * double(timeline.keep.size() + 1)))
        return QStringLiteral("the playhead at %1 of %2 ms").arg(at, 0, 'f', 6).arg(timeline.durationMs, 0, 'f', 6);
    const std::optional<int> spoken = m_editor.playhead().word();
    if (spoken && (*spoken < 0 || *spoken >= int(m_editor.words().size())))
        return QStringLiteral("a spoken word that there is not");
    const std::optional<Span>& selected = m_editor.selection();
    const double duration = m_editor.sourceDurationMs();
    if (selected && (selected->isEmpty() || selected->start < 0 || selected->end > duration))
        return QStringLiteral("%1 to %2 of %3 ms is selected").arg(selected->start).arg(selected->end).arg(duration);
    const std::vector<double>& splits = m_editor.splits();
    if (!std::is_sorted(splits.begin(), splits.end())
        || std::any_of(splits.begin(), splits.end(), [&](double ms) { return ms <= 0 || ms >= duration; }))
        return QStringLiteral("a split that is no place in the take, or out of order");
    return {};
}

QString EditHistory::replay()
{
    const int before = m_undo.index();
    const auto walk = [this](int to) -> QString {
        const int step = to < m_undo.index() ? -1 : 1;
        while (m_undo.index() != to) {
            m_undo.setIndex(m_undo.index() + step);
            if (const QString found = fault(); !found.isEmpty())
                return QStringLiteral("at %1 of the history: ").arg(m_undo.index()) % found;
        }
        return {};
    };
    for (const int place : {0, m_undo.count(), before}) {
        if (const QString found = walk(place); !found.isEmpty())
            return found;
    }
    return {};
}

} // namespace kelmo
