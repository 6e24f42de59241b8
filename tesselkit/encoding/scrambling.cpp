#include "tesselkit/encoding/scrambling.h"

#include <cstdint>
#include <cstring>

#include "tesselkit/encoding/adcrypt_tables.h"

namespace tesselkit::encoding {
namespace {

// Sixteen bytes in one register of the processor, whichever it is.
using Block = unsigned char __attribute__((vector_size(16)));

constexpr std::size_t kBlock = sizeof(Block);
constexpr std::size_t kPadLength = sizeof kScramblingPad - 1;
static_assert(kPadLength % kBlock == 0, "a block never runs over the end of the pad");

constexpr unsigned char kLetterGap = 'a' - '9' - 1;

Block Load(const char* from) {
  Block block;
  std::memcpy(&block, from, sizeof block);
  return block;
}

void Store(Block block, char* to) {
  std::memcpy(to, &block, sizeof block);
}

Block DigitsOf(Block nibbles) {
  return nibbles + '0' + (static_cast<Block>(nibbles > 9) & kLetterGap);
}

Block NibblesOf(Block digits) {
  return digits - '0' - (static_cast<Block>(digits > '9') & kLetterGap);
}

void ScrambleBlock(const char* bytes, const char* pad, char* digits) {
  const Block mixed = Load(bytes) ^ Load(pad);
  const Block low = DigitsOf(mixed & 0x0f);
  const Block high = DigitsOf(mixed >> 4);
  Store(__builtin_shufflevector(low, high, 0, 16, 1, 17, 2, 18, 3, 19, 4, 20, 5, 21, 6, 22, 7, 23),
        digits);
  Store(__builtin_shufflevector(low, high, 8, 24, 9, 25, 10, 26, 11, 27, 12, 28, 13, 29, 14, 30, 15,
                                31),
        digits + kBlock);
}

void UnscrambleBlock(const char* digits, const char* pad, char* bytes) {
  const Block first = Load(digits);
  const Block second = Load(digits + kBlock);
  const Block low = NibblesOf(__builtin_shufflevector(first, second, 0, 2, 4, 6, 8, 10, 12, 14, 16,
                                                      18, 20, 22, 24, 26, 28, 30));
  const Block high = NibblesOf(__builtin_shufflevector(first, second, 1, 3, 5, 7, 9, 11, 13, 15, 17,
                                                       19, 21, 23, 25, 27, 29, 31));
  Store((low | (high << 4)) ^ Load(pad), bytes);
}

// All bits of the bytes that are no digits.
Block Strangers(Block text) {
  return ~static_cast<Block>((text - '0' < 10) | (text - 'a' < 6));
}

bool IsZero(Block block) {
  std::uint64_t halves[2];
  std::memcpy(halves, &block, sizeof halves);
  return (halves[0] | halves[1]) == 0;
}

}  // namespace

void Scramble(const char* bytes, std::size_t size, char* digits) {
  std::size_t at = 0;
  for (; at + kBlock <= size; at += kBlock) {
    ScrambleBlock(bytes + at, kScramblingPad + at % kPadLength, digits + 2 * at);
  }
  if (at == size) return;
  char last[kBlock] = {}, last_digits[2 * kBlock];
  std::memcpy(last, bytes + at, size - at);
  ScrambleBlock(last, kScramblingPad + at % kPadLength, last_digits);
  std::memcpy(digits + 2 * at, last_digits, 2 * (size - at));
}

void Unscramble(const char* digits, std::size_t size, char* bytes) {
  std::size_t at = 0;
  for (; at + kBlock <= size; at += kBlock) {
    UnscrambleBlock(digits + 2 * at, kScramblingPad + at % kPadLength, bytes + at);
  }
  if (at == size) return;
  char last[2 * kBlock] = {}, last_bytes[kBlock];
  std::memcpy(last, digits + 2 * at, 2 * (size - at));
  UnscrambleBlock(last, kScramblingPad + at % kPadLength, last_bytes);
  std::memcpy(bytes + at, last_bytes, size - at);
}

bool AreDigits(const char* text, std::size_t length) {
  Block strangers = {};
  std::size_t at = 0;
  for (; at + kBlock <= length; at += kBlock) strangers |= Strangers(Load(text + at));
  char last[kBlock];
  std::memset(last, '0', sizeof last);
  std::memcpy(last, text + at, length - at);
  return IsZero(strangers | Strangers(Load(last)));
}

}  // namespace tesselkit::encoding
