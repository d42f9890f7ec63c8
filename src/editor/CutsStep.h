#pragma once

#include "model/Cuts.h"

#include <QUndoCommand>

#include <functional>

namespace kelmo {

/// One step of the edit's history: the whole edit before and after it. Owned by the undo stack.
class CutsStep : public QUndoCommand {
public:
    /// What makes a step's value the current one.
    enum class Origin { Edit, Undo, Redo };
    using Apply = std::function<void(const Cuts& cuts, const QString& name, Origin origin)>;

    CutsStep(const QString& name, Cuts before, Cuts after, Apply apply);

    void undo() override;
    void redo() override; ///< The stack calls this when the step is pushed, too.

private:
    Cuts m_before;
    Cuts m_after;
    Apply m_apply;
    Origin m_nextOrigin = Origin::Edit;
};

} // namespace kelmo
