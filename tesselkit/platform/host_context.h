// The registers that a walk up the stack goes by, in the host's record of a thread's registers.
#pragma once

#include "tesselkit/platform/native_exception.h"

namespace tesselkit::platform {

struct FrameRegisters {
  ULONG_PTR program_counter;
  ULONG_PTR stack_pointer;
  ULONG_PTR frame_pointer;
};

FrameRegisters ReadRegisters(const void* host) noexcept;
void WriteRegisters(void* host, const FrameRegisters& registers) noexcept;

// Where a function that was called just now returns to; 0 when that is not known.
ULONG_PTR CallerOf(const void* host) noexcept;

// The registers as they will be when that function has returned.
FrameRegisters RegistersOfCaller(const void* host, ULONG_PTR caller) noexcept;

// Whether the fault was a write, as far as the processor tells.
bool IsWriteFault(const void* host) noexcept;

// Lets the handler read unaligned words, should the thread have made those a fault.
void AllowUnalignedReads() noexcept;

// Makes the thread's floating-point settings those of the record, with nothing raised. A signal's
// handler begins with others.
void TakeFloatingPointSettings(const void* host) noexcept;

}  // namespace tesselkit::platform
