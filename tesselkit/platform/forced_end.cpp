#include "tesselkit/platform/forced_end.h"

#include <pthread.h>
#include <signal.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <climits>

#include "tesselkit/platform/stack_room.h"

namespace tesselkit::platform {

namespace {

struct ThisThread {
  std::atomic<ForcedEnd*> end;
  std::atomic<int> hold_offs;
};

// At a fixed distance from the thread's pointer, so that the handler finds it without allocating.
constinit thread_local ThisThread this_thread __attribute__((tls_model("initial-exec"))){};

// The C library gives the thread's descriptor, keys and all, to a thread that is created later.
void ForgetKeys() noexcept {
  for (pthread_key_t key = 0; key < PTHREAD_KEYS_MAX; ++key) pthread_setspecific(key, nullptr);
}

// Not by the C library's own end of a thread, which unwinds the stack.
void EndIfDue() noexcept {
  if (!IsForcedEndDue()) return;
  ForgetKeys();
  EndStackReserve();
  syscall(SYS_exit, 0);
}

void OnSignal(int) {
  if (this_thread.hold_offs.load(std::memory_order_relaxed) == 0) EndIfDue();
}

// A real-time signal that nobody has a use for, from the far end; 0 when there is none.
int TakeSignal() {
  for (int signal = SIGRTMAX; signal >= SIGRTMIN; --signal) {
    struct sigaction action = {};
    sigaction(signal, nullptr, &action);
    if ((action.sa_flags & SA_SIGINFO) != 0 || action.sa_handler != SIG_DFL) continue;
    action.sa_handler = OnSignal;
    action.sa_flags = SA_ONSTACK | SA_RESTART;
    sigfillset(&action.sa_mask);
    sigaction(signal, &action, nullptr);
    return signal;
  }
  return 0;
}

constinit std::atomic<int> taken_signal = 0;

int TheSignal() {
  static const int signal = taken_signal = TakeSignal();
  return signal;
}

// The handler goes before its code does.
[[gnu::destructor]] void RemoveHandler() {
  struct sigaction current = {};
  if (taken_signal == 0 || sigaction(taken_signal, nullptr, &current) != 0) return;
  if ((current.sa_flags & SA_SIGINFO) != 0 || current.sa_handler != OnSignal) return;
  current.sa_handler = SIG_DFL;
  sigaction(taken_signal, &current, nullptr);
}

}  // namespace

void AcceptForcedEnd(ForcedEnd* end) noexcept {
  this_thread.end.store(end, std::memory_order_relaxed);
  if (end == nullptr || TheSignal() == 0) return;
  sigset_t only;
  sigemptyset(&only);
  sigaddset(&only, TheSignal());
  pthread_sigmask(SIG_UNBLOCK, &only, nullptr);
  EndIfDue();  // the signal may have come before
}

void ForceEnd(std::thread::native_handle_type thread, ForcedEnd& end) noexcept {
  end.is_due = true;
  // Fails when the thread has left by itself.
  if (TheSignal() != 0) pthread_kill(thread, TheSignal());
}

bool IsForcedEndDue() noexcept {
  const ForcedEnd* const end = this_thread.end.load(std::memory_order_relaxed);
  return end != nullptr && end->is_due.load();
}

// The handler runs on the same thread, so the order of the instructions is all that counts.
void BeginHoldOff() noexcept {
  const int before = this_thread.hold_offs.load(std::memory_order_relaxed);
  this_thread.hold_offs.store(before + 1, std::memory_order_relaxed);
  std::atomic_signal_fence(std::memory_order_seq_cst);
}

void EndHoldOff() noexcept {
  std::atomic_signal_fence(std::memory_order_seq_cst);
  const int left = this_thread.hold_offs.load(std::memory_order_relaxed) - 1;
  this_thread.hold_offs.store(left, std::memory_order_relaxed);
  if (left == 0) EndIfDue();
}

}  // namespace tesselkit::platform
