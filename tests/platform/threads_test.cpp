#include "tesselkit/platform/threads.h"

#include <gtest/gtest.h>
#include <pthread.h>
#include <unistd.h>

#include <atomic>
#include <csignal>
#include <functional>
#include <thread>
#include <vector>

#include "tesselkit/platform/debug_output.h"
#include "tesselkit/platform/status_codes.h"
#include "tests/support/host_threads.h"
#include "tests/support/process.h"
#include "tests/support/sanitized.h"
#include "tests/support/standing_clock.h"

namespace {

using std::chrono::milliseconds;

unsigned long CallBody(void* body) {
  return (*static_cast<std::function<unsigned long()>*>(body))();
}

// A thread that runs `body`; its handle is closed when the scope is left.
class Started {
 public:
  explicit Started(std::function<unsigned long()> body) : m_body(std::move(body)) {
    handle = CreateThread(nullptr, 0, CallBody, &m_body, 0, &id);
  }
  ~Started() { Close(); }
  Started(const Started&) = delete;
  Started& operator=(const Started&) = delete;

  void Close() {
    if (handle == nullptr) return;
    EXPECT_TRUE(CloseHandle(handle));
    handle = nullptr;
  }
  DWORD ExitCode() {
    DWORD code = 0;
    EXPECT_TRUE(GetExitCodeThread(handle, &code));
    return code;
  }

  HANDLE handle = nullptr;
  DWORD id = 0;

