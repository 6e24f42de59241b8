#include "tesselkit/encoding/scrambling.h"

#if defined(__x86_64__)

#include <immintrin.h>

#define TESSELKIT_AVX2 __attribute__((target("avx2")))

namespace tesselkit::encoding {
namespace {

TESSELKIT_AVX2 __m128i Load16(const char* from) {
  return _mm_loadu_si128(reinterpret_cast<const __m128i*>(from));
}

TESSELKIT_AVX2 __m256i Load32(const char* from) {
  return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(from));
}

// Each byte becomes two, its low half and its high half, and each half its digit.
TESSELKIT_AVX2 void ScrambleBlocks(const char* bytes, const char* pad, std::size_t blocks,
                                   char* digits) {
  const __m256i table = _mm256_broadcastsi128_si256(Load16("0123456789abcdef"));
  for (; blocks > 0; --blocks, bytes += 16, pad += 16, digits += 32) {
    const __m256i wide = _mm256_cvtepu8_epi16(_mm_xor_si128(Load16(bytes), Load16(pad)));
    const __m256i halves =
        _mm256_and_si256(_mm256_or_si256(wide, _mm256_slli_epi16(wide, 4)), _mm256_set1_epi8(0x0f));
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(digits), _mm256_shuffle_epi8(table, halves));
  }
}

TESSELKIT_AVX2 bool UnscrambleBlocks(const char* digits, const char* pad, std::size_t blocks,
                                     char* bytes) {
  __m128i nuls = _mm_setzero_si128();
  for (; blocks > 0; --blocks, digits += 32, pad += 16, bytes += 16) {
    const __m256i text = Load32(digits);
    const __m256i is_letter = _mm256_cmpgt_epi8(text, _mm256_set1_epi8('9'));
    const __m256i values = _mm256_add_epi8(_mm256_and_si256(text, _mm256_set1_epi8(0x0f)),
                                           _mm256_and_si256(is_letter, _mm256_set1_epi8(9)));
    const __m256i wide = _mm256_maddubs_epi16(values, _mm256_set1_epi16(0x1001));
    const __m128i mixed =
        _mm_packus_epi16(_mm256_castsi256_si128(wide), _mm256_extracti128_si256(wide, 1));
    const __m128i block = _mm_xor_si128(mixed, Load16(pad));
    nuls = _mm_or_si128(nuls, _mm_cmpeq_epi8(block, _mm_setzero_si128()));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(bytes), block);
  }
  return _mm_movemask_epi8(nuls) != 0;
}

TESSELKIT_AVX2 __m256i IsWithin(__m256i text, char first, char last) {
  return _mm256_andnot_si256(
      _mm256_cmpgt_epi8(text, _mm256_set1_epi8(last)),
      _mm256_cmpgt_epi8(text, _mm256_set1_epi8(static_cast<char>(first - 1))));
}

TESSELKIT_AVX2 bool AreDigitBlocks(const char* digits, std::size_t blocks) {
  __m256i all = _mm256_set1_epi8(-1);
  for (; blocks > 0; --blocks, digits += 32) {
    const __m256i text = Load32(digits);
    const __m256i is_digit = _mm256_or_si256(IsWithin(text, '0', '9'), IsWithin(text, 'a', 'f'));
    all = _mm256_and_si256(all, is_digit);
  }
  return _mm256_movemask_epi8(all) == -1;
}

constexpr ScramblingKernel kKernel = {"avx2", ScrambleBlocks, UnscrambleBlocks, AreDigitBlocks};

}  // namespace

const ScramblingKernel* Avx2ScramblingKernel() {
  __builtin_cpu_init();
  return __builtin_cpu_supports("avx2") ? &kKernel : nullptr;
}

}  // namespace tesselkit::encoding

#else

const tesselkit::encoding::ScramblingKernel* tesselkit::encoding::Avx2ScramblingKernel() {
  return nullptr;
}

#endif
