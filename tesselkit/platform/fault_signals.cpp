// The host's side of native exceptions: signal handlers, put in once for the process, and an
// alternate stack for each thread that takes faults.
#include <pthread.h>
#include <signal.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <cstdint>
#include <iterator>
#include <mutex>
#include <utility>

#include "tesselkit/platform/alternate_stack.h"
#include "tesselkit/platform/cstring.h"
#include "tesselkit/platform/debug_help.h"
#include "tesselkit/platform/divide_fault.h"
#include "tesselkit/platform/exceptions.h"
#include "tesselkit/platform/fault_codes.h"
#include "tesselkit/platform/foreign_memory.h"
#include "tesselkit/platform/host_context.h"
#include "tesselkit/platform/module.h"
#include "tesselkit/platform/module_symbols.h"
#include "tesselkit/platform/native_thread.h"
#include "tesselkit/platform/stack_room.h"
#include "tesselkit/platform/string_table.h"
#include "tesselkit/platform/struck_frame.h"

using namespace tesselkit::platform;

namespace {

// The signals that become native exceptions.
constexpr int kFaultSignals[] = {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGTRAP};

// What was done with each signal before.
struct Earlier {
  struct sigaction action;
  std::atomic<bool> is_spent;  // a handler for one time has had it
};

constinit std::array<Earlier, std::size(kFaultSignals)> earlier{};

Earlier& EarlierOf(int signal) {
  std::size_t at = 0;
  while (kFaultSignals[at] != signal) ++at;
  return earlier[at];
}

bool IsFaultOf(const siginfo_t& info) {
  return IsFault(info.si_signo, info.si_code);
}

void SetDefault(int signal) {
  struct sigaction action = {};
  action.sa_handler = SIG_DFL;
  sigaction(signal, &action, nullptr);
}

// Lets the signal strike again as it was once the handler has returned.
void SendAgain(int signal, siginfo_t* info) {
  sigset_t only;
  sigemptyset(&only);
  sigaddset(&only, signal);
  pthread_sigmask(SIG_BLOCK, &only, nullptr);
  const auto thread = static_cast<pid_t>(syscall(SYS_gettid));
  if (syscall(SYS_rt_tgsigqueueinfo, getpid(), thread, signal, info) != 0) raise(signal);
}

// By default: the process dies where it was interrupted. A faulting instruction does that by
// itself when it runs again; a trap lies behind it, and what was sent does not come again.
void DieByDefault(int signal, siginfo_t* info) {
  SetDefault(signal);
  if (!IsFaultOf(*info) || signal == SIGTRAP) SendAgain(signal, info);
}

void CallEarlier(const struct sigaction& action, int signal, siginfo_t* info, void* context) {
  sigset_t mask = action.sa_mask;
  if ((action.sa_flags & SA_NODEFER) == 0) sigaddset(&mask, signal);
  pthread_sigmask(SIG_BLOCK, &mask, nullptr);
  if ((action.sa_flags & SA_SIGINFO) != 0) {
    action.sa_sigaction(signal, info, context);
  } else {
    action.sa_handler(signal);
  }
}

// What would have happened without this layer.
void PassOn(int signal, siginfo_t* info, void* context) {
  Earlier& before = EarlierOf(signal);
  const struct sigaction& action = before.action;
  const bool is_plain = (action.sa_flags & SA_SIGINFO) == 0;
  const bool is_ignored = is_plain && action.sa_handler == SIG_IGN;
  if (is_ignored && !IsFaultOf(*info)) return;
  const bool is_for_one_time = (action.sa_flags & SA_RESETHAND) != 0;
  const bool is_by_default = is_ignored || (is_plain && action.sa_handler == SIG_DFL) ||
                             (is_for_one_time && before.is_spent.exchange(true));
  if (is_by_default) {
    DieByDefault(signal, info);
  } else {
    CallEarlier(action, signal, info, context);
  }
}

// The bytes at `pc`, as far as they are there.
std::size_t ReadInstruction(ULONG_PTR pc, unsigned char (&bytes)[16]) {
  constexpr std::size_t kPage = 4096;
  const std::size_t first = std::min(sizeof bytes, kPage - pc % kPage);
  if (!ReadForeign(pc, bytes, first)) return 0;
  const std::size_t rest = sizeof bytes - first;
  return rest > 0 && ReadForeign(pc + first, bytes + first, rest) ? sizeof bytes : first;
}

CONTEXT ContextOf(void* host) {
  const FrameRegisters at = ReadRegisters(host);
  return {at.program_counter, at.stack_pointer, at.frame_pointer, host};
}

// The registers that an adjustment may change.
class SavedRegisters {
 public:
  explicit SavedRegisters(void* host) : m_frame(ReadRegisters(host)) {
    for (std::size_t i = 0; i < kCount; ++i) m_kept[i] = KeptRegister(host, kKeptRegisters[i]);
  }

