// The inner loops of the reversible scrambling: bytes to digits and back, sixteen at a time.
// They check nothing, allocate nothing and may run on any thread.
#pragma once

#include <cstddef>

namespace tesselkit::encoding {

// Writes the 2 * `size` digits of `size` bytes at `bytes`.
void Scramble(const char* bytes, std::size_t size, char* digits);

// Writes the `size` bytes that 2 * `size` digits at `digits` stand for.
void Unscramble(const char* digits, std::size_t size, char* bytes);

// Whether `length` bytes at `text` are all of them lower-case hexadecimal digits.
bool AreDigits(const char* text, std::size_t length);

}  // namespace tesselkit::encoding
