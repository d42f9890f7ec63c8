#include "views/window/OpenPanel.h"

#include <QFileDialog>

namespace kelmo {

void OpenPanel::show(Editor& editor, QWidget* window)
{
    auto* dialog = new QFileDialog(window, QStringLiteral("Open a Take"), Take::recordingsDir().toLocalFile());
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    dialog->setFileMode(QFileDialog::ExistingFile);
    dialog->setNameFilters({QStringLiteral("Recordings (*.mov *.mp4 *.m4v *.MOV *.MP4 *.M4V)")});
    QObject::connect(dialog, &QFileDialog::fileSelected, &editor,
        [&editor](const QString& path) { editor.open(path, Editor::Opener::Person); });
    dialog->open();
}

} // namespace kelmo
