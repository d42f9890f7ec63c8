#pragma once

class QApplication;

namespace kelmo {

/// Gives the toolkit's own menus, dialogs, tooltips and scroll bars this program's colours. Called once at launch,
/// before any window is made; main thread.
namespace DarkStyle {

void apply(QApplication& application);

} // namespace DarkStyle

} // namespace kelmo
