#pragma once

namespace kelmo {

/// Makes the calling thread give way to all others that want the processor, for good. For threads whose work may
/// wait, beside others whose work may not.
void enterBackgroundPriority();

} // namespace kelmo
