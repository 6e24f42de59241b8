#include "tesselkit/system/adtimerwatch.h"

#include <pthread.h>
#include <unistd.h>

#include <climits>
#include <csignal>
#include <cstdlib>
#include <functional>
#include <optional>
#include <stdexcept>
#include <thread>

#include "tesselkit/failure/adexcept_automation.h"
#include "tesselkit/platform/debug_output.h"
#include "tesselkit/platform/threads.h"
#include "tests/support/failures.h"
#include "tests/support/host_threads.h"
#include "tests/support/sanitized.h"
#include "tests/support/standing_clock.h"
#include "tests/support/traced_test.h"
#include "tests/support/vtable_slot.h"

namespace {

using std::chrono::milliseconds;
using Traces = std::vector<std::string>;

std::atomic<int> calls = 0;
std::atomic<unsigned> thread_id = 0;
std::function<void()> action;  // what a call does besides

void CountCall() {
  thread_id = GetCurrentThreadId();
  ++calls;
  if (action) action();
}

// On the host's own clock.
class TimerWatchInRealTime : public test::TracedTest {
 protected:
  TimerWatchInRealTime() {
    calls = 0;
    action = nullptr;
  }

  static std::string Trace(const std::string& what) {
    return what + ", proc " + std::to_string(getpid()) + " thread " + std::to_string(thread_id) +
           "\n";
  }
  static std::string Started() { return Trace("Timer thread started"); }
  static std::string Terminated() { return Trace("Timer thread terminated"); }
};

class TimerWatch : public TimerWatchInRealTime {
 protected:
  // Lets the watch come to its next wait, and that wait time out, and what follows end.
  void Tick(long interval) {
    m_clock.AwaitWaits(1);
    m_clock.Advance(milliseconds(interval));
    m_clock.AwaitWaits(1);
  }

  // Lets the watch call back once more, from which its thread does not come back to a wait.
  void TickLast(long interval) {
    const int before = calls;
    m_clock.AwaitWaits(1);
    m_clock.Advance(milliseconds(interval));
    while (calls == before) std::this_thread::yield();
  }

