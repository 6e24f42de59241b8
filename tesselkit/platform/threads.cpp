#include "tesselkit/platform/threads.h"

#include <pthread.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <climits>
#include <memory>
#include <mutex>
#include <new>
#include <unordered_map>

#include "tesselkit/platform/forced_end.h"
#include "tesselkit/platform/status_codes.h"
#include "tesselkit/platform/wait_clock.h"

using namespace tesselkit::platform;

namespace {

thread_local DWORD last_error = 0;

// What a function answers that fails.
template <class Answer>
Answer Fail(LONG error, Answer answer) {
  last_error = static_cast<DWORD>(error);
  return answer;
}

// Waiting takes no lock, so that a thread which is ended by force while it waits holds none.
struct Waitable {
  virtual ~Waitable() = default;
  virtual bool TryTake() = 0;  // whether a wait is over
  virtual void Close() {}      // no handle is left

  void Signal(int waits) {
    is_signalled = 1;
    CurrentWaitClock().Wake(is_signalled, waits);
  }

  std::atomic<std::uint32_t> is_signalled = 0;
};

struct Event final : Waitable {
  bool TryTake() override {
    std::uint32_t set = 1;
    return is_signalled.compare_exchange_strong(set, 0);
  }
};

struct Thread final : Waitable {
  bool TryTake() override { return is_signalled != 0; }

  // Whoever comes first lets the host clear the thread away.
  void Close() override {
    if (is_taken_away.exchange(true)) return;
    if (TryTake()) {
      pthread_join(host_thread, nullptr);
    } else {
      pthread_detach(host_thread);
    }
  }

  // What the thread itself does last, or somebody for it.
  void End(DWORD code) {
    exit_code = code;
    const std::shared_ptr<Thread> keeps_until_told = std::move(itself);
    Signal(INT_MAX);
  }

  LPTHREAD_START_ROUTINE start = nullptr;
  void* argument = nullptr;
  std::shared_ptr<Thread> itself;  // while it runs
  pthread_t host_thread{};
  std::atomic<std::uint32_t> id = 0;
  std::atomic<DWORD> exit_code = STILL_ACTIVE;
  std::atomic<bool> is_taken_away = false;
  ForcedEnd forced_end;
};

class HandleTable {
 public:
  HANDLE Add(std::shared_ptr<Waitable> object) {
    const HoldOffForcedEnd whole;
    const std::lock_guard lock(m_mutex);
    const auto handle = reinterpret_cast<HANDLE>(m_next);
    m_objects.emplace(handle, std::move(object));
    m_next += 4;
    return handle;
  }

  std::shared_ptr<Waitable> Find(HANDLE handle) {
    const HoldOffForcedEnd whole;
    const std::lock_guard lock(m_mutex);
    const auto found = m_objects.find(handle);
    return found != m_objects.end() ? found->second : nullptr;
  }

  std::shared_ptr<Waitable> Remove(HANDLE handle) {
    const HoldOffForcedEnd whole;
    const std::lock_guard lock(m_mutex);
    const auto node = m_objects.extract(handle);
    return node ? node.mapped() : nullptr;
  }

  // Around a fork.
  void Lock() {
    BeginHoldOff();
    m_mutex.lock();
  }
  void Unlock() {
    m_mutex.unlock();
    EndHoldOff();
  }

 private:
  std::mutex m_mutex;
  std::unordered_map<HANDLE, std::shared_ptr<Waitable>> m_objects;
  std::uintptr_t m_next = 4;
};

// Never destroyed: handles are closed also at the very end of the process.
HandleTable& TheTable() {
  static HandleTable& table = *[] {
    pthread_atfork([] { TheTable().Lock(); }, [] { TheTable().Unlock(); },
                   [] { TheTable().Unlock(); });
    return new HandleTable;
  }();
  return table;
}

// Null, with the last error, for a handle of something else.
template <class Kind>
std::shared_ptr<Kind> ObjectOf(HANDLE handle) {
  auto object = std::dynamic_pointer_cast<Kind>(TheTable().Find(handle));
  return object ? object : Fail(ERROR_INVALID_HANDLE, nullptr);
}

WaitClock::TimePoint DeadlineIn(DWORD milliseconds) {
  if (milliseconds == INFINITE) return WaitClock::TimePoint::max();
  return CurrentWaitClock().Now() + std::chrono::milliseconds(milliseconds);
}

// Marks the thread as ended however its procedure is left, pthread_exit among the ways.
class RunningThread {
 public:
  explicit RunningThread(Thread& thread) : m_thread(thread) {
    prctl(PR_SET_TIMERSLACK, 1ul);  // a nanosecond; 50000 of them by default
    AcceptForcedEnd(&thread.forced_end);
    thread.id = GetCurrentThreadId();
    thread.id.notify_one();
  }
  ~RunningThread() {
    const HoldOffForcedEnd whole;
    AcceptForcedEnd(nullptr);
    m_thread.End(exit_code);
  }
  RunningThread(const RunningThread&) = delete;
  RunningThread& operator=(const RunningThread&) = delete;

  DWORD exit_code = 0;

