// The inner loops of the reversible scrambling: bytes to digits and back, a block at a time, by the
// widest means that the processor has. They check nothing, allocate nothing and may run on any
// thread.
#pragma once

#include <cstddef>

#include "tesselkit/platform/export.h"

namespace tesselkit::encoding {

// Writes the 2 * `size` digits of `size` bytes at `bytes`.
void Scramble(const char* bytes, std::size_t size, char* digits);

// Writes the `size` bytes that 2 * `size` digits at `digits` stand for. Whether a NUL is among
// them.
bool Unscramble(const char* digits, std::size_t size, char* bytes);

// The byte at `index` of those.
char UnscrambledAt(const char* digits, std::size_t index);

// Whether `length` bytes at `text`, of which none is a NUL, are all lower-case hexadecimal digits.
bool AreDigits(const char* text, std::size_t length);

// The same for `blocks` blocks of 16 bytes, or of 32 digits, with the pad given. A kernel is chosen
// when the library is loaded; SetScramblingKernel is for tests, while nothing else runs.
struct ScramblingKernel {
  const char* name;
  void (*scramble)(const char* bytes, const char* pad, std::size_t blocks, char* digits);
  bool (*unscramble)(const char* digits, const char* pad, std::size_t blocks, char* bytes);
  bool (*are_digits)(const char* digits, std::size_t blocks);
};

TESSELKIT_API const ScramblingKernel& PlainScramblingKernel();
// Null on a processor without the instructions.
TESSELKIT_API const ScramblingKernel* Avx2ScramblingKernel();
TESSELKIT_API void SetScramblingKernel(const ScramblingKernel& kernel);

}  // namespace tesselkit::encoding
