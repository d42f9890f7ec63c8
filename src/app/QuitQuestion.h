#pragma once

class QMessageBox;
class QWidget;

namespace kelmo::QuitQuestion {

/// What quitting now would end.
enum class Work { Export, Upload };

/// Asks whether to quit although work is under way, and quits if the answer is yes. Returns at once the question on
/// screen, which deletes itself when it is answered. `window` may be null or hidden. Main thread only.
QMessageBox* ask(QWidget* window, Work work);

} // namespace kelmo::QuitQuestion
