// The registers that a walk up the stack goes by, in the host's record of a thread's registers.
#pragma once

#include "tesselkit/platform/native_exception.h"

namespace tesselkit::platform {

#ifdef __x86_64__
using HostWord = long long;  // as the host declares a register
#else
using HostWord = unsigned long long;
#endif

struct FrameRegisters {
  ULONG_PTR program_counter;
  ULONG_PTR stack_pointer;
  ULONG_PTR frame_pointer;
};

FrameRegisters ReadRegisters(const void* host) noexcept;
void WriteRegisters(void* host, const FrameRegisters& registers) noexcept;

// The other registers that a function gives back to its caller as it found them, by the numbers
// that unwinding has for them.
#ifdef __x86_64__
inline constexpr int kKeptRegisters[] = {3, 12, 13, 14, 15};
inline constexpr int kFramePointerNumber = 6;
#else
inline constexpr int kKeptRegisters[] = {19, 20, 21, 22, 23, 24, 25, 26, 27, 28};
inline constexpr int kFramePointerNumber = 29;
#endif
HostWord& KeptRegister(void* host, int number) noexcept;

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
