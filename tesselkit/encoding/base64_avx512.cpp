#include "tesselkit/encoding/base64_vector.h"

#if defined(__x86_64__)

#include <immintrin.h>

#include <algorithm>
#include <array>
#include <bit>

#include "tesselkit/encoding/base64_alphabet.h"
#include "tesselkit/encoding/base64_blocks.h"

#define TESSELKIT_AVX512 __attribute__((target("avx512f,avx512bw,avx512vl,avx512vbmi")))

namespace tesselkit::encoding {
namespace {

using Bytes = std::array<unsigned char, 64>;

// Where an unmasked intrinsic starts from an undefined vector, which one compiler warns of, its
// masked form is used with this.
constexpr __mmask64 kAll = ~__mmask64{0};

constexpr __mmask64 Lowest(std::size_t count) {
  return count < 64 ? (__mmask64{1} << count) - 1 : kAll;
}

// Each group of bytes a, b, c as the four bytes b, a, c, b, from which four shifts take the values.
alignas(64) constexpr auto kSpread = [] {
  Bytes spread{};
  for (std::size_t i = 0; i < spread.size(); ++i) {
    constexpr int kFrom[] = {1, 0, 2, 1};
    spread[i] = static_cast<unsigned char>(i / 4 * 3 + kFrom[i % 4]);
  }
  return spread;
}();

constexpr long long kShifts = 0x3036242a1016040a;

// From each four bytes the lower three, highest first; what is behind the 48th does not matter.
alignas(64) constexpr auto kGather = [] {
  Bytes gather{};
  for (std::size_t i = 0; i < 48; ++i) {
    gather[i] = static_cast<unsigned char>(i / 3 * 4 + 2 - i % 3);
  }
  return gather;
}();

// The values of the 128 lower bytes; the highest bit marks those that have none.
alignas(64) constexpr auto kLowerValues = [] {
  std::array<unsigned char, 128> values{};
  std::copy_n(kBase64Values.begin(), values.size(), values.begin());
  return values;
}();

TESSELKIT_AVX512 __m512i Load(const unsigned char* constant) {
  return _mm512_load_si512(constant);
}

struct Avx512Block {
  static constexpr std::size_t kGroups = 16;
  static constexpr std::size_t kFewestCharacters = 4;

  TESSELKIT_AVX512 static void Encode(const char* bytes, char* text) {
    _mm512_storeu_si512(text, Characters(_mm512_maskz_loadu_epi8(Lowest(48), bytes)));
  }

  TESSELKIT_AVX512 static void EncodeFew(const char* bytes, std::size_t groups, char* text) {
    const __m512i few = _mm512_maskz_loadu_epi8(Lowest(3 * groups), bytes);
    _mm512_mask_storeu_epi8(text, Lowest(4 * groups), Characters(few));
  }

  TESSELKIT_AVX512 static std::size_t Decode(const char* text, std::size_t available, char* bytes) {
    const __mmask64 present = Lowest(available);
    const __m512i input = _mm512_maskz_loadu_epi8(present, text);
    const __m512i values =
        _mm512_permutex2var_epi8(Load(kLowerValues.data()), input, Load(kLowerValues.data() + 64));
    const __mmask64 strange = _mm512_movepi8_mask(_mm512_or_si512(values, input));
    _mm512_storeu_si512(bytes, Joined(values));
    // A byte that is not there was loaded as a NUL, which has no value either.
    return static_cast<std::size_t>(std::countr_zero(static_cast<unsigned long long>(strange))) / 4;
  }

  static void DecodeRest(const char* end, Base64Decoded& state) { DecodeGroups(end, state); }

 private:
  TESSELKIT_AVX512 static __m512i Characters(__m512i groups) {
    const __m512i spread = _mm512_maskz_permutexvar_epi8(kAll, Load(kSpread.data()), groups);
    const __m512i values =
        _mm512_maskz_multishift_epi64_epi8(kAll, _mm512_set1_epi64(kShifts), spread);
    return _mm512_maskz_permutexvar_epi8(kAll, values, _mm512_loadu_si512(kBase64Alphabet));
  }

  TESSELKIT_AVX512 static __m512i Joined(__m512i values) {
    const __m512i pairs = _mm512_maddubs_epi16(values, _mm512_set1_epi16(0x0140));
    const __m512i groups = _mm512_madd_epi16(pairs, _mm512_set1_epi32(0x00011000));
    return _mm512_maskz_permutexvar_epi8(kAll, Load(kGather.data()), groups);
  }
};

TESSELKIT_AVX512 char* Encode(const char* bytes, std::size_t groups, std::size_t groups_per_line,
                              char* text) {
  return EncodeText<Avx512Block>(bytes, groups, groups_per_line, text);
}

TESSELKIT_AVX512 Base64Decoded Decode(const char* text, const char* end, char* bytes) {
  return DecodeText<Avx512Block>(text, end, bytes);
}

constexpr Base64Kernel kKernel = {"avx512", Encode, Decode};

}  // namespace

const Base64Kernel* Avx512Base64Kernel() {
  __builtin_cpu_init();
  const bool usable = __builtin_cpu_supports("avx512f") && __builtin_cpu_supports("avx512bw") &&
                      __builtin_cpu_supports("avx512vl") && __builtin_cpu_supports("avx512vbmi");
  return usable ? &kKernel : nullptr;
}

}  // namespace tesselkit::encoding

#else

const tesselkit::encoding::Base64Kernel* tesselkit::encoding::Avx512Base64Kernel() {
  return nullptr;
}

#endif
