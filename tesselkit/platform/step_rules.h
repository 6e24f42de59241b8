// How to go from a frame to its caller's, as learnt from an earlier walk: for code that has been
// compiled, the way depends on the place alone.
//
// A place is known by its module and where it lies there: what is loaded to the same address later
// is another.
//
// The rules are the process's; they take no lock, and are right or missing, never half there. Only
// for processors whose calls put the return address on the stack; elsewhere there are none.
#pragma once

#include "tesselkit/platform/foreign_memory.h"
#include "tesselkit/platform/host_context.h"
#include "tesselkit/platform/module_symbols.h"

namespace tesselkit::platform {

// A frame's registers and the module of its program counter.
struct Place {
  FrameRegisters at;
  LoadedModule module;
};

// The caller's place, when there is a rule for this one and it leads into a module.
bool FollowRule(const Place& from, StackReader& reader, Place& next) noexcept;

// Learns from a step that was made. `saved_at` is where the caller's frame pointer was found, or 0.
void LearnRule(const Place& from, const FrameRegisters& next, ULONG_PTR saved_at,
               StackReader& reader) noexcept;

}  // namespace tesselkit::platform
