#pragma once

#include <QJsonObject>
#include <QString>

namespace kelmo {

/// Anonymous usage events: timings and counts, never transcript text, screen content or file names. Callable from any
/// thread; requests run on a thread of their own. Nothing here waits, fails or reports: a lost event is lost.
namespace Analytics {

/// Sends one event if events are enabled. Values are strings, integers or reals; an event with a number that is
/// not finite is dropped. A property of the event wins over a common one of the same name.
void capture(const QString& event, const QJsonObject& properties = {});

/// Whether events are sent at all: the user's choice, unless KELMO_ANALYTICS is "0".
[[nodiscard]] bool enabled();

/// The user's choice alone; true until the user says otherwise.
[[nodiscard]] bool userEnabled();
void setEnabled(bool enabled);

/// This installation's identifier, a lower-case UUID; made on first use and the same for the rest of the run.
[[nodiscard]] QString distinctID();

} // namespace Analytics

} // namespace kelmo