  const FrameRegisters& Frame() const { return m_frame; }

  void Restore(void* host) const {
    WriteRegisters(host, m_frame);
    for (std::size_t i = 0; i < kCount; ++i) KeptRegister(host, kKeptRegisters[i]) = m_kept[i];
  }

 private:
  static constexpr std::size_t kCount = std::size(kKeptRegisters);

  FrameRegisters m_frame;
  HostWord m_kept[kCount];
};

// Puts the thread where its unwinding is to begin. A jump that led nowhere has no frame of its own,
// and a breakpoint lies behind it.
void Adjust(void* host, const HostFault& fault, const EXCEPTION_RECORD& record) {
  if (record.ExceptionCode == EXCEPTION_STACK_OVERFLOW) return LeaveFrameWithoutHandlers(host);
  FrameRegisters at = ReadRegisters(host);
  if (IsJumpToNowhere(fault, ContextOf(host))) {
    const ULONG_PTR caller = CallerOf(host);
    if (!FindModule(caller)) return;
    at = RegistersOfCaller(host, caller);
    at.program_counter -= 1;  // inside the call, whose handlers may not hold behind it
  } else if (record.ExceptionCode == EXCEPTION_BREAKPOINT && fault.detail == SI_KERNEL) {
    at.program_counter -= 1;
  }
  WriteRegisters(host, at);
}

// Offers it with the stack's reserve open, which stays so when somebody takes it.
bool OfferOverflow(EXCEPTION_POINTERS& pointers) {
  const bool was_closed = OpenStackReserve();
  native_thread.is_ready = false;
  const bool goes_on = OfferException(pointers);
  if (!goes_on && was_closed) UndoOpenStackReserve();
  return goes_on;
}

bool IsDivision(const siginfo_t& info) {
  return info.si_signo == SIGFPE && info.si_code == FPE_INTDIV;
}

// Returns whether the thread is to go on.
bool OfferFault(const siginfo_t& info, void* host) {
  const SavedRegisters saved(host);
  const FrameRegisters& at_fault = saved.Frame();
  const HostFault fault{info.si_signo, info.si_code, reinterpret_cast<ULONG_PTR>(info.si_addr),
                        IsWriteFault(host), IsDivision(info) && HasDivisor(host)};
  unsigned char instruction[16];
  const bool must_look = fault.signal == SIGSEGV && HasNoAddress(fault);
  const std::size_t size = must_look ? ReadInstruction(at_fault.program_counter, instruction) : 0;
  EXCEPTION_RECORD record;
  DescribeFault(fault, ContextOf(host), instruction, size, record);
  Adjust(host, fault, record);
  CONTEXT context = ContextOf(host);
  const bool is_trap = record.ExceptionCode == EXCEPTION_BREAKPOINT;
  record.ExceptionAddress =
      reinterpret_cast<void*>(is_trap ? context.InstructionPointer : at_fault.program_counter);
  EXCEPTION_POINTERS pointers{&record, &context};
  TakeFloatingPointSettings(host);
  const bool is_overflow = record.ExceptionCode == EXCEPTION_STACK_OVERFLOW;
  const bool goes_on = is_overflow ? OfferOverflow(pointers) : OfferException(pointers);
  saved.Restore(host);
  return goes_on;
}

bool HasTaker() {
  const Takers& takers = native_thread.takers;
  return takers.translator.function != nullptr || takers.guard != nullptr;
}

__attribute__((noinline)) void Answer(int signal, siginfo_t* info, void* context) {
  const int error = errno;
  if (IsAlternateStackFull(ReadRegisters(context).stack_pointer)) {
    // Faults within faults. The host has begun that stack anew, over the frames that led here.
    SetDefault(signal);
  } else if (!HasTaker() || !IsFaultOf(*info) || !OfferFault(*info, context)) {
    PassOn(signal, info, context);
  }
  errno = error;
}

// Has nothing on the stack: what sanitizers do there comes before the first statement.
void OnSignal(int signal, siginfo_t* info, void* context) {
  AllowUnalignedReads();
  Answer(signal, info, context);
}

#if defined(__has_feature)
#if __has_feature(thread_sanitizer)
#define TESSELKIT_THREAD_SANITIZER
#endif
#endif
#ifdef __SANITIZE_THREAD__
#define TESSELKIT_THREAD_SANITIZER
#endif

#ifdef TESSELKIT_THREAD_SANITIZER
// The sanitizer calls handlers from one of its own, which expects them to return and forbids them
// to allocate. The kernel is given ours directly.
void GoAroundSanitizer(int signal, int flags) {
  struct KernelAction {
    void (*handler)(int, siginfo_t*, void*);
    unsigned long flags;
    void* restorer;
    unsigned long mask;
  } action = {};
  syscall(SYS_rt_sigaction, signal, nullptr, &action, sizeof action.mask);
  constexpr unsigned long kRestorer = 0x04000000;
  action.handler = OnSignal;
  action.flags = (action.flags & kRestorer) | static_cast<unsigned long>(flags);
  action.mask = 0;
  syscall(SYS_rt_sigaction, signal, &action, nullptr, sizeof action.mask);
}
#else
void GoAroundSanitizer(int, int) {}
#endif

// What is sent interrupts the thread's system calls only where it did before.
bool MustRestart(const struct sigaction& earlier) {
  const bool is_plain = (earlier.sa_flags & SA_SIGINFO) == 0;
  const bool has_handler =
      !is_plain || (earlier.sa_handler != SIG_DFL && earlier.sa_handler != SIG_IGN);
  return !has_handler || (earlier.sa_flags & SA_RESTART) != 0;
}

void InstallHandlers() {
  // Not deferred: what leaves the handler by throwing leaves the thread's mask as it was.
  constexpr int kFlags = SA_SIGINFO | SA_ONSTACK | SA_NODEFER;
  struct sigaction action = {};
  action.sa_sigaction = OnSignal;
  for (const int signal : kFaultSignals) {
    struct sigaction& before = EarlierOf(signal).action;
    sigaction(signal, nullptr, &before);
    action.sa_flags = MustRestart(before) ? kFlags | SA_RESTART : kFlags;
    sigaction(signal, &action, nullptr);
    GoAroundSanitizer(signal, action.sa_flags);
  }
}

// What a translator mostly needs, and would otherwise ask the loader for while it runs: another
// thread may then hold the loader's lock.
void LoadAhead() {
  LoadDebugHelp();
  try {
    CString().LoadString(1);
    HasStringTable(ProgramModule());  // where a state has no module of its own
  } catch (CException* exception) {
    exception->Delete();
  }
}

std::atomic<bool> is_installed = false;

void PrepareProcess() {
  static std::once_flag once;
  std::call_once(once, [] {
    LoadAhead();
    InstallHandlers();
    is_installed.store(true);
  });
}

// Handlers that are still in place go before their code does.
[[gnu::destructor]] void RemoveHandlers() {
  if (!is_installed.load()) return;
  for (const int signal : kFaultSignals) {
    struct sigaction current = {};
    sigaction(signal, nullptr, &current);
    if ((current.sa_flags & SA_SIGINFO) != 0 && current.sa_sigaction == OnSignal) {
      sigaction(signal, &EarlierOf(signal).action, nullptr);
    }
  }
}

struct ThreadResources {
  AlternateStack stack;

  // Destructors that run later have no stack for their faults.
  ~ThreadResources() {
    native_thread = {};
    EndStackReserve();
  }
};

void UnblockFaults() {
  sigset_t faults;
  sigemptyset(&faults);
  for (const int signal : kFaultSignals) sigaddset(&faults, signal);
  pthread_sigmask(SIG_UNBLOCK, &faults, nullptr);
}

constinit thread_local bool has_resources = false;

// Once in a thread's life.
void GiveResources() {
  if (std::exchange(has_resources, true)) return;
  PrepareProcess();
  static thread_local ThreadResources resources;
  UnblockFaults();
}

}  // namespace

void tesselkit::platform::PrepareThread() noexcept {
  if (native_thread.is_ready) return;
  GiveResources();
  native_thread.is_ready = CloseStackReserve();
}
