// The frame of a function that was interrupted, as exceptions see it.
#pragma once

namespace tesselkit::platform {

// For the thread whose registers `host` is, within the handler of its signal. Where the function
// that was interrupted has a table of exceptions that does not know the place, an exception from
// there would end the process: compilers take it that their own use of the stack does not fail.
// The thread is then put back into the call of that function, whose own objects are left as they
// are; at its beginning, where a stack mostly overflows, it has none.
void LeaveFrameWithoutHandlers(void* host) noexcept;

}  // namespace tesselkit::platform
