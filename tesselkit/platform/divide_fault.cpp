#include "tesselkit/platform/divide_fault.h"

#include <ucontext.h>

#include <cstddef>
#include <cstdint>
#include <cstring>

#include "tesselkit/platform/foreign_memory.h"
#include "tesselkit/platform/host_context.h"

namespace tesselkit::platform {

#ifdef __x86_64__

namespace {

// The registers by the numbers that instructions have for them.
constexpr int kRegisters[16] = {REG_RAX, REG_RCX, REG_RDX, REG_RBX, REG_RSP, REG_RBP,
                                REG_RSI, REG_RDI, REG_R8,  REG_R9,  REG_R10, REG_R11,
                                REG_R12, REG_R13, REG_R14, REG_R15};

// A division with one operand: prefixes, operation, form of the operand, displacement.
class Division {
 public:
  explicit Division(const void* host)
      : m_host(host),
        m_next(reinterpret_cast<const unsigned char*>(ReadRegisters(host).program_counter)) {}

  // False for what is no division, or one of a kind that compilers do not write.
  bool ReadDivisor(std::uintptr_t& divisor) {
    const bool is_short = TakeIf(*m_next == 0x66);
    if (TakeIf((*m_next & 0xF0) == 0x40)) m_rex = m_next[-1];
    const unsigned operation = *m_next++;
    const unsigned form = *m_next++;
    if ((operation & 0xFE) != 0xF6 || (form & 0x30) != 0x30) return false;
    m_mode = form >> 6;
    m_size = operation == 0xF6 ? 1 : (m_rex & 8) != 0 ? 8 : is_short ? 2 : 4;
    divisor = 0;
    if (m_mode != 3) return ReadForeign(Address(form & 7), &divisor, m_size);
    const std::uintptr_t value = Operand(form & 7);
    std::memcpy(&divisor, &value, m_size);
    return true;
  }

 private:
  bool TakeIf(bool is_there) {
    if (is_there) ++m_next;
    return is_there;
  }

  std::uintptr_t Register(unsigned number) const {
    const auto& registers = static_cast<const ucontext_t*>(m_host)->uc_mcontext.gregs;
    return static_cast<std::uintptr_t>(registers[kRegisters[number]]);
  }

  unsigned Extended(unsigned number, unsigned bit) const {
    return (m_rex & bit) != 0 ? number + 8 : number;
  }

  // Of single bytes without the prefix, the upper four are second bytes.
  std::uintptr_t Operand(unsigned number) const {
    const bool is_second = m_size == 1 && m_rex == 0 && number >= 4;
    return is_second ? Register(number - 4) >> 8 : Register(Extended(number, 1));
  }

  std::uintptr_t Address(unsigned base) {
    std::uintptr_t address = base == 4 ? IndexedAddress(base) : 0;
    const bool has_no_base = m_mode == 0 && base == 5;
    if (has_no_base) m_mode = 2;
    if (!has_no_base) address += Register(Extended(base, 1));
    const bool is_from_here = has_no_base && !m_has_index;
    address += Displacement();
    return is_from_here ? address + reinterpret_cast<std::uintptr_t>(m_next) : address;
  }

  // Without its base, which is told.
  std::uintptr_t IndexedAddress(unsigned& base) {
    const unsigned byte = *m_next++;
    m_has_index = true;
    base = byte & 7;
    const unsigned index = Extended(byte >> 3 & 7, 2);
    return index != 4 ? Register(index) << (byte >> 6) : 0;
  }

  std::uintptr_t Displacement() {
    if (m_mode == 0) return 0;
    std::int32_t value = (*m_next ^ 0x80) - 0x80;  // with its sign
    if (m_mode == 2) std::memcpy(&value, m_next, sizeof value);
    m_next += m_mode == 2 ? sizeof value : 1;
    return static_cast<std::uintptr_t>(std::intptr_t{value});
  }

  const void* m_host;
  const unsigned char* m_next;
  unsigned m_rex = 0;
  unsigned m_mode = 0;
  std::size_t m_size = 0;
  bool m_has_index = false;
};

}  // namespace

bool HasDivisor(const void* host) noexcept {
  std::uintptr_t divisor = 0;
  return Division(host).ReadDivisor(divisor) && divisor != 0;
}

#else

bool HasDivisor(const void*) noexcept {
  return false;  // never refused
}

#endif

}  // namespace tesselkit::platform
