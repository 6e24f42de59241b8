// The library that walks up the stack, loaded when the process runs, and the walk without it.
//
// Walks begin at a context of the calling thread. They take no lock of this library's, do not use
// the allocator, and end where the stack can no longer be read. May be called from any thread.
#pragma once

#include "tesselkit/platform/native_exception.h"

namespace tesselkit::platform {

// Sets the library that is loaded; null restores the default, "libunwind.so.8". One that is in use
// stays loaded.
TESSELKIT_API void SetDebugHelpLibrary(const char* file);

// Loads the library if need be. False when there is none of that name or it lacks something, which
// is then remembered until the library is set again.
TESSELKIT_API bool LoadDebugHelp() noexcept;

struct StackFrame {
  ULONG_PTR program_counter;  // behind the first frame, where the frame goes on after its call
  ULONG_PTR frame;            // the frame pointer, or where it would point
};

// Takes one frame after the other, the innermost first.
class FrameVisitor {
 public:
  virtual void Visit(const StackFrame& frame) = 0;

 protected:
  ~FrameVisitor() = default;
};

// Walks with the library, which must have been loaded. Goes through code without frame pointers and
// through handlers of signals.
TESSELKIT_API void WalkWithDebugHelp(const CONTEXT& context, FrameVisitor& visitor);

// Walks along the saved frame pointers.
TESSELKIT_API void WalkFramePointers(const CONTEXT& context, FrameVisitor& visitor);

}  // namespace tesselkit::platform
