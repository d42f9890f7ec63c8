#pragma once

namespace kelmo {

/// The folder for sockets and the like that lives as long as the login. Main thread, before the application object.
namespace RuntimeFolder {

/// Sets XDG_RUNTIME_DIR where it is not set, as under cron, sudo and in containers: to the login's own folder if there
/// is one, else to one of ours among the temporary files, readable by this user alone. Without it the toolkit warns at
/// every start. Leaves it unset if neither can be had.
void ensure();

} // namespace RuntimeFolder

} // namespace kelmo
