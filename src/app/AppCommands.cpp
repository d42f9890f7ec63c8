#include "app/AppDelegate.h"
#include "app/Responders.h"
#include "views/OpenPanel.h"

#include <QApplication>

namespace kelmo {

void AppDelegate::openTake() { OpenPanel::show(*m_editor, m_window.get()); }

void AppDelegate::openNewest() { m_editor->openNewest(); }

void AppDelegate::exportVideo() { m_editor->exportFromUI(); }

void AppDelegate::closeWindow()
{
    if (QWidget* window = QApplication::activeWindow())
        window->close();
}

void AppDelegate::undo()
{
    if (Responders::editedField())
        Responders::send("undo");
    else
        m_editor->undo().undo();
}

void AppDelegate::redo()
{
    if (Responders::editedField())
        Responders::send("redo");
    else
        m_editor->undo().redo();
}

void AppDelegate::copy() { Responders::send("copy"); }

void AppDelegate::selectAll() { Responders::send("selectAll"); }

void AppDelegate::cutFillers() { m_editor->cutFillers(); }

void AppDelegate::tighten() { m_editor->tightenPauses(); }

void AppDelegate::trimStart() { m_editor->trimStartToPlayhead(); }

void AppDelegate::trimEnd() { m_editor->trimEndToPlayhead(); }

void AppDelegate::splitAtPlayhead() { m_editor->splitAtPlayhead(); }

void AppDelegate::clearTrim() { m_editor->clearTrim(); }

void AppDelegate::quit() { QCoreApplication::quit(); }

bool AppDelegate::canTrim() const { return m_editor->sourceDurationMs() > 0; }

bool AppDelegate::canClearTrim() const { return m_editor->cuts().isTrimmed(); }

} // namespace kelmo
