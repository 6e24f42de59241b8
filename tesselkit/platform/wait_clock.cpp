#include "tesselkit/platform/wait_clock.h"

#include <linux/futex.h>
#include <sys/syscall.h>
#include <time.h>
#include <unistd.h>

namespace tesselkit::platform {

namespace {

using namespace std::chrono;

static_assert(sizeof(std::atomic<std::uint32_t>) == sizeof(std::uint32_t));

// The host's steady clock, with waits by its own means: they hold no lock and leave nothing behind
// when a thread that waits is ended by force, as condition variables do.
class HostClock final : public WaitClock {
 public:
  TimePoint Now() override { return steady_clock::now(); }

  void WaitWhile(std::atomic<std::uint32_t>& word, std::uint32_t value,
                 TimePoint deadline) override {
    const auto since_start = deadline.time_since_epoch();
    const auto whole = duration_cast<seconds>(since_start);
    const timespec until{static_cast<time_t>(whole.count()),
                         static_cast<long>(nanoseconds(since_start - whole).count())};
    syscall(SYS_futex, &word, FUTEX_WAIT_BITSET_PRIVATE, value,
            deadline == TimePoint::max() ? nullptr : &until, nullptr, FUTEX_BITSET_MATCH_ANY);
  }

  void Wake(std::atomic<std::uint32_t>& word, int most) override {
    syscall(SYS_futex, &word, FUTEX_WAKE_PRIVATE, most, nullptr, nullptr, 0);
  }
};

constinit HostClock host_clock;
constinit std::atomic<WaitClock*> current_clock = &host_clock;

}  // namespace

WaitClock& CurrentWaitClock() noexcept {
  return *current_clock.load(std::memory_order_acquire);
}

void SetWaitClock(WaitClock* clock) noexcept {
  current_clock.store(clock != nullptr ? clock : &host_clock, std::memory_order_release);
}

}  // namespace tesselkit::platform
