// Native exceptions: what the processor or RaiseException raises, and who takes it on a thread.
//
// A thread may have a translator, which mostly throws a C++ exception, and may be inside guarded
// calls, whose filter decides. The one set last is asked first; where nobody takes the exception,
// the process ends as it would have without this layer, or an earlier handler of the host runs.
// Taken are faults of the processor on the thread itself; what is merely sent to the process by
// others, or by raise(), is none.
//
// What a translator throws goes from the faulting instruction up the stack. The code there must be
// compiled for it: link Tesselkit::native_exceptions. docs/architecture.md says what other code
// may do.
#pragma once

#include <cstdint>

#include "tesselkit/platform/export.h"
#include "tesselkit/platform/types.h"

using ULONG_PTR = std::uintptr_t;

constexpr DWORD EXCEPTION_GUARD_PAGE = 0x80000001;
constexpr DWORD EXCEPTION_DATATYPE_MISALIGNMENT = 0x80000002;
constexpr DWORD EXCEPTION_BREAKPOINT = 0x80000003;
constexpr DWORD EXCEPTION_SINGLE_STEP = 0x80000004;
constexpr DWORD EXCEPTION_ACCESS_VIOLATION = 0xC0000005;
constexpr DWORD EXCEPTION_IN_PAGE_ERROR = 0xC0000006;
constexpr DWORD EXCEPTION_INVALID_HANDLE = 0xC0000008;
constexpr DWORD EXCEPTION_ILLEGAL_INSTRUCTION = 0xC000001D;
constexpr DWORD EXCEPTION_NONCONTINUABLE_EXCEPTION = 0xC0000025;
constexpr DWORD EXCEPTION_INVALID_DISPOSITION = 0xC0000026;
constexpr DWORD EXCEPTION_ARRAY_BOUNDS_EXCEEDED = 0xC000008C;
constexpr DWORD EXCEPTION_FLT_DENORMAL_OPERAND = 0xC000008D;
constexpr DWORD EXCEPTION_FLT_DIVIDE_BY_ZERO = 0xC000008E;
constexpr DWORD EXCEPTION_FLT_INEXACT_RESULT = 0xC000008F;
constexpr DWORD EXCEPTION_FLT_INVALID_OPERATION = 0xC0000090;
constexpr DWORD EXCEPTION_FLT_OVERFLOW = 0xC0000091;
constexpr DWORD EXCEPTION_FLT_STACK_CHECK = 0xC0000092;
constexpr DWORD EXCEPTION_FLT_UNDERFLOW = 0xC0000093;
constexpr DWORD EXCEPTION_INT_DIVIDE_BY_ZERO = 0xC0000094;
constexpr DWORD EXCEPTION_INT_OVERFLOW = 0xC0000095;
constexpr DWORD EXCEPTION_PRIV_INSTRUCTION = 0xC0000096;
constexpr DWORD EXCEPTION_STACK_OVERFLOW = 0xC00000FD;

constexpr DWORD EXCEPTION_NONCONTINUABLE = 1;  // a flag
constexpr DWORD EXCEPTION_MAXIMUM_PARAMETERS = 15;

// What a filter answers.
constexpr int EXCEPTION_EXECUTE_HANDLER = 1;
constexpr int EXCEPTION_CONTINUE_SEARCH = 0;
constexpr int EXCEPTION_CONTINUE_EXECUTION = -1;

struct EXCEPTION_RECORD {
  DWORD ExceptionCode;
  DWORD ExceptionFlags;
  EXCEPTION_RECORD* ExceptionRecord;
  void* ExceptionAddress;  // of the instruction; of a jump that led nowhere, where it led
  DWORD NumberParameters;
  // Of an access violation and an in-page error: 0 for a read, 1 for a write, 8 for a jump, and
  // the address (all ones when the processor does not tell it).
  ULONG_PTR ExceptionInformation[EXCEPTION_MAXIMUM_PARAMETERS];
};

// Where the thread was. After a jump that led nowhere, at the call from which it came.
struct CONTEXT {
  ULONG_PTR InstructionPointer;
  ULONG_PTR StackPointer;
  ULONG_PTR FramePointer;
  void* HostContext;  // all registers at a fault, in the host's form; null elsewhere
};

// Good while the translator or filter that was given them runs.
struct EXCEPTION_POINTERS {
  EXCEPTION_RECORD* ExceptionRecord;
  CONTEXT* ContextRecord;
};

using _se_translator_function = void (*)(unsigned int code, EXCEPTION_POINTERS* pointers);

// Sets the calling thread's translator; null takes it away. Returns the one before, null at first.
// A translator runs on the faulting thread, for faults on a stack of their own of 256 KiB. One that
// returns has not taken the exception. A fault inside it is offered to whoever is set then; when
// the translator is still set and that goes on until their stack is used up, the process ends.
//
// The first translator of a thread unblocks the signals that the faults come as. A thread that
// blocks them later is ended, with the process, by its next fault.
//
// The lowest 64 KiB of a thread's stack (an eighth of a small one) are then kept back: they are for
// the destructors and handlers of code whose stack has overflowed. They are kept back again when
// the next translator is set or guarded call made well above them; of overflows before that only
// those are sure to be survived that leave nothing to destroy near the stack's floor. What the
// first thread's stack may grow to is asked for once.
TESSELKIT_API _se_translator_function
_set_se_translator(_se_translator_function translator) noexcept;

// Raises a native exception with that code and up to 15 parameters (`parameters` may be null).
// Returns when a filter says so. When nobody takes it, the process ends by SIGABRT.
TESSELKIT_API void RaiseException(DWORD code, DWORD flags = 0, DWORD count = 0,
                                  const ULONG_PTR* parameters = nullptr);

namespace tesselkit::platform {

struct Guard;

// A thread's translator, and the guarded call in which it was set: it is asked before that one.
struct TranslatorSetting {
  _se_translator_function function;
  const Guard* guard;
};

// As _set_se_translator.
TESSELKIT_API TranslatorSetting SetTranslator(_se_translator_function translator) noexcept;

// Sets what SetTranslator returned, to be asked in the same turn as then.
TESSELKIT_API void RestoreTranslator(const TranslatorSetting& setting) noexcept;

// Where the caller is, for walks that begin there. Good until it returns.
TESSELKIT_API CONTEXT CurrentContext() noexcept;

// Calls body(context). When a native exception strikes inside that nobody set later takes, the
// filter is asked, with the same context. By its answer (EXCEPTION_...) the body is abandoned and
// false returned, or the exception is offered to those set earlier, or execution goes on where it
// was interrupted. An abandoned body's destructors do not run. C++ exceptions pass through.
TESSELKIT_API bool CallGuarded(void (*body)(void* context),
                               int (*filter)(EXCEPTION_POINTERS* pointers, void* context),
                               void* context);

}  // namespace tesselkit::platform
