#include "tesselkit/encoding/base64_vector.h"

#if defined(__x86_64__)

#include <immintrin.h>

#include <array>
#include <bit>

#include "tesselkit/encoding/base64_alphabet.h"
#include "tesselkit/encoding/base64_blocks.h"

#define TESSELKIT_AVX2 __attribute__((target("avx2")))

namespace tesselkit::encoding {
namespace {

// A table for shuffles: the same sixteen bytes in both halves.
struct Table {
  alignas(32) std::array<signed char, 32> bytes{};

  constexpr void Set(std::size_t i, int value) {
    bytes[i] = bytes[i + 16] = static_cast<signed char>(value);
  }
};

// What has to be added to a value to make it a character depends on its range: 0 for 26 to 51,
// 1 to 12 for each value from 52, 13 for 0 to 25.
constexpr Table kToCharacter = [] {
  Table table;
  table.Set(0, kBase64Alphabet[26] - 26);
  for (std::size_t range = 1; range <= 12; ++range) {
    const auto value = static_cast<int>(51 + range);
    table.Set(range, kBase64Alphabet[value] - value);
  }
  table.Set(13, kBase64Alphabet[0]);
  return table;
}();

// A byte is outside the alphabet when kOfHigh at its high four bits and kOfLow at its low four have
// a bit in common. Each high half has one bit, the same for those with the same valid low halves.
constexpr unsigned char BitOfHigh(int high) {
  constexpr unsigned char kBits[16] = {16, 16, 1, 2, 4, 8, 4, 8, 16, 16, 16, 16, 16, 16, 16, 16};
  return kBits[high];
}

constexpr Table kOfHigh = [] {
  Table table;
  for (int high = 0; high < 16; ++high) table.Set(static_cast<std::size_t>(high), BitOfHigh(high));
  return table;
}();

constexpr Table kOfLow = [] {
  Table table;
  for (std::size_t low = 0; low < 16; ++low) {
    int bits = 0;
    for (std::size_t high = 0; high < 16; ++high) {
      if (kBase64Values[16 * high + low] == kNoBase64Value)
        bits |= BitOfHigh(static_cast<int>(high));
    }
    table.Set(low, bits);
  }
  return table;
}();

// What has to be added to a character, by its high four bits; for '/', which shares them with '+',
// at the place before.
constexpr Table kToValue = [] {
  Table table;
  for (const char character : {'+', '0', 'A', 'P', 'a', 'p'}) {
    table.Set(static_cast<std::size_t>(character >> 4),
              kBase64Values[static_cast<unsigned char>(character)] - character);
  }
  table.Set(('/' >> 4) - 1, 63 - '/');
  return table;
}();

TESSELKIT_AVX2 __m256i Load(const Table& table) {
  return _mm256_load_si256(reinterpret_cast<const __m256i*>(table.bytes.data()));
}

TESSELKIT_AVX2 __m128i LoadHalf(const char* bytes) {
  return _mm_loadu_si128(reinterpret_cast<const __m128i*>(bytes));
}

struct Avx2Block {
  static constexpr std::size_t kGroups = 8;
  static constexpr std::size_t kFewestCharacters = 4 * kGroups;

  // The first half's groups are its first twelve bytes, the second half's its last twelve.
  TESSELKIT_AVX2 static void Encode(const char* bytes, char* text) {
    const __m256i groups = _mm256_set_m128i(LoadHalf(bytes + 8), LoadHalf(bytes));
    Store(Characters(Values(groups)), text);
  }

  TESSELKIT_AVX2 static void EncodeFew(const char* bytes, std::size_t groups, char* text) {
    if (groups != 0) kPlainBase64Kernel.encode(bytes, groups, 0, text);
  }

