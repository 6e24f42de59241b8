// What a division that the processor refused was about.
#pragma once

namespace tesselkit::platform {

// Whether the division at which the thread was struck has a divisor other than zero, so that its
// quotient is too large. False when that cannot be told.
bool HasDivisor(const void* host) noexcept;

}  // namespace tesselkit::platform
