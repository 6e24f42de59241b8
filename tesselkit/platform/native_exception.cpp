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
  Takers before;
  jmp_buf place;
};

namespace {

// Whether the calling thread is still inside that guarded call; outside all calls, always.
bool IsInside(const Guard* guard) {
  const Guard* inner = native_thread.takers.guard;
  while (inner != guard && inner != nullptr) inner = inner->before.guard;
  return inner == guard;
}

class GuardScope {
 public:
  explicit GuardScope(Guard& guard) : m_guard(guard) { native_thread.takers.guard = &guard; }
  ~GuardScope() {
    Takers& takers = native_thread.takers;
    takers.guard = m_guard.before.guard;
    // A translator that was set inside, if only again, is still set.
    if (takers.translator.guard == &m_guard) takers.translator.guard = takers.guard;
  }
  GuardScope(const GuardScope&) = delete;
  GuardScope& operator=(const GuardScope&) = delete;

 private:
  Guard& m_guard;
};

}  // namespace

bool OfferException(EXCEPTION_POINTERS& pointers) {
  const Takers at_fault = native_thread.takers;
  Takers asked = at_fault;
  for (;;) {
    if (asked.translator.function != nullptr && asked.translator.guard == asked.guard) {
      asked.translator.function(pointers.ExceptionRecord->ExceptionCode, &pointers);
    }
    Guard* const guard = asked.guard;
    if (guard == nullptr) return false;
    // A fault inside the filter is no business of this guard.
    native_thread.takers = guard->before;
    const int answer = guard->filter(&pointers, guard->context);
    if (answer == EXCEPTION_EXECUTE_HANDLER) longjmp(guard->place, 1);
    native_thread.takers = at_fault;
    if (answer == EXCEPTION_CONTINUE_EXECUTION) return true;
    asked = guard->before;
  }
}

TranslatorSetting SetTranslator(_se_translator_function translator) noexcept {
  NativeThread& thread = native_thread;
  if (translator != nullptr && !thread.is_ready) PrepareThread();
  return std::exchange(thread.takers.translator, {translator, thread.takers.guard});
}

void RestoreTranslator(const TranslatorSetting& setting) noexcept {
  Takers& takers = native_thread.takers;
  takers.translator = setting;
  // Set in a guarded call that has ended meanwhile.
  if (!IsInside(setting.guard)) takers.translator.guard = takers.guard;
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
  guard.before = native_thread.takers;
  if (setjmp(guard.place) != 0) {
    native_thread.takers = guard.before;
    return false;
  }
  const GuardScope scope(guard);
  body(context);
  return true;
}

}  // namespace tesselkit::platform

using namespace tesselkit::platform;

_se_translator_function _set_se_translator(_se_translator_function translator) noexcept {
  return SetTranslator(translator).function;
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
