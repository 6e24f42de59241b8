// Remainders by one divisor that is set at run time, without a division for each.
#pragma once

#include <cstdint>

#include "tesselkit/platform/export.h"

namespace tesselkit::objects {

class TESSELKIT_API PrimeModulus {
 public:
  // Divisor 0: Of must not be called.
  constexpr PrimeModulus() = default;
  // A prime below 2^31 other than 2.
  explicit constexpr PrimeModulus(std::uint64_t divisor)
      : m_divisor(divisor), m_reciprocal(~std::uint64_t{0} / divisor + 1) {}

  constexpr std::uint64_t Divisor() const noexcept { return m_divisor; }

  // `number` modulo the divisor.
  //
  // The reciprocal is 2^64 / divisor, rounded up by less than 1. The low half of its product with
  // a number of 32 bits is the fraction that the division leaves, exact to more than the bits
  // that the remainder has. For a larger number the high half is the quotient, or one more.
  constexpr std::uint64_t Of(std::uint64_t number) const noexcept {
    if (number >> 32 == 0) return HighProduct(number * m_reciprocal, m_divisor);
    const std::uint64_t rest = number - HighProduct(number, m_reciprocal) * m_divisor;
    return rest < m_divisor ? rest : rest + m_divisor;
  }

 private:
  static constexpr std::uint64_t HighProduct(std::uint64_t a, std::uint64_t b) noexcept {
    __extension__ using Wide = unsigned __int128;
    return static_cast<std::uint64_t>(Wide{a} * b >> 64);
  }

  std::uint64_t m_divisor = 0;
  std::uint64_t m_reciprocal = 0;
};

}  // namespace tesselkit::objects
