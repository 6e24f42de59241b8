// How a thread is ended where it stands: a signal of its own, whose handler leaves the thread by
// the host's system call, past every destructor and handler of C++.
#pragma once

#include <atomic>
#include <thread>

namespace tesselkit::platform {

// One for each thread that can be ended so; it outlives the thread.
struct ForcedEnd {
  std::atomic<bool> is_due = false;
};

// From now on the calling thread can be ended through `end`; null: no longer.
void AcceptForcedEnd(ForcedEnd* end) noexcept;

// Makes a running or ended thread, not yet joined, that has accepted `end` leave as soon as it can:
// at once, or at the end of its next HoldOffForcedEnd where no signal is free or lets it be
// reached.
void ForceEnd(std::thread::native_handle_type thread, ForcedEnd& end) noexcept;

// Whether the calling thread is to leave. Who waits while the end is held off should wait no
// longer.
bool IsForcedEndDue() noexcept;

// Keep the calling thread from being ended by force between the two, for whom a scope does not do.
void BeginHoldOff() noexcept;
void EndHoldOff() noexcept;

// Keeps the calling thread from being ended by force within a scope, which must be short: what
// takes a lock that others need stands in one.
class HoldOffForcedEnd {
 public:
  HoldOffForcedEnd() noexcept { BeginHoldOff(); }
  ~HoldOffForcedEnd() { EndHoldOff(); }
  HoldOffForcedEnd(const HoldOffForcedEnd&) = delete;
  HoldOffForcedEnd& operator=(const HoldOffForcedEnd&) = delete;
};

}  // namespace tesselkit::platform
