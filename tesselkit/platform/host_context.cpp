#include "tesselkit/platform/host_context.h"

#include <ucontext.h>

#include <cstdint>
#include <iterator>

#include "tesselkit/platform/foreign_memory.h"

namespace tesselkit::platform {
namespace {

const mcontext_t& Machine(const void* host) {
  return static_cast<const ucontext_t*>(host)->uc_mcontext;
}

mcontext_t& Machine(void* host) {
  return static_cast<ucontext_t*>(host)->uc_mcontext;
}

}  // namespace

#if defined(__x86_64__)

FrameRegisters ReadRegisters(const void* host) noexcept {
  const auto& registers = Machine(host).gregs;
  return {static_cast<ULONG_PTR>(registers[REG_RIP]), static_cast<ULONG_PTR>(registers[REG_RSP]),
          static_cast<ULONG_PTR>(registers[REG_RBP])};
}

void WriteRegisters(void* host, const FrameRegisters& registers) noexcept {
  auto& target = Machine(host).gregs;
  target[REG_RIP] = static_cast<greg_t>(registers.program_counter);
  target[REG_RSP] = static_cast<greg_t>(registers.stack_pointer);
  target[REG_RBP] = static_cast<greg_t>(registers.frame_pointer);
}

HostWord& KeptRegister(void* host, int number) noexcept {
  auto& registers = Machine(host).gregs;
  return number == kKeptRegisters[0] ? registers[REG_RBX] : registers[REG_R12 + number - 12];
}

ULONG_PTR CallerOf(const void* host) noexcept {
  ULONG_PTR caller = 0;
  return ReadForeign(ReadRegisters(host).stack_pointer, &caller, sizeof caller) ? caller : 0;
}

FrameRegisters RegistersOfCaller(const void* host, ULONG_PTR caller) noexcept {
  FrameRegisters registers = ReadRegisters(host);
  registers.program_counter = caller;
  registers.stack_pointer += sizeof caller;
  return registers;
}

bool IsWriteFault(const void* host) noexcept {
  return (Machine(host).gregs[REG_ERR] & 2) != 0;
}

void AllowUnalignedReads() noexcept {
  constexpr unsigned long long kAlignmentCheck = 1 << 18;
  const unsigned long long flags = __builtin_ia32_readeflags_u64();
  if ((flags & kAlignmentCheck) != 0) __builtin_ia32_writeeflags_u64(flags & ~kAlignmentCheck);
}

void TakeFloatingPointSettings(const void* host) noexcept {
  constexpr unsigned kRaised = 0x3F;
  const auto* registers = Machine(host).fpregs;
  if (registers == nullptr) return;
  const unsigned vector_settings = registers->mxcsr & ~kRaised;
  const unsigned short settings = registers->cwd;
  asm volatile("ldmxcsr %0\n\tfldcw %1" : : "m"(vector_settings), "m"(settings));
}

#elif defined(__aarch64__)

FrameRegisters ReadRegisters(const void* host) noexcept {
  const mcontext_t& machine = Machine(host);
  return {static_cast<ULONG_PTR>(machine.pc), static_cast<ULONG_PTR>(machine.sp),
          static_cast<ULONG_PTR>(machine.regs[29])};
}

void WriteRegisters(void* host, const FrameRegisters& registers) noexcept {
  mcontext_t& machine = Machine(host);
  machine.pc = registers.program_counter;
  machine.sp = registers.stack_pointer;
  machine.regs[29] = registers.frame_pointer;
}

HostWord& KeptRegister(void* host, int number) noexcept {
  return Machine(host).regs[number];
}

ULONG_PTR CallerOf(const void* host) noexcept {
  return static_cast<ULONG_PTR>(Machine(host).regs[30]);
}

FrameRegisters RegistersOfCaller(const void* host, ULONG_PTR caller) noexcept {
  FrameRegisters registers = ReadRegisters(host);
  registers.program_counter = caller;
  return registers;
}

// The kernel's record of the fault's syndrome stands among those behind the registers.
bool IsWriteFault(const void* host) noexcept {
  struct Head {
    std::uint32_t magic;
    std::uint32_t size;
  };
  constexpr std::uint32_t kSyndrome = 0x45535201;
  constexpr std::uint64_t kWriteBit = 1 << 6;
  const unsigned char* at = Machine(host).__reserved;
  const unsigned char* const end = std::end(Machine(host).__reserved);
  while (end - at >= static_cast<std::ptrdiff_t>(sizeof(Head))) {
    const auto* head = reinterpret_cast<const Head*>(at);
    if (head->magic == kSyndrome) {
      return (*reinterpret_cast<const std::uint64_t*>(head + 1) & kWriteBit) != 0;
    }
    if (head->magic == 0 || head->size < sizeof(Head)) break;
    at += head->size;
  }
  return false;
}

void AllowUnalignedReads() noexcept {}

// This processor's settings are the thread's in a handler also.
void TakeFloatingPointSettings(const void*) noexcept {}

#else
#error "The registers of this processor are not known"
#endif

}  // namespace tesselkit::platform
