// How to go from a frame to its caller's, as learnt from an earlier walk: for code that has been
// compiled, the way depends on the place alone.
//
// The rules are the process's; they take no lock, and are right or missing, never half there. Only
// for processors whose calls put the return address on the stack; elsewhere there are none.
#pragma once

#include "tesselkit/platform/foreign_memory.h"
#include "tesselkit/platform/host_context.h"

namespace tesselkit::platform {

// The caller's registers, when there is a rule for this place and it leads into a module.
bool FollowRule(const FrameRegisters& at, StackReader& reader, FrameRegisters& next) noexcept;

// Learns from a step that was made. `saved_at` is where the caller's frame pointer was found, or 0.
void LearnRule(const FrameRegisters& at, const FrameRegisters& next, ULONG_PTR saved_at,
               StackReader& reader) noexcept;

}  // namespace tesselkit::platform