 private:
  std::function<unsigned long()> m_body;
};

HANDLE NewEvent(BOOL is_set) {
  return CreateEventA(nullptr, FALSE, is_set, nullptr);
}

TEST(Events, EachSettingLetsOneWaitGo) {
  for (const BOOL is_set : {FALSE, TRUE}) {
    const HANDLE event = NewEvent(is_set);
    EXPECT_EQ(WaitForSingleObject(event, 0), is_set ? WAIT_OBJECT_0 : WAIT_TIMEOUT);
    EXPECT_EQ(WaitForSingleObject(event, 0), WAIT_TIMEOUT);
    EXPECT_TRUE(SetEvent(event));
    EXPECT_TRUE(SetEvent(event));
    EXPECT_EQ(WaitForSingleObject(event, 0), WAIT_OBJECT_0);
    EXPECT_EQ(WaitForSingleObject(event, 0), WAIT_TIMEOUT);
    EXPECT_TRUE(CloseHandle(event));
  }
}

TEST(Events, WaitsEndAtTheirTimeOutAndNotBefore) {
  test::StandingClock clock;
  const HANDLE event = NewEvent(FALSE);
  for (const DWORD time_out : {1u, 100u, 36'000'000u}) {
    std::atomic<bool> has_ended = false;
    std::thread waiter([&] {
      EXPECT_EQ(WaitForSingleObject(event, time_out), WAIT_TIMEOUT);
      has_ended = true;
    });
    clock.AwaitWaits(1);
    clock.Advance(milliseconds(time_out - 1));
    clock.AwaitWaits(1);
    EXPECT_FALSE(has_ended);
    clock.Advance(milliseconds(1));
    waiter.join();
  }
  std::thread endless([&] { EXPECT_EQ(WaitForSingleObject(event, INFINITE), WAIT_OBJECT_0); });
  clock.AwaitWaits(1);
  clock.Advance(milliseconds(0xFFFFFFFF));
  clock.AwaitWaits(1);
  SetEvent(event);
  endless.join();
  CloseHandle(event);
}

// Every setting is taken by exactly one of the threads that wait, on the host's own clock.
TEST(Events, NoSettingIsLostOrTakenTwice) {
  constexpr int kRounds = 3000;
  const HANDLE ball = NewEvent(FALSE), back = NewEvent(FALSE);
  int taken = 0;  // guarded by the ball
  std::atomic<bool> is_over = false;
  std::vector<std::thread> takers;
  for (int i = 0; i < 3; ++i) {
    takers.emplace_back([&] {
      while (WaitForSingleObject(ball, INFINITE) == WAIT_OBJECT_0 && !is_over) {
        ++taken;
        SetEvent(back);
      }
      SetEvent(ball);
    });
  }
  for (int i = 1; i <= kRounds; ++i) {
    SetEvent(ball);
    ASSERT_EQ(WaitForSingleObject(back, 60'000), WAIT_OBJECT_0);
    ASSERT_EQ(taken, i);
  }
  is_over = true;
  SetEvent(ball);
  for (std::thread& taker : takers) taker.join();
  CloseHandle(ball);
  CloseHandle(back);
}

TEST(Threads, HaveAnIdAndAnExitCode) {
  const HANDLE go = NewEvent(FALSE);
  DWORD seen = 0;
  Started thread([&]() -> unsigned long {
    seen = GetCurrentThreadId();
    WaitForSingleObject(go, INFINITE);
    return 0x1'2345'6789;
  });
  EXPECT_EQ(thread.ExitCode(), STILL_ACTIVE);
  EXPECT_EQ(WaitForSingleObject(thread.handle, 0), WAIT_TIMEOUT);
  SetEvent(go);
  for (int i = 0; i < 2; ++i) {
    EXPECT_EQ(WaitForSingleObject(thread.handle, INFINITE), WAIT_OBJECT_0);
  }
  EXPECT_EQ(thread.id, seen);
  EXPECT_EQ(thread.ExitCode(), 0x2345'6789u);
  EXPECT_TRUE(TerminateThread(thread.handle, 7));  // it has ended, and stays as it is
  EXPECT_EQ(thread.ExitCode(), 0x2345'6789u);
  thread.Close();
  EXPECT_TRUE(test::IsGoneSoon(seen));
  CloseHandle(go);
}

TEST(Threads, OutliveTheirHandle) {
  const HANDLE go = NewEvent(FALSE), done = NewEvent(FALSE);
  Started thread([&]() -> unsigned long {
    WaitForSingleObject(go, INFINITE);
    SetEvent(done);
    return 0;
  });
  thread.Close();
  EXPECT_EQ(WaitForSingleObject(done, 0), WAIT_TIMEOUT);
  SetEvent(go);
  EXPECT_EQ(WaitForSingleObject(done, INFINITE), WAIT_OBJECT_0);
  EXPECT_TRUE(test::IsGoneSoon(thread.id));
  CloseHandle(go);
  CloseHandle(done);
}

TEST(Threads, RefuseWhatTheyAreNot) {
  const HANDLE closed = NewEvent(TRUE), event = NewEvent(TRUE);
  Started thread([]() -> unsigned long { return 0; });
  CloseHandle(closed);
  DWORD code = 0;
  const struct {
    int line;
    std::function<bool()> refuses;
    LONG error;
  } rows[] = {
      {__LINE__, [&] { return !SetEvent(thread.handle); }, ERROR_INVALID_HANDLE},
      {__LINE__, [&] { return !SetEvent(closed); }, ERROR_INVALID_HANDLE},
      {__LINE__, [&] { return !CloseHandle(closed); }, ERROR_INVALID_HANDLE},
      {__LINE__, [] { return !CloseHandle(nullptr); }, ERROR_INVALID_HANDLE},
      {__LINE__, [&] { return WaitForSingleObject(closed, 0) == WAIT_FAILED; },
       ERROR_INVALID_HANDLE},
      {__LINE__, [&] { return WaitForSingleObject(&code, INFINITE) == WAIT_FAILED; },
       ERROR_INVALID_HANDLE},
      {__LINE__, [&] { return !GetExitCodeThread(event, &code); }, ERROR_INVALID_HANDLE},
      {__LINE__, [&] { return !TerminateThread(event, 0); }, ERROR_INVALID_HANDLE},
      {__LINE__, [&] { return !CreateEventA(&code, FALSE, FALSE, nullptr); },
       ERROR_INVALID_PARAMETER},
      {__LINE__, [] { return !CreateEventA(nullptr, TRUE, FALSE, nullptr); },
       ERROR_INVALID_PARAMETER},
      {__LINE__, [] { return !CreateEventA(nullptr, FALSE, FALSE, "name"); },
       ERROR_INVALID_PARAMETER},
      {__LINE__, [] { return !CreateThread(nullptr, 0, nullptr, nullptr, 0, nullptr); },
       ERROR_INVALID_PARAMETER},
      {__LINE__, [] { return !CreateThread(nullptr, 0, CallBody, nullptr, 4, nullptr); },
       ERROR_INVALID_PARAMETER},
      {__LINE__, [] { return !CreateThread(nullptr, ~0ul / 4, CallBody, nullptr, 0, nullptr); },
       ERROR_NOT_ENOUGH_MEMORY},
  };
  for (const auto& row : rows) {
    SetLastError(0);
    EXPECT_TRUE(row.refuses()) << row.line;
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(row.error)) << row.line;
    std::thread([] { EXPECT_EQ(GetLastError(), 0u); }).join();
  }
  CloseHandle(event);
}

TEST(Threads, CannotEndThemselvesByForce) {
  HANDLE own = nullptr;
  const HANDLE go = NewEvent(FALSE);
  Started thread([&]() -> unsigned long {
    WaitForSingleObject(go, INFINITE);
    return TerminateThread(own, 1) ? 0 : GetLastError();
  });
  own = thread.handle;
  SetEvent(go);
  WaitForSingleObject(thread.handle, INFINITE);
  EXPECT_EQ(thread.ExitCode(), static_cast<DWORD>(ERROR_ACCESS_DENIED));
  CloseHandle(go);
}

class ForcedEnds : public testing::Test {
 protected:
  void SetUp() override {
    if (test::kIsThreadSanitized) GTEST_SKIP() << "waits for ever for a thread that ended so";
  }
};

std::atomic<int> where = 0;  // how far a thread's body has come; 1 when it is ready to be ended

void SpinHeedlessly() {
  try {
    for (where = 1;; where = 1) continue;
  } catch (...) {
    where = 2;
  }
  where = 3;
}

void BlockInSystemCall() {
  int ends[2];
  char byte;
  if (pipe(ends) != 0) return;
  where = 1;
  for (;;) {
    if (read(ends[0], &byte, 1) >= 0) where = 3;
  }
}

void Sleep() {
  where = 1;
  std::this_thread::sleep_for(std::chrono::hours(1));
  where = 3;
}

unsigned long UseTheLayerForEver(void*) {
  for (;;) WaitForSingleObject(nullptr, 0);
}

TEST_F(ForcedEnds, ComeWithTheNextUseOfTheLayerWhereNoSignalIsFree) {
  const int code = test::InChild([] {
    for (int signal = SIGRTMIN; signal <= SIGRTMAX; ++signal) std::signal(signal, SIG_IGN);
    const HANDLE thread = CreateThread(nullptr, 0, UseTheLayerForEver, nullptr, 0, nullptr);
    DWORD exit_code = 0;
    if (!TerminateThread(thread, 7)) return 1;
    return GetExitCodeThread(thread, &exit_code) && exit_code == 7 ? 0 : 2;
  });
  EXPECT_EQ(code, 0);
}

TEST_F(ForcedEnds, RunNothingOfTheThread) {
  for (void (*const body)() : {SpinHeedlessly, BlockInSystemCall, Sleep}) {
    where = 0;
    Started thread([&]() -> unsigned long {
      struct Unwound {
        ~Unwound() { where = 4; }
      } const unwound;
      body();
      return 0;
    });
    while (where == 0) std::this_thread::yield();
    std::thread waiter([&] { EXPECT_EQ(WaitForSingleObject(thread.handle, 60'000), 0u); });
    EXPECT_TRUE(TerminateThread(thread.handle, 0xFFFFFFFF));
    EXPECT_FALSE(test::HostThreads().contains(std::to_string(thread.id)));
    EXPECT_EQ(thread.ExitCode(), 0xFFFFFFFFu);
    waiter.join();
    EXPECT_EQ(where, 1);
  }
}

TEST_F(ForcedEnds, ReachThreadsThatHaveHardlyBegun) {
  for (int i = 0; i < 300; ++i) {
    const auto body = [](void*) -> unsigned long {
      Sleep();
      return 0;
    };
    const HANDLE thread = CreateThread(nullptr, 0, body, nullptr, 0, nullptr);
    ASSERT_TRUE(TerminateThread(thread, 1));
    CloseHandle(thread);
  }
}

// The thread that creates one may have all signals blocked, as hosts do that wait for them.
TEST_F(ForcedEnds, ReachThreadsWhoseCreatorBlocksSignals) {
  sigset_t all, before;
  sigfillset(&all);
  pthread_sigmask(SIG_SETMASK, &all, &before);
  where = 0;
  Started thread([]() -> unsigned long {
    Sleep();
    return 0;
  });
  pthread_sigmask(SIG_SETMASK, &before, nullptr);
  EXPECT_TRUE(TerminateThread(thread.handle, 1));
}

// The C library hands a thread's descriptor on to the next, and with it what was kept there.
TEST_F(ForcedEnds, LeaveNothingToTheNextThread) {
  static int value;
  static thread_local int* own = nullptr;
  pthread_key_t key;
  ASSERT_EQ(pthread_key_create(&key, nullptr), 0);
  where = 0;
  Started thread([&]() -> unsigned long {
    pthread_setspecific(key, own = &value);
    Sleep();
    return 0;
  });
  while (where == 0) std::this_thread::yield();
  ASSERT_TRUE(TerminateThread(thread.handle, 1));
  for (int i = 0; i < 3; ++i) {
    Started next([&]() -> unsigned long {
      return pthread_getspecific(key) == nullptr && own == nullptr ? 0 : 1;
    });
    WaitForSingleObject(next.handle, INFINITE);
    EXPECT_EQ(next.ExitCode(), 0u);
  }
  pthread_key_delete(key);
}

// Threads that do nothing but take the locks of the layer are ended at any instruction; what they
// shared goes on working.
TEST_F(ForcedEnds, LeaveNoLockOfTheLayerBehind) {
  if (test::kIsSanitized) GTEST_SKIP() << "what such a thread was using is never given back";
  tesselkit::platform::SetDebugOutputSink([](const char*) {});
  const HANDLE event = NewEvent(FALSE);
  for (int i = 0; i < 300; ++i) {
    where = 0;
    Started thread([&]() -> unsigned long {
      for (;; where = 1) {
        GetExitCodeThread(event, nullptr);
        CloseHandle(nullptr);
        OutputDebugStringA("");
      }
    });
    while (where == 0) std::this_thread::yield();
    ASSERT_TRUE(TerminateThread(thread.handle, 1));
    ASSERT_TRUE(SetEvent(event));
    ASSERT_EQ(WaitForSingleObject(event, 0), WAIT_OBJECT_0);
    OutputDebugStringA("");
  }
  CloseHandle(event);
  tesselkit::platform::SetDebugOutputSink({});
}

}  // namespace
