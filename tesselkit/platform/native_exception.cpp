#include "tesselkit/platform/native_exception.h"

#include <setjmp.h>

#include <algorithm>
#include <cstdlib>
#include <utility>

#include "tesselkit/platform/native_thread.h"

namespace tesselkit::platform {

constinit thread_local NativeThread native_thread{};

struct Guard {
  int (*filter)(EXCEPTION_POINTERS*, void*);
  void* context;
  NativeThread before;
  jmp_buf place;
};

namespace {

// The state of a thread as it was when `guard` was entered, for as long as a filter runs or for
// good.
void LeaveGuard(const Guard& guard) {
  const bool is_ready = native_thread.is_ready;
  native_thread = guard.before;
  native_thread.is_ready = is_ready;
}

class GuardScope {
 public:
  explicit GuardScope(Guard& guard) : m_guard(guard) { native_thread.guard = &guard; }
  ~GuardScope() {
    NativeThread& thread = native_thread;
    thread.guard = m_guard.before.guard;
    // A translator that was set inside, if only again, is still set.
    if (thread.translator_guard == &m_guard) thread.translator_guard = thread.guard;
  }
  GuardScope(const GuardScope&) = delete;
  GuardScope& operator=(const GuardScope&) = delete;

 private:
  Guard& m_guard;
};

}  // namespace

bool OfferException(EXCEPTION_POINTERS& pointers) {
  const NativeThread at_fault = native_thread;
  NativeThread asked = at_fault;
  for (;;) {
    if (asked.translator != nullptr && asked.translator_guard == asked.guard) {
      asked.translator(pointers.ExceptionRecord->ExceptionCode, &pointers);
    }
    Guard* const guard = asked.guard;
    if (guard == nullptr) return false;
    LeaveGuard(*guard);  // a fault inside the filter is no business of this guard
    const int answer = guard->filter(&pointers, guard->context);
    if (answer == EXCEPTION_EXECUTE_HANDLER) longjmp(guard->place, 1);
    native_thread = at_fault;
    if (answer == EXCEPTION_CONTINUE_EXECUTION) return true;
    asked = guard->before;
  }
}

#define TESSELKIT_CONTEXT_OF_CALLER()                                       \
  {                                                                         \
    reinterpret_cast<ULONG_PTR>(__builtin_return_address(0)),               \
        reinterpret_cast<ULONG_PTR>(__builtin_dwarf_cfa()),                 \
        *static_cast<const ULONG_PTR*>(__builtin_frame_address(0)), nullptr \
  }

[[gnu::noinline]] CONTEXT CurrentContext() noexcept {
  return TESSELKIT_CONTEXT_OF_CALLER();
}

bool CallGuarded(void (*body)(void*), int (*filter)(EXCEPTION_POINTERS*, void*), void* context) {
  PrepareThread();
  Guard guard;
  guard.filter = filter;
  guard.context = context;
  guard.before = native_thread;
  if (setjmp(guard.place) != 0) {
    LeaveGuard(guard);
    return false;
  }
  const GuardScope scope(guard);
  body(context);
  return true;
}

}  // namespace tesselkit::platform

using namespace tesselkit::platform;

_se_translator_function _set_se_translator(_se_translator_function translator) noexcept {
  NativeThread& thread = native_thread;
  if (translator != nullptr && !thread.is_ready) PrepareThread();
  thread.translator_guard = thread.guard;
  return std::exchange(thread.translator, translator);
}

[[gnu::noinline]] void RaiseException(DWORD code, DWORD flags, DWORD count,
                                      const ULONG_PTR* parameters) {
  CONTEXT context = TESSELKIT_CONTEXT_OF_CALLER();
  EXCEPTION_RECORD record{};
  record.ExceptionCode = code;
  record.ExceptionFlags = flags;
  record.ExceptionAddress = reinterpret_cast<void*>(context.InstructionPointer);
  if (parameters != nullptr) {
    record.NumberParameters = std::min(count, EXCEPTION_MAXIMUM_PARAMETERS);
    std::copy_n(parameters, record.NumberParameters, record.ExceptionInformation);
  }
  EXCEPTION_POINTERS pointers{&record, &context};
  if (!OfferException(pointers)) std::abort();
}