  test::StandingClock m_clock;
};

TEST_F(TimerWatch, IntervalsAreWithinTheLimits) {
  AdTimerWatch watch(&CountCall, 7, 0);
  const std::string refused =
      "18019 " +
      test::ConditionText("millsec >= m_PollMin && millsec <= m_PollMax", "adtimerwatch");
  for (const long bad : {-1L, -5L, 36'000'001L, LONG_MIN, LONG_MAX, 1L << 32 | 1}) {
    EXPECT_EQ(ThrownBy([&] { watch.SetPollInterval(bad); }), refused);
    EXPECT_EQ(ThrownBy([&] { AdTimerWatch(bad, 1); }), refused);
    EXPECT_EQ(ThrownBy([&] { AdTimerWatch(&CountCall, bad, 1); }), refused);
  }
  EXPECT_EQ(watch.GetCurrentPollInterval(), 0);
  watch.StartWatch();
  EXPECT_EQ(watch.GetCurrentPollInterval(), 7);
  watch.StopWatch();
  for (const long good : {1L, 36'000'000L}) {
    watch.SetPollInterval(good);
    watch.StartWatch();
    EXPECT_EQ(watch.GetCurrentPollInterval(), good);
    watch.StopWatch();
  }
  EXPECT_EQ(calls, 0);
  EXPECT_EQ(TakeTraces().size(), 6u);
}

TEST_F(TimerWatch, WithoutAnIntervalNothingStarts) {
  AdTimerWatch watch(0, 1);
  watch.StartWatch();
  EXPECT_EQ(watch.IsTimerRunning(), 0);
  watch.StopWatch();
  watch.StopWatch();
}

// The first call comes one interval after the start, each other one interval after the one before
// has returned.
TEST_F(TimerWatch, TheTimeOfACallAddsToThePeriod) {
  std::vector<long> times;
  action = [&] {
    times.push_back(m_clock.Passed().count());
    m_clock.Advance(milliseconds(30));
  };
  AdTimerWatch watch(&CountCall, 100, 1);
  for (int i = 0; i < 3; ++i) {
    Tick(99);
    EXPECT_EQ(calls, i);
    Tick(1);
    EXPECT_EQ(calls, i + 1);
  }
  watch.StopWatch();
  EXPECT_EQ(times, (std::vector<long>{100, 230, 360}));
  EXPECT_NE(thread_id, GetCurrentThreadId());
  ExpectTraces({Started(), Terminated()});
}

TEST_F(TimerWatch, WithoutAFunctionTheVirtualOneIsCalled) {
  struct Derived : AdTimerWatch {
    Derived() : AdTimerWatch(100, 0) { StartWatch(); }
    ~Derived() override { StopWatch(); }
    void OnTimeoutCallback() override {
      CountCall();
      AdTimerWatch::OnTimeoutCallback();
    }
  };
  {
    Derived watch;
    Tick(100);
    Tick(100);
  }
  EXPECT_EQ(calls, 2);
  const std::string called = "We are in OnTimeoutCallback";
  ExpectTraces({Started(), called, called, Terminated()});
}

TEST_F(TimerWatch, ANewIntervalHoldsFromTheNextStart) {
  AdTimerWatch watch(&CountCall, 100, 1);
  watch.SetPollInterval(500);
  watch.StartWatch();  // is running
  EXPECT_EQ(watch.GetCurrentPollInterval(), 100);
  Tick(100);
  Tick(100);
  EXPECT_EQ(calls, 2);
  watch.StopWatch();
  EXPECT_EQ(watch.IsTimerRunning(), 0);
  ExpectTraces({Started(), Terminated()});
  watch.StartWatch();
  EXPECT_EQ(watch.IsTimerRunning(), 1);
  EXPECT_EQ(watch.GetCurrentPollInterval(), 500);
  Tick(499);
  EXPECT_EQ(calls, 2);
  Tick(1);
  EXPECT_EQ(calls, 3);
  watch.SetPollInterval(0);
  watch.StopWatch();
  watch.StartWatch();
  EXPECT_EQ(watch.IsTimerRunning(), 0);
  ExpectTraces({Started(), Terminated()});
}

TEST_F(TimerWatch, StoppingWaitsForACallThatIsUnderWay) {
  std::atomic<bool> may_return = false, has_returned = false;
  action = [&] {
    while (!may_return) std::this_thread::yield();
    has_returned = true;
  };
  AdTimerWatch watch(&CountCall, 100, 1);
  TickLast(100);
  std::thread helper([&] {
    m_clock.AwaitWaits(1);  // the owner's
    m_clock.Advance(milliseconds(9'999));
    m_clock.AwaitWaits(1);
    may_return = true;
  });
  watch.StopWatch();
  EXPECT_TRUE(has_returned);
  EXPECT_EQ(calls, 1);
  helper.join();
  ExpectTraces({Started(), Terminated()});
}

TEST_F(TimerWatch, WhatACallThrowsEndsTheThreadAndNothingElse) {
  const std::function<void()> throwing[] = {
      [] { throw 1; },
      [] { throw std::runtime_error("a text that is too long to be kept in its object"); },
      [] { AfxThrowMemoryException(); },
      [] { throw new PaMsgException; },
      [] { throw new AdOMException("description", "source"); },
  };
  for (const auto& each : throwing) {
    action = each;
    AdTimerWatch watch(&CountCall, 100, 1);
    TickLast(100);
    EXPECT_TRUE(test::IsGoneSoon(thread_id));
    EXPECT_EQ(watch.IsTimerRunning(), 1);
    watch.StartWatch();  // changes nothing
    watch.StopWatch();   // at once, since the clock stands
    EXPECT_EQ(watch.IsTimerRunning(), 0);
    ExpectTraces({Started(), Trace("Exception detected in timer thread"), Terminated()});
    action = nullptr;
    watch.StartWatch();
    Tick(100);
    watch.StopWatch();
    ExpectTraces({Started(), Terminated()});
  }
  EXPECT_EQ(calls, 10);
}

TEST_F(TimerWatch, ACallMayLeaveItsThread) {
  action = [] { pthread_exit(nullptr); };
  AdTimerWatch watch(&CountCall, 100, 1);
  TickLast(100);
  watch.StopWatch();
  EXPECT_TRUE(test::IsGoneSoon(thread_id));
  ExpectTraces({Started()});
}

AdTimerWatch* stopped_watch = nullptr;

void StopAndTryToStart() {
  stopped_watch->StopWatch();
  stopped_watch->StopWatch();
  stopped_watch->StartWatch();
}

// The thread then ends without another call, and the clock need not move for it.
TEST_F(TimerWatch, ACallMayStopItsOwnWatch) {
  action = StopAndTryToStart;
  const std::function<void(std::optional<AdTimerWatch>&)> owners_next_steps[] = {
      [](auto& watch) { watch->StopWatch(); },
      [](auto& watch) { watch.reset(); },
      [this](auto& watch) {
        watch->SetPollInterval(200);
        watch->StartWatch();
        EXPECT_EQ(watch->GetCurrentPollInterval(), 200);
        TickLast(200);
        watch->StopWatch();
      },
  };
  for (const auto& step : owners_next_steps) {
    std::optional<AdTimerWatch> watch(std::in_place, &CountCall, 100, 0);
    stopped_watch = &*watch;
    watch->StartWatch();
    TickLast(100);
    EXPECT_TRUE(test::IsGoneSoon(thread_id));
    EXPECT_EQ(watch->IsTimerRunning(), 1);
    Traces expected = {Started(), Terminated()};
    const unsigned first_thread = thread_id;
    step(watch);
    EXPECT_EQ(watch ? watch->IsTimerRunning() : 0, 0);
    if (thread_id != first_thread) expected.insert(expected.end(), {Started(), Terminated()});
    ExpectTraces(expected);
    EXPECT_TRUE(test::IsGoneSoon(thread_id));
  }
  EXPECT_EQ(calls, 4);
}

TEST_F(TimerWatch, EndingAWatchStopsIt) {
  {
    AdTimerWatch watch(&CountCall, 100, 1);
    Tick(100);
  }
  ExpectTraces({Started(), Terminated()});
}

[[noreturn]] void SpinPastHandlers() {
  for (;;) {
    try {
      for (std::atomic<int> turns = 0;; ++turns) continue;
    } catch (...) {
      OutputDebugStringA("a handler has run");
    }
  }
}

void BlockInSystemCall() {
  int ends[2];
  char byte;
  if (pipe(ends) == 0 && read(ends[0], &byte, 1) < 0) OutputDebugStringA("the call has returned");
}

TEST_F(TimerWatch, ACallThatNeverReturnsIsEndedAfterTenSeconds) {
  if (test::kIsThreadSanitized) GTEST_SKIP() << "waits for ever for a thread that ended so";
  for (void (*const hang)() : {SpinPastHandlers, BlockInSystemCall}) {
    action = hang;
    AdTimerWatch watch(&CountCall, 100, 1);
    TickLast(100);
    std::atomic<bool> has_stopped = false;
    std::thread helper([&] {
      m_clock.AwaitWaits(1);  // the owner's
      m_clock.Advance(milliseconds(9'999));
      m_clock.AwaitWaits(1);
      EXPECT_FALSE(has_stopped);
      m_clock.Advance(milliseconds(1));
    });
    watch.StopWatch();
    has_stopped = true;
    helper.join();
    EXPECT_FALSE(test::HostThreads().contains(std::to_string(thread_id)));
    EXPECT_EQ(watch.IsTimerRunning(), 0);
    ExpectTraces({Started(), "Killing timer thread abnormally...\n"});
    action = nullptr;
    watch.StartWatch();
    Tick(100);
    watch.StopWatch();
    ExpectTraces({Started(), Terminated()});
  }
}

// As slots of a table that callers rely on.
TEST(TimerWatchLayout, VirtualFunctionsKeepTheirPlaces) {
  struct Derived : AdTimerWatch {
    using AdTimerWatch::AdTimerWatch;
    static void Check() {
      using test::SlotOf;
      EXPECT_EQ(SlotOf(&Derived::OnTimeoutCallback), 2u);  // the destructor takes two
      EXPECT_EQ(SlotOf(&Derived::StartWatch), 3u);
      EXPECT_EQ(SlotOf(&Derived::StopWatch), 4u);
      EXPECT_EQ(SlotOf(&Derived::ClearAllTimerWatchMemberVars), 5u);
      EXPECT_EQ(SlotOf(&Derived::Initialize), 6u);
    }
  };
  Derived::Check();
}

TEST_F(TimerWatchInRealTime, TicksComeAtTheirInterval) {
  const auto start = std::chrono::steady_clock::now();
  AdTimerWatch watch(&CountCall, 100, 1);
  while (calls < 10) std::this_thread::sleep_for(milliseconds(1));
  const auto passed = std::chrono::steady_clock::now() - start;
  watch.StopWatch();
  EXPECT_EQ(watch.IsTimerRunning(), 0);
  const int at_stop = calls;
  EXPECT_GE(passed, milliseconds(1'000));
  EXPECT_LT(passed, milliseconds(3'000));
  std::this_thread::sleep_for(milliseconds(250));
  EXPECT_EQ(calls, at_stop);
  ExpectTraces({Started(), Terminated()});
}

// A call that cannot even be ended by force, since it blocks the signals of its thread.
TEST_F(TimerWatchInRealTime, AThreadOutOfReachIsReportedAndNeverCallsAgain) {
  if (test::kIsSanitized) GTEST_SKIP() << "such a thread is not cleared away";
  std::atomic<bool> may_return = false;
  action = [&] {
    sigset_t all;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, nullptr);
    while (!may_return) std::this_thread::yield();
  };
  const auto start = std::chrono::steady_clock::now();
  {
    AdTimerWatch watch(&CountCall, 1, 1);
    while (calls == 0) std::this_thread::yield();
  }
  const auto passed = std::chrono::steady_clock::now() - start;
  EXPECT_GE(passed, milliseconds(12'000));
  EXPECT_LT(passed, milliseconds(20'000));
  EXPECT_TRUE(test::HostThreads().contains(std::to_string(thread_id)));
  may_return = true;
  EXPECT_TRUE(test::IsGoneSoon(thread_id));
  EXPECT_EQ(calls, 1);
  ExpectTraces({Started(), "Killing timer thread abnormally...\n",
                "ERROR: TerminateThread failed; error code = 170\n"});
}

}  // namespace
