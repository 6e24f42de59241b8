// What a process sees of its signals: each case in a child that is watched from outside.
#include "tesselkit/platform/native_exception.h"

#include <gtest/gtest.h>
#include <sys/ptrace.h>
#include <sys/resource.h>
#include <sys/user.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstdint>
#include <cstdlib>
#include <iterator>
#include <thread>
#include <vector>

#include "tesselkit/platform/cstring.h"
#include "tests/support/faulting_code.h"
#include "tests/support/sanitized.h"

namespace {

void Ignore(unsigned int, EXCEPTION_POINTERS*) {}

void Throw(unsigned int code, EXCEPTION_POINTERS*) {
  throw static_cast<int>(code & 0xFF);
}

// How the thread that is struck stands to native exceptions.
enum Standing {
  kNothingSet,    // nobody in the process has a translator
  kSetElsewhere,  // another thread has one
  kReturns,       // its own translator takes nothing
  kSetBySender,   // its own takes everything, but what is sent is none
};

void Stand(Standing standing) {
  if (standing == kSetElsewhere) std::thread([] { _set_se_translator(Throw); }).join();
  if (standing == kReturns) _set_se_translator(Ignore);
  if (standing == kSetBySender) _set_se_translator(Throw);
}

// What came of a child: the signal that ended it, or minus its exit code, and whether it stood at
// the same instruction when it was struck first and last.
struct End {
  int signal = 0;
  bool is_in_place = true;
  int strikes = 0;
};

#ifdef __x86_64__
unsigned long long PlaceOf(pid_t process) {
  user_regs_struct registers = {};
  ptrace(PTRACE_GETREGS, process, nullptr, &registers);
  return registers.rip;
}
#else
unsigned long long PlaceOf(pid_t) {
  return 0;
}
#endif

End Watch(pid_t process) {
  End end;
  unsigned long long place = 0;
  int status = 0;
  while (waitpid(process, &status, 0) == process && WIFSTOPPED(status)) {
    const int signal = WSTOPSIG(status);
    if (signal != SIGSTOP && signal != SIGCHLD) {
      const unsigned long long now = PlaceOf(process);
      end.is_in_place = end.strikes == 0 || now == place;
      place = now;
      ++end.strikes;
    }
    ptrace(PTRACE_CONT, process, nullptr, signal == SIGSTOP ? 0 : signal);
  }
  end.signal = WIFSIGNALED(status) ? WTERMSIG(status) : -WEXITSTATUS(status);
  return end;
}

template <class Body>
End EndOf(Body body) {
  const pid_t process = fork();
  if (process == 0) {
    ptrace(PTRACE_TRACEME, 0, nullptr, nullptr);
    raise(SIGSTOP);
    body();
    _exit(0);
  }
  return Watch(process);
}

struct StrikeRow {
  int line;
  int signal;
  test::Faulting strike;
};

void RaiseSignal(int signal) {
  raise(signal);
}

void SendFromOutside(int signal) {
  const pid_t target = getpid();
  const pid_t sender = fork();
  if (sender == 0) {
    kill(target, signal);
    _exit(0);
  }
  waitpid(sender, nullptr, 0);
  for (int i = 0; i < 1000; ++i) usleep(1000);
}

const StrikeRow kFaultRows[] = {
    {__LINE__, SIGFPE, test::DivideByZero},       {__LINE__, SIGSEGV, test::WriteToNull},
    {__LINE__, SIGSEGV, test::JumpToNull},        {__LINE__, SIGILL, test::ExecuteIllegal},
    {__LINE__, SIGTRAP, test::ExecuteBreakpoint}, {__LINE__, SIGBUS, test::ReadPastFileEnd},
};

class Signals : public testing::Test {
 protected:
  void SetUp() override {
    if (test::kIsSanitized) GTEST_SKIP() << "the sanitizers take these signals themselves";
  }
};

TEST_F(Signals, AFaultThatNobodyTakesEndsTheProcessWhereItStruck) {
  for (const StrikeRow& row : kFaultRows) {
    for (const Standing standing : {kNothingSet, kSetElsewhere, kReturns}) {
      SCOPED_TRACE(std::to_string(row.line) + " " + std::to_string(standing));
      const End end = EndOf([&] {
        Stand(standing);
        row.strike(1);
      });
      EXPECT_EQ(end.signal, row.signal);
      EXPECT_TRUE(end.is_in_place);
      EXPECT_EQ(end.strikes, standing == kNothingSet ? 1 : 2);  // once for the handler
    }
  }
}

TEST_F(Signals, WhatIsSentEndsTheProcessAsItAlwaysDid) {
  for (const int signal : {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGTRAP}) {
    for (const test::Faulting send : {RaiseSignal, SendFromOutside}) {
      for (const Standing standing : {kNothingSet, kSetElsewhere, kSetBySender}) {
        SCOPED_TRACE(std::to_string(signal) + " " + std::to_string(standing));
        const End end = EndOf([&] {
          Stand(standing);
          send(signal);
        });
        EXPECT_EQ(end.signal, signal);
        if (send == RaiseSignal) {
          EXPECT_TRUE(end.is_in_place);
        }
      }
    }
  }
}

volatile std::sig_atomic_t calls = 0;

TEST_F(Signals, AnEarlierHandlerRunsAsItWasSet) {
  // Its exit code says which step failed.
  const auto steps = [] {
    struct sigaction action = {};
    action.sa_flags = SA_SIGINFO;
    sigaddset(&action.sa_mask, SIGUSR1);
    action.sa_sigaction = [](int signal, siginfo_t* info, void*) {
      sigset_t mask;
      sigprocmask(SIG_BLOCK, nullptr, &mask);
      if (!sigismember(&mask, SIGUSR1) || !sigismember(&mask, signal)) _exit(2);
      if (info->si_code > 0) _exit(info->si_addr == nullptr ? 100 : 3);
      calls = calls + 1;
    };
    sigaction(SIGSEGV, &action, nullptr);
    std::signal(SIGBUS, SIG_IGN);
    action.sa_flags = static_cast<int>(SA_RESETHAND);
    action.sa_handler = [](int) { calls = calls + 1; };
    sigaction(SIGFPE, &action, nullptr);
    _set_se_translator(Throw);
    raise(SIGBUS);  // ignored
    raise(SIGSEGV);
    if (calls != 1) _exit(4);
    sigset_t mask;
    sigprocmask(SIG_BLOCK, nullptr, &mask);
    if (sigismember(&mask, SIGUSR1) || sigismember(&mask, SIGSEGV)) _exit(5);
    raise(SIGFPE);
    if (calls != 2) _exit(6);
    if (fork() == 0) {
      raise(SIGFPE);  // the second time by default
      _exit(0);
    }
    int status = 0;
    wait(&status);
    if (!WIFSIGNALED(status) || WTERMSIG(status) != SIGFPE) _exit(7);
    std::thread([] { test::WriteToNull(1); }).join();  // has no translator
    _exit(8);
  };
  EXPECT_EQ(EndOf(steps).signal, -100);
}

TEST_F(Signals, AnExceptionRaisedForNobodyAborts) {
  EXPECT_EQ(EndOf([] { RaiseException(7, 0, 0, nullptr); }).signal, SIGABRT);
}

TEST_F(Signals, AThreadsAlternateStackGoesWithIt) {
  char own[32768];
  stack_t mine = {own, 0, sizeof own};
  std::thread([&] {
    ASSERT_EQ(sigaltstack(&mine, nullptr), 0);
    struct Last {
      ~Last() {
        stack_t at_end = {};
        sigaltstack(nullptr, &at_end);
        EXPECT_EQ(at_end.ss_sp, own);  // given back
      }
      char* own;
    };
    thread_local Last last{own};
    EXPECT_EQ(last.own, own);
    _set_se_translator(Throw);
    stack_t now = {};
    sigaltstack(nullptr, &now);
    EXPECT_NE(now.ss_sp, own);
    EXPECT_THROW(test::OverflowStack(1), int);
  }).join();
}

TEST_F(Signals, AnAlternateStackThatWasSetLaterStays) {
  static char own[32768];
  std::thread([] {
    struct Last {
      ~Last() {
        stack_t at_end = {};
        sigaltstack(nullptr, &at_end);
        EXPECT_EQ(at_end.ss_sp, own);
        at_end.ss_flags = SS_DISABLE;
        sigaltstack(&at_end, nullptr);
      }
      int number = 0;
    };
    thread_local Last last;
    last.number = 1;
    _set_se_translator(Throw);
    const stack_t mine = {own, 0, sizeof own};
    ASSERT_EQ(sigaltstack(&mine, nullptr), 0);
  }).join();
}

// Whether a read from a pipe goes on when `signal` is sent to its thread.
bool ReadGoesOn(int signal) {
  int ends[2];
  if (pipe(ends) != 0) return false;
  const pthread_t reader = pthread_self();
  std::thread sender([&] {
    usleep(20'000);
    pthread_kill(reader, signal);
    usleep(20'000);
    if (write(ends[1], "x", 1) != 1) _exit(3);
  });
  char byte = 0;
  const bool has_read = read(ends[0], &byte, 1) == 1;
  sender.join();
  return has_read;
}

TEST_F(Signals, WhatIsSentInterruptsCallsAsItDidBefore) {
  for (const int flags : {0, SA_RESTART}) {
    const auto steps = [flags] {
      struct sigaction action = {};
      action.sa_flags = flags;
      action.sa_handler = [](int) {};
      sigaction(SIGSEGV, &action, nullptr);
      std::signal(SIGBUS, SIG_IGN);
      _set_se_translator(Throw);
      _exit(100 + ReadGoesOn(SIGSEGV) + 2 * ReadGoesOn(SIGBUS));
    };
    EXPECT_EQ(EndOf(steps).signal, flags == 0 ? -102 : -103);
  }
}

TEST_F(Signals, ThrowingLeavesMaskAndFloatingPointSettings) {
  _set_se_translator(Throw);
  sigset_t before, after;
  sigprocmask(SIG_BLOCK, nullptr, &before);
#ifdef __x86_64__
  const unsigned set = __builtin_ia32_stmxcsr() | 0x6000;  // rounding toward zero
  __builtin_ia32_ldmxcsr(set);
#endif
  EXPECT_THROW(test::DivideByZero(1), int);
#ifdef __x86_64__
  EXPECT_EQ(__builtin_ia32_stmxcsr() & 0xFFC0, set & 0xFFC0);
  __builtin_ia32_ldmxcsr(set & ~0x6000u);
#endif
  sigprocmask(SIG_BLOCK, nullptr, &after);
  for (int signal = 1; signal < 32; ++signal) {
    EXPECT_EQ(sigismember(&before, signal), sigismember(&after, signal)) << signal;
  }
  _set_se_translator(nullptr);
}

struct Counts {
  int begun = 0;
  int ended = 0;
};

class Held {
 public:
  Held(const CString& text, Counts& counts) : m_text(text), m_counts(counts) { ++counts.begun; }
  ~Held() {
    if (m_text == "held") ++m_counts.ended;
  }

 private:
  CString m_text;
  Counts& m_counts;
};

using Digging = void (*)(const CString& text, Counts& counts, int more);
extern const volatile Digging dig, dig_unawares;

[[gnu::noinline]] void Dig(const CString& text, Counts& counts, int more) {
  test::TouchBelow(more);  // here it strikes, where nothing is half done
  const Held held(text, counts);
  if (more != 0) dig(text, counts, more - 1);
  test::TouchBelow(more);
}

// It strikes anywhere that the function uses its own frame.
[[gnu::noinline]] void DigUnawares(const CString& text, Counts& counts, int more) {
  const Held held(text, counts);
  if (more != 0) dig_unawares(text, counts, more - 1);
}

const volatile Digging dig = Dig, dig_unawares = DigUnawares;

// A fault that comes while this one's destructors run is not taken.
void ThrowOnce(unsigned int code, EXCEPTION_POINTERS* pointers) {
  _set_se_translator(nullptr);
  Throw(code, pointers);
}

// Overflows the stack with something to destroy in every frame. Returns whether all of it was.
bool CatchesOverflow(Digging digging) {
  const CString text = "held";
  Counts counts;
  _set_se_translator(ThrowOnce);
  int thrown = 0;
  try {
    digging(text, counts, -1);
  } catch (int code) {
    thrown = code;
  }
  return thrown == 0xFD && counts.begun > 100 && counts.ended == counts.begun;
}

bool CatchesOverflowsAndGoesOn() {
  for (int time = 0; time < 3; ++time) {
    if (!CatchesOverflow(dig)) return false;
  }
  Counts counts;
  dig("held", counts, 100);
  return counts.ended == 101;
}

void* CatchOnThread(void* caught) {
  *static_cast<bool*>(caught) = CatchesOverflowsAndGoesOn();
  return nullptr;
}

// On a thread with that much stack, of the host's or at `memory`.
bool CatchesOnThread(std::size_t stack, void* memory) {
  pthread_attr_t attributes;
  pthread_attr_init(&attributes);
  if (memory != nullptr) {
    pthread_attr_setstack(&attributes, memory, stack);
  } else {
    pthread_attr_setstacksize(&attributes, stack);
  }
  bool caught = false;
  pthread_t thread;
  if (pthread_create(&thread, &attributes, CatchOnThread, &caught) == 0) {
    pthread_join(thread, nullptr);
  }
  pthread_attr_destroy(&attributes);
  return caught;
}

TEST_F(Signals, AnOverflowsDestructorsRunAndTheStackIsUsableAgain) {
  rlimit limit = {};
  getrlimit(RLIMIT_STACK, &limit);
  if (limit.rlim_cur < 1 << 30) {  // else the first thread's would take all memory
    EXPECT_EQ(EndOf([] { _exit(CatchesOverflowsAndGoesOn() ? 100 : 1); }).signal, -100);
  }
  for (const std::size_t stack : {std::size_t{256} << 10, std::size_t{8} << 20}) {
    // Twice, since a later thread gets the stack of one that has ended.
    for (int time = 0; time < 2; ++time) {
      EXPECT_EQ(EndOf([stack] { _exit(CatchesOnThread(stack, nullptr) ? 100 : 1); }).signal, -100);
    }
  }
  const auto on_own_memory = [] {
    static std::vector<char> memory(1 << 20);
    const auto start = (reinterpret_cast<std::uintptr_t>(memory.data()) + 4095) & ~4095ul;
    void* const stack = reinterpret_cast<void*>(start);
    if (!CatchesOnThread(1 << 19, stack)) _exit(1);
    std::fill(memory.begin(), memory.end(), 1);  // all of it is given back
    _exit(100);
  };
  EXPECT_EQ(EndOf(on_own_memory).signal, -100);
}

// With the frames in every place that they can have.
bool CatchesOverflowAnywhere() {
  for (std::size_t shift = 16; shift <= 512; shift += 16) {
    *static_cast<volatile char*>(__builtin_alloca(shift)) = 1;
    if (!CatchesOverflow(dig_unawares)) return false;
  }
  return true;
}

TEST_F(Signals, AnOverflowIsCaughtWhereverInAFunctionItStrikes) {
  const auto steps = [] { std::thread([] { _exit(CatchesOverflowAnywhere() ? 100 : 1); }).join(); };
  EXPECT_EQ(EndOf(steps).signal, -100);
}

// The lowest address of the calling thread's stack that can be used.
char* StackFloor() {
  pthread_attr_t attributes;
  void* low = nullptr;
  std::size_t size = 0, guard = 0;
  pthread_getattr_np(pthread_self(), &attributes);
  pthread_attr_getstack(&attributes, &low, &size);
  pthread_attr_getguardsize(&attributes, &guard);
  pthread_attr_destroy(&attributes);
  return static_cast<char*>(low) + guard;
}

[[gnu::noinline]] void CallBelow(const char* end, void (*body)()) {
  volatile char room[512];
  room[0] = 0;
  if (const_cast<const char*>(room) > end) {
    CallBelow(end, body);
  } else {
    body();
  }
  calls = calls + room[0];
}

TEST_F(Signals, ATranslatorSetNearTheFloorOfTheStackLeavesItUsable) {
  const auto steps = [] {
    std::thread([] {
      CallBelow(StackFloor() + 32 * 1024, [] {
        _set_se_translator(Throw);
        try {
          test::DivideByZero(1);
        } catch (int) {
          calls = calls + 1;
        }
      });
      if (calls != 1 || !CatchesOverflowsAndGoesOn()) _exit(1);
    }).join();
    _exit(100);
  };
  EXPECT_EQ(EndOf(steps).signal, -100);
}

TEST_F(Signals, AnOverflowThatNobodyTakesEndsTheProcess) {
  const End end = EndOf([] {
    std::thread([] {
      _set_se_translator(Ignore);
      test::OverflowStack(1);
    }).join();
  });
  EXPECT_EQ(end.signal, SIGSEGV);
  EXPECT_TRUE(end.is_in_place);
}

TEST_F(Signals, ATranslatorThatFaultsForEverEndsTheProcess) {
  static test::Faulting again;
  for (const test::Faulting fault : {test::WriteToNull, test::OverflowStack}) {
    again = fault;
    const End end = EndOf([] {
      alarm(10);
      _set_se_translator([](unsigned int, EXCEPTION_POINTERS*) { again(1); });
      test::DivideByZero(1);
    });
    EXPECT_EQ(end.signal, SIGSEGV);
  }
}

TEST_F(Signals, AThreadThatBlocksThemTakesItsFaults) {
  const auto steps = [] {
    sigset_t all;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, nullptr);
    std::thread([] {
      for (const StrikeRow& row : kFaultRows) {
        _set_se_translator(Throw);
        try {
          row.strike(1);
        } catch (int) {
          calls = calls + 1;
        }
      }
      sigset_t now;
      pthread_sigmask(SIG_SETMASK, nullptr, &now);
      if (!sigismember(&now, SIGUSR1)) _exit(1);
    }).join();
    _exit(calls == std::ssize(kFaultRows) ? 100 : 2);
  };
  EXPECT_EQ(EndOf(steps).signal, -100);
}

#ifdef __x86_64__

TEST_F(Signals, ADivisionHasTheCodeOfWhatIsWrongWithIt) {
  _set_se_translator(Throw);
  for (int i = 0; i < test::kDivisionCount; ++i) {
    for (const int divisor : {0, -1}) {
      SCOPED_TRACE(std::to_string(i) + " " + std::to_string(divisor));
      int thrown = 0;
      try {
        test::kDivisions[i](divisor);
      } catch (int code) {
        thrown = code;
      }
      EXPECT_EQ(thrown, divisor == 0 ? 0x94 : 0x95);
    }
  }
  _set_se_translator(nullptr);
}

struct FloatRow {
  int line;
  unsigned enabled;  // the bit of what may raise, in the vector unit's settings
  double a;
  double b;  // the operation is a / b
  int thrown;
};

TEST_F(Signals, FloatingPointFaultsHaveTheirCodes) {
  const FloatRow rows[] = {
      {__LINE__, 0x0200, 1.0, 0.0, 0x8E}, {__LINE__, 0x0400, 1e300, 1e-300, 0x91},
      {__LINE__, 0x0080, 0.0, 0.0, 0x90}, {__LINE__, 0x0800, 1e-300, 1e300, 0x93},
      {__LINE__, 0x1000, 1.0, 3.0, 0x8F},
  };
  _set_se_translator(Throw);
  const unsigned before = __builtin_ia32_stmxcsr();
  for (const FloatRow& row : rows) {
    SCOPED_TRACE(row.line);
    int thrown = 0;
    try {
      __builtin_ia32_ldmxcsr(before & ~row.enabled);
      test::Divide(row.a, row.b);
    } catch (int code) {
      thrown = code;
    }
    EXPECT_EQ(__builtin_ia32_stmxcsr() & row.enabled, 0u);  // still may
    __builtin_ia32_ldmxcsr(before);
    EXPECT_EQ(thrown, row.thrown);
  }
  _set_se_translator(nullptr);
}

#endif

}  // namespace