 private:
  Thread& m_thread;
};

void* RunThread(void* argument) {
  auto& thread = *static_cast<Thread*>(argument);
  RunningThread running(thread);
  running.exit_code = static_cast<DWORD>(thread.start(thread.argument));
  return nullptr;
}

bool StartOnHost(Thread& thread, std::size_t stack_size) {
  pthread_attr_t attributes;
  pthread_attr_init(&attributes);
  if (stack_size > 0) {
    const auto least = static_cast<std::size_t>(sysconf(_SC_THREAD_STACK_MIN));
    pthread_attr_setstacksize(&attributes, std::max(stack_size, least));
  }
  const int error = pthread_create(&thread.host_thread, &attributes, RunThread, &thread);
  pthread_attr_destroy(&attributes);
  return error == 0;
}

// Waits until the host has ended the thread, two seconds at most. The host lets a join return a
// moment before it strikes the thread off its list.
bool JoinSoon(const Thread& thread) {
  timespec until;
  clock_gettime(CLOCK_MONOTONIC, &until);
  until.tv_sec += 2;
  if (pthread_clockjoin_np(thread.host_thread, nullptr, CLOCK_MONOTONIC, &until) != 0) return false;
  for (int i = 0; i < 100 && syscall(SYS_tgkill, getpid(), thread.id.load(), 0) == 0; ++i) {
    usleep(100);
  }
  return true;
}

}  // namespace

DWORD GetCurrentProcessId() noexcept {
  return static_cast<DWORD>(getpid());
}

DWORD GetCurrentThreadId() noexcept {
  return static_cast<DWORD>(syscall(SYS_gettid));
}

DWORD GetLastError() noexcept {
  return last_error;
}

void SetLastError(DWORD error) noexcept {
  last_error = error;
}

HANDLE CreateThread(void* security, std::size_t stack_size, LPTHREAD_START_ROUTINE start,
                    void* argument, DWORD flags, DWORD* thread_id) noexcept try {
  if (security != nullptr || start == nullptr || flags != 0) {
    return Fail(ERROR_INVALID_PARAMETER, nullptr);
  }
  const auto thread = std::make_shared<Thread>();
  thread->start = start;
  thread->argument = argument;
  const HANDLE handle = TheTable().Add(thread);
  thread->itself = thread;
  if (!StartOnHost(*thread, stack_size)) {
    TheTable().Remove(handle);
    thread->itself.reset();
    return Fail(ERROR_NOT_ENOUGH_MEMORY, nullptr);
  }
  if (thread_id != nullptr) {
    thread->id.wait(0);
    *thread_id = thread->id;
  }
  return handle;
} catch (const std::bad_alloc&) {
  return Fail(ERROR_NOT_ENOUGH_MEMORY, nullptr);
}

HANDLE CreateEventA(void* security, BOOL manual_reset, BOOL initial_state,
                    const char* name) noexcept try {
  if (security != nullptr || manual_reset != FALSE || name != nullptr) {
    return Fail(ERROR_INVALID_PARAMETER, nullptr);
  }
  const auto event = std::make_shared<Event>();
  event->is_signalled = initial_state != FALSE ? 1 : 0;
  return TheTable().Add(event);
} catch (const std::bad_alloc&) {
  return Fail(ERROR_NOT_ENOUGH_MEMORY, nullptr);
}

BOOL SetEvent(HANDLE event) noexcept {
  const auto object = ObjectOf<Event>(event);
  if (object == nullptr) return FALSE;
  object->Signal(1);
  return TRUE;
}

DWORD WaitForSingleObject(HANDLE handle, DWORD milliseconds) noexcept {
  const auto object = ObjectOf<Waitable>(handle);
  if (object == nullptr) return WAIT_FAILED;
  const WaitClock::TimePoint deadline = DeadlineIn(milliseconds);
  while (!object->TryTake()) {
    if (CurrentWaitClock().Now() >= deadline) return WAIT_TIMEOUT;
    CurrentWaitClock().WaitWhile(object->is_signalled, 0, deadline);
  }
  return WAIT_OBJECT_0;
}

BOOL GetExitCodeThread(HANDLE thread, DWORD* exit_code) noexcept {
  const auto object = ObjectOf<Thread>(thread);
  if (object == nullptr) return FALSE;
  *exit_code = object->exit_code;
  return TRUE;
}

BOOL TerminateThread(HANDLE thread, DWORD exit_code) noexcept {
  const auto object = ObjectOf<Thread>(thread);
  if (object == nullptr) return FALSE;
  if (object->TryTake()) return TRUE;
  const bool is_own = object->id == GetCurrentThreadId();
  if (is_own || object->is_taken_away.exchange(true)) return Fail(ERROR_ACCESS_DENIED, FALSE);
  ForceEnd(object->host_thread, object->forced_end);
  if (!JoinSoon(*object)) {
    object->is_taken_away = false;
    return Fail(ERROR_BUSY, FALSE);
  }
  if (!object->TryTake()) object->End(exit_code);
  return TRUE;
}

BOOL CloseHandle(HANDLE handle) noexcept {
  const auto object = TheTable().Remove(handle);
  if (object == nullptr) return Fail(ERROR_INVALID_HANDLE, FALSE);
  object->Close();
  return TRUE;
}
