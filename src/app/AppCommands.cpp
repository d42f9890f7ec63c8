#include "app/AppDelegate.h"
#include "app/QuitQuestion.h"
#include "app/Responders.h"
#include "views/window/OpenPanel.h"
#include "views/window/SettingsView.h"

#include <QApplication>
#include <QMessageBox>
#include <QScreen>
#include <QVBoxLayout>

namespace kelmo {

void AppDelegate::showSettings()
{
    if (!m_settingsWindow) {
        m_settingsWindow = std::make_unique<QWidget>();
        m_settingsWindow->setWindowTitle(QStringLiteral("Vorlix Settings"));
        auto* layout = new QVBoxLayout(m_settingsWindow.get());
        layout->setContentsMargins(0, 0, 0, 0);
        layout->setSizeConstraint(QLayout::SetFixedSize);
        auto* view = new SettingsView(*m_sharer, m_settingsWindow.get());
        layout->addWidget(view);
        view->setFocus();
        m_menu->addKeysTo(*m_settingsWindow);
        m_settingsWindow->adjustSize();
        QRect frame = m_settingsWindow->frameGeometry();
        frame.moveCenter(m_settingsWindow->screen()->availableGeometry().center());
        m_settingsWindow->move(frame.topLeft());
    }
    m_settingsWindow->show();
    m_settingsWindow->raise();
    m_settingsWindow->activateWindow();
}

void AppDelegate::openTake() { OpenPanel::show(*m_editor, m_window.get()); }

void AppDelegate::openNewest() { m_editor->openNewest(Editor::Opener::Person); }

void AppDelegate::exportVideo() { m_editor->exportFromUI(); }

void AppDelegate::share() { m_sharer->shareFromUI(); }

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

void AppDelegate::quit()
{
    const bool exports = m_editor->exportProgress().has_value();
    if (m_quitQuestion)
        m_quitQuestion->raise();
    else if (exports || m_sharer->isUploading())
        m_quitQuestion
            = QuitQuestion::ask(m_window.get(), exports ? QuitQuestion::Work::Export : QuitQuestion::Work::Upload);
    else
        QCoreApplication::quit();
}

bool AppDelegate::canUndo() const
{
    const QWidget* field = Responders::editedField();
    return field ? field->property("undoAvailable").toBool() : m_editor->undo().canUndo();
}

bool AppDelegate::canRedo() const
{
    const QWidget* field = Responders::editedField();
    return field ? field->property("redoAvailable").toBool() : m_editor->undo().canRedo();
}

QString AppDelegate::undoStep() const { return Responders::editedField() ? QString() : m_editor->undo().undoText(); }

QString AppDelegate::redoStep() const { return Responders::editedField() ? QString() : m_editor->undo().redoText(); }

bool AppDelegate::canTrim() const { return m_editor->sourceDurationMs() > 0; }

bool AppDelegate::canClearTrim() const { return m_editor->cuts().isTrimmed(); }

} // namespace kelmo
