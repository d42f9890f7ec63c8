#pragma once

class QWidget;

namespace kelmo {

/// Who gets a command that is meant for whatever the user works in, such as copy. Main thread.
namespace Responders {

/// The text field that is being typed in; null when the keyboard's focus is elsewhere.
[[nodiscard]] QWidget* editedField();

/// Calls the slot of this name on the widget with the focus, or on the nearest widget around it that has one. False
/// when there is none.
bool send(const char* slot);

} // namespace Responders

} // namespace kelmo