  TESSELKIT_AVX2 static std::size_t Decode(const char* text, std::size_t, char* bytes) {
    const __m256i input = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(text));
    const __m256i high = _mm256_and_si256(_mm256_srli_epi32(input, 4), _mm256_set1_epi8(0x0f));
    const __m256i low = _mm256_and_si256(input, _mm256_set1_epi8(0x0f));
    const __m256i strange = _mm256_and_si256(_mm256_shuffle_epi8(Load(kOfHigh), high),
                                             _mm256_shuffle_epi8(Load(kOfLow), low));
    const __m256i slash = _mm256_cmpeq_epi8(input, _mm256_set1_epi8('/'));
    const __m256i range = _mm256_add_epi8(high, slash);
    const __m256i values = _mm256_add_epi8(input, _mm256_shuffle_epi8(Load(kToValue), range));
    Store(Joined(values), bytes);
    const auto valid = static_cast<unsigned>(
        _mm256_movemask_epi8(_mm256_cmpeq_epi8(strange, _mm256_setzero_si256())));
    return static_cast<std::size_t>(std::countr_one(valid)) / 4;
  }

  static void DecodeRest(const char* end, Base64Decoded& state) {
    state = kPlainBase64Kernel.decode(state.stop, end, state.bytes_end);
  }

 private:
  TESSELKIT_AVX2 static void Store(__m256i block, char* to) {
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(to), block);
  }

  // Each group's bytes a, b, c as b, a, c, b; then two values at a time are shifted to their
  // places by multiplying.
  TESSELKIT_AVX2 static __m256i Values(__m256i groups) {
    const __m256i spread = _mm256_shuffle_epi8(
        groups, _mm256_setr_epi8(1, 0, 2, 1, 4, 3, 5, 4, 7, 6, 8, 7, 10, 9, 11, 10, 5, 4, 6, 5, 8,
                                 7, 9, 8, 11, 10, 12, 11, 14, 13, 15, 14));
    const __m256i even = _mm256_mulhi_epu16(_mm256_and_si256(spread, _mm256_set1_epi32(0x0fc0fc00)),
                                            _mm256_set1_epi32(0x04000040));
    const __m256i odd = _mm256_mullo_epi16(_mm256_and_si256(spread, _mm256_set1_epi32(0x003f03f0)),
                                           _mm256_set1_epi32(0x01000010));
    return _mm256_or_si256(even, odd);
  }

  TESSELKIT_AVX2 static __m256i Characters(__m256i values) {
    const __m256i above = _mm256_subs_epu8(values, _mm256_set1_epi8(51));
    const __m256i is_upper = _mm256_cmpgt_epi8(_mm256_set1_epi8(26), values);
    const __m256i range = _mm256_or_si256(above, _mm256_and_si256(is_upper, _mm256_set1_epi8(13)));
    return _mm256_add_epi8(values, _mm256_shuffle_epi8(Load(kToCharacter), range));
  }

  TESSELKIT_AVX2 static __m256i Joined(__m256i values) {
    const __m256i pairs = _mm256_maddubs_epi16(values, _mm256_set1_epi16(0x0140));
    const __m256i groups = _mm256_madd_epi16(pairs, _mm256_set1_epi32(0x00011000));
    const __m256i packed = _mm256_shuffle_epi8(
        groups, _mm256_setr_epi8(2, 1, 0, 6, 5, 4, 10, 9, 8, 14, 13, 12, -1, -1, -1, -1, 2, 1, 0, 6,
                                 5, 4, 10, 9, 8, 14, 13, 12, -1, -1, -1, -1));
    return _mm256_permutevar8x32_epi32(packed, _mm256_setr_epi32(0, 1, 2, 4, 5, 6, 3, 7));
  }
};

TESSELKIT_AVX2 char* Encode(const char* bytes, std::size_t groups, std::size_t groups_per_line,
                            char* text) {
  return EncodeText<Avx2Block>(bytes, groups, groups_per_line, text);
}

TESSELKIT_AVX2 Base64Decoded Decode(const char* text, const char* end, char* bytes) {
  return DecodeText<Avx2Block>(text, end, bytes);
}

constexpr Base64Kernel kKernel = {"avx2", Encode, Decode};

}  // namespace

const Base64Kernel* Avx2Base64Kernel() {
  __builtin_cpu_init();
  return __builtin_cpu_supports("avx2") ? &kKernel : nullptr;
}

}  // namespace tesselkit::encoding

#else

const tesselkit::encoding::Base64Kernel* tesselkit::encoding::Avx2Base64Kernel() {
  return nullptr;
}

#endif
