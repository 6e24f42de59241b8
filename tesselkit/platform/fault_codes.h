// What a signal of the host says as a native exception.
#pragma once

#include <cstddef>

#include "tesselkit/platform/native_exception.h"

namespace tesselkit::platform {

// A signal, as far as its handler is told.
struct HostFault {
  int signal;
  int detail;         // the host's code for what happened
  ULONG_PTR address;  // what the signal is about, or 0
  bool is_write;
  bool has_divisor;  // a division's is not zero
};

// Whether the processor raised the signal on this thread, rather than somebody who sent it.
bool IsFault(int signal, int detail) noexcept;

// Whether the processor did not tell an address: at a privileged instruction, and at an address
// that cannot be one.
bool HasNoAddress(const HostFault& fault) noexcept;

// Whether the thread jumped to where there is no code.
bool IsJumpToNowhere(const HostFault& fault, const CONTEXT& context) noexcept;

// Fills the record but for its address. `context` is where the calling thread was, `instruction`
// the bytes there, as many as could be read; only of use when there is no address.
void DescribeFault(const HostFault& fault, const CONTEXT& context, const unsigned char* instruction,
                   std::size_t size, EXCEPTION_RECORD& record) noexcept;

}  // namespace tesselkit::platform
