#include "editor/CutsStep.h"

namespace kelmo {

CutsStep::CutsStep(const QString& name, Cuts before, Cuts after, Apply apply)
    : QUndoCommand(name)
    , m_before(std::move(before))
    , m_after(std::move(after))
    , m_apply(std::move(apply))
{
}

void CutsStep::undo() { m_apply(m_before, text(), Origin::Undo); }

void CutsStep::redo() { m_apply(m_after, text(), std::exchange(m_nextOrigin, Origin::Redo)); }

} // namespace kelmo
