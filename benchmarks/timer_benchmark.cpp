// Timer watches beside a std::jthread that waits on a condition variable: how late the ticks of one
// millisecond come, what a start and a stop cost, and what the ticks cost the processor.
#include <benchmark/benchmark.h>
#include <sys/resource.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <stop_token>
#include <thread>
#include <vector>

#include "tesselkit/tesselkit.h"

namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

// When each call came, less when it was due: one interval after the call before had returned.
struct Lateness {
  std::vector<double> microseconds;
  Clock::time_point last_return;
  std::size_t most = 0;
  std::atomic<bool> is_full = false;

  void Begin(std::size_t ticks) {
    microseconds.clear();
    microseconds.reserve(ticks);
    most = ticks;
    is_full = false;
    last_return = {};
  }

  void Tick() {
    const auto late = Clock::now() - last_return - milliseconds(1);
    if (last_return != Clock::time_point() && microseconds.size() < most) {
      microseconds.push_back(std::chrono::duration<double, std::micro>(late).count());
    }
    if (microseconds.size() == most) is_full = true;
    last_return = Clock::now();
  }

  double AtPercent(std::size_t percent) {
    std::sort(microseconds.begin(), microseconds.end());
    return microseconds[(microseconds.size() - 1) * percent / 100];
  }
};

Lateness lateness;

void Tick() {
  lateness.Tick();
}

double ProcessorSeconds() {
  rusage used;
  getrusage(RUSAGE_SELF, &used);
  const auto seconds = [](const timeval& time) {
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) / 1e6;
  };
  return seconds(used.ru_utime) + seconds(used.ru_stime);
}

void QuietTraces() {
  tesselkit::platform::SetDebugOutputSink([](const char*) {});
}

// The peer: the loop that one would write.
class JthreadTimer {
 public:
  JthreadTimer(void (*callback)(), milliseconds interval)
      : m_thread([this, callback, interval](const std::stop_token& stop) {
          std::unique_lock lock(m_mutex);
          while (!m_wake_up.wait_for(lock, stop, interval, [&] { return stop.stop_requested(); })) {
            callback();
          }
        }) {}

 private:
  std::mutex m_mutex;
  std::condition_variable_any m_wake_up;
  std::jthread m_thread;
};

// The same with a plain condition variable and a flag.
class ConditionVariableTimer {
 public:
  ConditionVariableTimer(void (*callback)(), milliseconds interval)
      : m_thread([this, callback, interval] {
          std::unique_lock lock(m_mutex);
          while (!m_wake_up.wait_for(lock, interval, [this] { return m_is_stopped; })) callback();
        }) {}
  ~ConditionVariableTimer() {
    {
      const std::lock_guard lock(m_mutex);
      m_is_stopped = true;
    }
    m_wake_up.notify_one();
  }

 private:
  std::mutex m_mutex;
  std::condition_variable m_wake_up;
  bool m_is_stopped = false;
  std::jthread m_thread;
};

struct WatchTimer : AdTimerWatch {
  WatchTimer(void (*callback)(), milliseconds interval)
      : AdTimerWatch(callback, interval.count(), 1) {}
};

// Each iteration is one run of so many ticks; the time of the run is not what is measured.
template <class Timer>
void Ticks(benchmark::State& state) {
  QuietTraces();
  const auto ticks = static_cast<std::size_t>(state.range(0));
  for (auto _ : state) {
    lateness.Begin(ticks);
    const double before = ProcessorSeconds();
    {
      const Timer timer(&Tick, milliseconds(1));
      while (!lateness.is_full) std::this_thread::sleep_for(milliseconds(20));
    }
    const double used = ProcessorSeconds() - before;
    state.counters["median_us"] = lateness.AtPercent(50);
    state.counters["p99_us"] = lateness.AtPercent(99);
    state.counters["cpu_us_per_tick"] = used * 1e6 / static_cast<double>(ticks);
  }
}
BENCHMARK(Ticks<WatchTimer>)->Name("Ticks")->Arg(3000)->Iterations(1);
BENCHMARK(Ticks<ConditionVariableTimer>)
    ->Name("Ticks_peer_condition_variable")
    ->Arg(3000)
    ->Iterations(1);

template <class Timer>
void StartStop(benchmark::State& state) {
  QuietTraces();
  for (auto _ : state) Timer(&Tick, milliseconds(3'600'000));
}
BENCHMARK(StartStop<WatchTimer>)->Name("StartStop")->UseRealTime();
BENCHMARK(StartStop<JthreadTimer>)->Name("StartStop_peer_jthread_stop_token")->UseRealTime();
BENCHMARK(StartStop<ConditionVariableTimer>)
    ->Name("StartStop_peer_jthread_condition_variable")
    ->UseRealTime();

}  // namespace
