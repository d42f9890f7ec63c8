#pragma once

#include "editor/Editor.h"

class QWidget;

namespace kelmo {

/// The file chooser that opens a take. Main thread.
namespace OpenPanel {

/// Asks for a recording, starting in the recordings folder, and opens what is chosen. Returns at once; while the
/// chooser is up, `window` waits for it.
void show(Editor& editor, QWidget* window);

} // namespace OpenPanel

} // namespace kelmo
