#include "tesselkit/platform/fault_codes.h"

#include <signal.h>

#include <cstdint>

#include "tesselkit/platform/stack_room.h"

namespace tesselkit::platform {
namespace {

struct CodeRow {
  int signal;
  int detail;  // si_code
  DWORD code;
};

constexpr CodeRow kCodes[] = {
    {SIGBUS, BUS_ADRALN, EXCEPTION_DATATYPE_MISALIGNMENT},
    {SIGBUS, BUS_ADRERR, EXCEPTION_IN_PAGE_ERROR},
    {SIGBUS, BUS_OBJERR, EXCEPTION_IN_PAGE_ERROR},
    {SIGBUS, BUS_MCEERR_AR, EXCEPTION_IN_PAGE_ERROR},
    {SIGFPE, FPE_INTDIV, EXCEPTION_INT_DIVIDE_BY_ZERO},
    {SIGFPE, FPE_INTOVF, EXCEPTION_INT_OVERFLOW},
    {SIGFPE, FPE_FLTDIV, EXCEPTION_FLT_DIVIDE_BY_ZERO},
    {SIGFPE, FPE_FLTOVF, EXCEPTION_FLT_OVERFLOW},
    {SIGFPE, FPE_FLTUND, EXCEPTION_FLT_UNDERFLOW},
    {SIGFPE, FPE_FLTRES, EXCEPTION_FLT_INEXACT_RESULT},
    {SIGFPE, FPE_FLTINV, EXCEPTION_FLT_INVALID_OPERATION},
    {SIGFPE, FPE_FLTSUB, EXCEPTION_ARRAY_BOUNDS_EXCEEDED},
    {SIGILL, ILL_PRVOPC, EXCEPTION_PRIV_INSTRUCTION},
    {SIGILL, ILL_PRVREG, EXCEPTION_PRIV_INSTRUCTION},
    {SIGTRAP, TRAP_TRACE, EXCEPTION_SINGLE_STEP},
};

DWORD CodeByTable(const HostFault& fault) {
  for (const CodeRow& row : kCodes) {
    if (row.signal == fault.signal && row.detail == fault.detail) return row.code;
  }
  switch (fault.signal) {
    case SIGFPE:
      return EXCEPTION_FLT_INVALID_OPERATION;
    case SIGILL:
      return EXCEPTION_ILLEGAL_INSTRUCTION;
    case SIGTRAP:
      return EXCEPTION_BREAKPOINT;
    default:
      return EXCEPTION_ACCESS_VIOLATION;
  }
}

#ifdef __x86_64__

struct ByteSpan {
  unsigned char first;
  unsigned char last;
};

// Operation codes that only the system may use: alone, and behind 0F.
constexpr ByteSpan kPrivileged[] = {
    {0x6C, 0x6F}, {0xE4, 0xE7}, {0xEC, 0xEF}, {0xF4, 0xF4}, {0xFA, 0xFB}};
constexpr ByteSpan kPrivilegedLong[] = {{0x00, 0x01}, {0x06, 0x09}, {0x20, 0x23},
                                        {0x30, 0x30}, {0x32, 0x33}, {0x35, 0x35}};

template <std::size_t N>
bool IsIn(unsigned char byte, const ByteSpan (&spans)[N]) {
  for (const ByteSpan& span : spans) {
    if (byte >= span.first && byte <= span.last) return true;
  }
  return false;
}

bool IsPrefix(unsigned char byte) {
  const bool is_size_or_repeat = byte == 0x66 || byte == 0x67 || byte == 0xF2 || byte == 0xF3;
  const bool is_segment = (byte & 0xE7) == 0x26 || byte == 0x64 || byte == 0x65;
  return is_size_or_repeat || is_segment || (byte & 0xF0) == 0x40;
}

// This processor reports a privileged instruction as a protection fault like any other.
bool IsPrivileged(const unsigned char* instruction, std::size_t size) {
  const unsigned char* const end = instruction + size;
  while (instruction < end && IsPrefix(*instruction)) ++instruction;
  if (instruction == end) return false;
  if (*instruction != 0x0F) return IsIn(*instruction, kPrivileged);
  return ++instruction < end && IsIn(*instruction, kPrivilegedLong);
}

#else

bool IsPrivileged(const unsigned char*, std::size_t) {
  return false;  // comes as SIGILL
}

#endif

bool IsStackOverflow(const HostFault& fault, const CONTEXT& context) {
  constexpr std::uintptr_t kReach = 64 * 1024;
  constexpr std::uintptr_t kPage = 4096;
  const StackBounds& stack = ThreadStack();
  if (fault.signal != SIGSEGV || !stack.known || HasNoAddress(fault)) return false;
  const std::uintptr_t floor = stack.low + stack.guard;
  const std::uintptr_t at = fault.address;
  const bool is_at_floor = at >= stack.low - kReach && at < floor + kPage;
  // A large frame may reach past whatever lies below the stack.
  const std::uintptr_t pointer = context.StackPointer;
  const bool is_stack_below = pointer < floor + kPage && pointer >= stack.low - 16 * kReach;
  return is_at_floor || (is_stack_below && at < floor);
}

bool HasParameters(DWORD code) {
  return code == EXCEPTION_ACCESS_VIOLATION || code == EXCEPTION_IN_PAGE_ERROR ||
         code == EXCEPTION_STACK_OVERFLOW;
}

}  // namespace

bool IsFault(int signal, int detail) noexcept {
  const bool is_late_news = signal == SIGBUS && detail == BUS_MCEERR_AO;
  return detail > 0 && !is_late_news;
}

bool HasNoAddress(const HostFault& fault) noexcept {
  return fault.detail == SI_KERNEL;
}

bool IsJumpToNowhere(const HostFault& fault, const CONTEXT& context) noexcept {
  return fault.signal == SIGSEGV && !HasNoAddress(fault) &&
         fault.address == context.InstructionPointer;
}

void DescribeFault(const HostFault& fault, const CONTEXT& context, const unsigned char* instruction,
                   std::size_t size, EXCEPTION_RECORD& record) noexcept {
  constexpr ULONG_PTR kRead = 0, kWrite = 1, kJump = 8;
  record = {};
  record.ExceptionCode = CodeByTable(fault);
  const bool is_division = record.ExceptionCode == EXCEPTION_INT_DIVIDE_BY_ZERO;
  if (is_division && fault.has_divisor) {
    record.ExceptionCode = EXCEPTION_INT_OVERFLOW;
  } else if (IsStackOverflow(fault, context)) {
    record.ExceptionCode = EXCEPTION_STACK_OVERFLOW;
  } else if (fault.signal == SIGSEGV && HasNoAddress(fault) && IsPrivileged(instruction, size)) {
    record.ExceptionCode = EXCEPTION_PRIV_INSTRUCTION;
  }
  if (!HasParameters(record.ExceptionCode)) return;
  record.NumberParameters = 2;
  record.ExceptionInformation[0] = IsJumpToNowhere(fault, context) ? kJump
                                   : fault.is_write                ? kWrite
                                                                   : kRead;
  record.ExceptionInformation[1] = HasNoAddress(fault) ? ~ULONG_PTR{0} : fault.address;
}

}  // namespace tesselkit::platform
