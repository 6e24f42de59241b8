// How much of its stack a thread has left: for code that goes as deep as foreign data say.
#pragma once

#include "tesselkit/platform/export.h"

namespace tesselkit::platform {

// Whether the calling thread may go deeper: false when less than 256 KiB of its stack are left, or
// less than a quarter of a smaller one. On a stack that is not the thread's own, and where the host
// does not tell, always true. Never throws; may be called from any thread.
TESSELKIT_API bool StackHasRoom() noexcept;

}  // namespace tesselkit::platform
