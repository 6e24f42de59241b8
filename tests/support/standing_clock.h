// A clock that stands still until the test moves it.
#pragma once

#include <algorithm>
#include <condition_variable>
#include <list>
#include <mutex>

#include "tesselkit/platform/wait_clock.h"

namespace test {

// All waits go by it while it lives; nobody may wait when its scope begins and ends.
class StandingClock final : public tesselkit::platform::WaitClock {
 public:
  using Milliseconds = std::chrono::milliseconds;

  StandingClock() { tesselkit::platform::SetWaitClock(this); }
  ~StandingClock() override { tesselkit::platform::SetWaitClock(nullptr); }
  StandingClock(const StandingClock&) = delete;
  StandingClock& operator=(const StandingClock&) = delete;

  // Blocks until so many threads wait for what has not happened yet.
  void AwaitWaits(long count) {
    std::unique_lock lock(m_mutex);
    m_changed.wait(lock, [&] {
      return std::count_if(m_waits.begin(), m_waits.end(),
                           [this](const Wait& wait) { return IsOn(wait); }) == count;
    });
  }

  void Advance(Milliseconds time) {
    const std::lock_guard lock(m_mutex);
    m_now += time;
    m_changed.notify_all();
  }

  Milliseconds Passed() {
    const std::lock_guard lock(m_mutex);
    return std::chrono::duration_cast<Milliseconds>(m_now - kStart);
  }

  TimePoint Now() override {
    const std::lock_guard lock(m_mutex);
    return m_now;
  }

  void WaitWhile(std::atomic<std::uint32_t>& word, std::uint32_t value,
                 TimePoint deadline) override {
    std::unique_lock lock(m_mutex);
    const auto wait = m_waits.insert(m_waits.end(), {&word, value, deadline});
    m_changed.notify_all();
    m_changed.wait(lock, [&] { return !IsOn(*wait); });
    m_waits.erase(wait);
  }

  void Wake(std::atomic<std::uint32_t>&, int) override {
    const std::lock_guard lock(m_mutex);
    m_changed.notify_all();
  }

 private:
  struct Wait {
    const std::atomic<std::uint32_t>* word;
    std::uint32_t value;
    TimePoint deadline;
  };

  bool IsOn(const Wait& wait) const { return *wait.word == wait.value && m_now < wait.deadline; }

  static constexpr TimePoint kStart{std::chrono::hours(1)};

  std::mutex m_mutex;
  std::condition_variable m_changed;
  std::list<Wait> m_waits;
  TimePoint m_now = kStart;
};

}  // namespace test
