#include "tesselkit/encoding/scrambling.h"

#include <algorithm>
#include <atomic>
#include <bit>
#include <cstdint>
#include <cstring>

#include "tesselkit/encoding/adcrypt_tables.h"

namespace tesselkit::encoding {
namespace {

// Sixteen bytes in one register of whichever processor.
using Block = signed char __attribute__((vector_size(16)));
using Halves = std::uint64_t __attribute__((vector_size(16)));

constexpr std::size_t kBlock = sizeof(Block);
constexpr std::size_t kPadLength = sizeof kScramblingPad - 1;
static_assert(kPadLength % kBlock == 0, "a block never runs over the end of the pad");

constexpr signed char kLetterGap = 'a' - '9' - 1;

constexpr Block kIndexes = {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15};

template <class Value>
Value LoadAs(const char* from) {
  Value value;
  std::memcpy(&value, from, sizeof value);
  return value;
}

template <class Value>
void Store(Value value, char* to) {
  std::memcpy(to, &value, sizeof value);
}

static_assert(std::endian::native == std::endian::little, "the first byte is the lowest");

// The number of which `size` bytes, at most 8, are the lowest; read in pieces that may overlap.
std::uint64_t LoadSome(const char* from, std::size_t size) {
  if (size >= 8) return LoadAs<std::uint64_t>(from);
  if (size >= 4) {
    const std::uint64_t last = LoadAs<std::uint32_t>(from + size - 4);
    return last << 8 * (size - 4) | LoadAs<std::uint32_t>(from);
  }
  std::uint64_t value = 0;
  for (std::size_t i = 0; i < size; ++i) {
    value |= static_cast<std::uint64_t>(static_cast<unsigned char>(from[i])) << 8 * i;
  }
  return value;
}

void StoreSome(std::uint64_t value, char* to, std::size_t size) {
  if (size >= 8) return Store(value, to);
  if (size >= 4) {
    Store(static_cast<std::uint32_t>(value), to);
    return Store(static_cast<std::uint32_t>(value >> 8 * (size - 4)), to + size - 4);
  }
  for (std::size_t i = 0; i < size; ++i) to[i] = static_cast<char>(value >> 8 * i);
}

// The same of a block. It stays in registers: a block that is stored in pieces and loaded as a
// whole would be waited for.
Block LoadPart(const char* from, std::size_t size) {
  constexpr std::size_t kHalf = kBlock / 2;
  const std::size_t first = std::min(size, kHalf);
  const Halves halves = {LoadSome(from, first), LoadSome(from + first, size - first)};
  return reinterpret_cast<Block>(halves);
}

void StorePart(Block block, char* to, std::size_t size) {
  constexpr std::size_t kHalf = kBlock / 2;
  const auto halves = reinterpret_cast<Halves>(block);
  const std::size_t first = std::min(size, kHalf);
  StoreSome(halves[0], to, first);
  StoreSome(halves[1], to + first, size - first);
}

Block DigitsOf(Block nibbles) {
  return nibbles + '0' + ((nibbles > 9) & kLetterGap);
}

struct Digits {
  Block first, second;
};

Digits Scrambled(Block bytes, const char* pad) {
  const Block mixed = bytes ^ LoadAs<Block>(pad);
  const Block low = DigitsOf(mixed & 0x0f);
  const Block high = DigitsOf((mixed >> 4) & 0x0f);
  return {
      __builtin_shufflevector(low, high, 0, 16, 1, 17, 2, 18, 3, 19, 4, 20, 5, 21, 6, 22, 7, 23),
      __builtin_shufflevector(low, high, 8, 24, 9, 25, 10, 26, 11, 27, 12, 28, 13, 29, 14, 30, 15,
                              31)};
}

Block NibblesOf(Block digits) {
  return digits - '0' - ((digits > '9') & kLetterGap);
}

Block Unscrambled(Digits digits, const char* pad) {
  const Block low = NibblesOf(__builtin_shufflevector(digits.first, digits.second, 0, 2, 4, 6, 8,
                                                      10, 12, 14, 16, 18, 20, 22, 24, 26, 28, 30));
  const Block high = NibblesOf(__builtin_shufflevector(digits.first, digits.second, 1, 3, 5, 7, 9,
                                                       11, 13, 15, 17, 19, 21, 23, 25, 27, 29, 31));
  return (low | high << 4) ^ LoadAs<Block>(pad);
}

// Bits are set in those bytes that are no digits.
Block Strangers(Block text) {
  return ~(((text >= '0') & (text <= '9')) | ((text >= 'a') & (text <= 'f')));
}

bool IsZero(Block block) {
  const auto halves = reinterpret_cast<Halves>(block);
  return (halves[0] | halves[1]) == 0;
}

void ScrambleBlocks(const char* bytes, const char* pad, std::size_t blocks, char* digits) {
  for (std::size_t i = 0; i < blocks; ++i) {
    const Digits some = Scrambled(LoadAs<Block>(bytes + i * kBlock), pad + i * kBlock);
    Store(some.first, digits + 2 * i * kBlock);
    Store(some.second, digits + (2 * i + 1) * kBlock);
  }
}

bool UnscrambleBlocks(const char* digits, const char* pad, std::size_t blocks, char* bytes) {
  Block nuls = {};
  for (std::size_t i = 0; i < blocks; ++i) {
    const Digits some = {LoadAs<Block>(digits + 2 * i * kBlock),
                         LoadAs<Block>(digits + (2 * i + 1) * kBlock)};
    const Block block = Unscrambled(some, pad + i * kBlock);
    nuls |= block == 0;
    Store(block, bytes + i * kBlock);
  }
  return !IsZero(nuls);
}

bool AreDigitBlocks(const char* digits, std::size_t blocks) {
  Block strangers = {};
  for (std::size_t i = 0; i < 2 * blocks; ++i) {
    strangers |= Strangers(LoadAs<Block>(digits + i * kBlock));
  }
  return IsZero(strangers);
}

constexpr ScramblingKernel kPlainKernel = {"plain", ScrambleBlocks, UnscrambleBlocks,
                                           AreDigitBlocks};

std::atomic<const ScramblingKernel*> current{
    Avx2ScramblingKernel() != nullptr ? Avx2ScramblingKernel() : &kPlainKernel};

const ScramblingKernel& Kernel() {
  return *current.load(std::memory_order_relaxed);
}

// Calls work(at, pad, blocks) for each stretch of whole blocks that one pad serves. Returns where
// the last, shorter block starts.
template <class Work>
std::size_t InStretches(std::size_t size, Work work) {
  const std::size_t whole = size / kBlock * kBlock;
  for (std::size_t at = 0; at < whole; at += kPadLength) {
    work(at, kScramblingPad, std::min(whole - at, kPadLength) / kBlock);
  }
  return whole;
}

}  // namespace

const ScramblingKernel& PlainScramblingKernel() {
  return kPlainKernel;
}

void SetScramblingKernel(const ScramblingKernel& kernel) {
  current.store(&kernel, std::memory_order_relaxed);
}

void Scramble(const char* bytes, std::size_t size, char* digits) {
  const std::size_t at = InStretches(size, [&](std::size_t from, const char* pad, std::size_t n) {
    Kernel().scramble(bytes + from, pad, n, digits + 2 * from);
  });
  if (at == size) return;
  const Digits last = Scrambled(LoadPart(bytes + at, size - at), kScramblingPad + at % kPadLength);
  const std::size_t first = std::min(2 * (size - at), kBlock);
  StorePart(last.first, digits + 2 * at, first);
  StorePart(last.second, digits + 2 * at + first, 2 * (size - at) - first);
}

bool Unscramble(const char* digits, std::size_t size, char* bytes) {
  bool has_nul = false;
  const std::size_t at = InStretches(size, [&](std::size_t from, const char* pad, std::size_t n) {
    has_nul |= Kernel().unscramble(digits + 2 * from, pad, n, bytes + from);
  });
  if (at == size) return has_nul;
  const std::size_t first = std::min(2 * (size - at), kBlock);
  const Digits last = {LoadPart(digits + 2 * at, first),
                       LoadPart(digits + 2 * at + first, 2 * (size - at) - first)};
  const Block block = Unscrambled(last, kScramblingPad + at % kPadLength);
  StorePart(block, bytes + at, size - at);
  const Block is_there = kIndexes < static_cast<signed char>(size - at);
  return has_nul || !IsZero((block == 0) & is_there);
}

char UnscrambledAt(const char* digits, std::size_t index) {
  const auto value = [](char digit) { return digit > '9' ? digit - 'a' + 10 : digit - '0'; };
  const int byte = value(digits[2 * index]) | value(digits[2 * index + 1]) << 4;
  return static_cast<char>(byte ^ kScramblingPad[index % kPadLength]);
}

bool AreDigits(const char* text, std::size_t length) {
  const std::size_t blocks = length / (2 * kBlock);
  if (blocks > 0 && !Kernel().are_digits(text, blocks)) return false;
  const char* const rest = text + 2 * blocks * kBlock;
  const std::size_t left = length - 2 * blocks * kBlock;
  if (left == 0) return true;
  const std::size_t first = std::min(left, kBlock);
  const Block a = LoadPart(rest, first);
  const Block b = LoadPart(rest + first, left - first);
  // What is not there was loaded as a NUL.
  return IsZero((Strangers(a) & (a != 0)) | (Strangers(b) & (b != 0)));
}

}  // namespace tesselkit::encoding
