// Time, as the waits of threads.h see it: the seam at which tests put a clock of their own.
#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>

#include "tesselkit/platform/export.h"

namespace tesselkit::platform {

// Called from any thread, and never with a lock held.
class WaitClock {
 public:
  using TimePoint = std::chrono::steady_clock::time_point;

  virtual ~WaitClock() = default;

  virtual TimePoint Now() = 0;

  // Returns once `word` is not `value` any more, or the clock has reached `deadline` (never, for
  // the last of all points); sooner if it likes.
  virtual void WaitWhile(std::atomic<std::uint32_t>& word, std::uint32_t value,
                         TimePoint deadline) = 0;

  // Makes up to `most` of those that wait for `word` look at it.
  virtual void Wake(std::atomic<std::uint32_t>& word, int most) = 0;
};

TESSELKIT_API WaitClock& CurrentWaitClock() noexcept;

// Makes all waits that begin from now on go by `clock`, which stays the caller's; null restores the
// host's. To be called while nobody waits.
TESSELKIT_API void SetWaitClock(WaitClock* clock) noexcept;

}  // namespace tesselkit::platform
