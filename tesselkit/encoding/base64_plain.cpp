#include <array>
#include <cstdint>
#include <cstring>

#include "tesselkit/encoding/base64_alphabet.h"
#include "tesselkit/encoding/base64_blocks.h"
#include "tesselkit/encoding/base64_vector.h"

namespace tesselkit::encoding {

namespace {

constexpr std::uint32_t kNoGroup = 0x80000000;

// The two characters of each 12-bit value.
using Pair = std::array<char, 2>;
constexpr auto kPairs = [] {
  std::array<Pair, 4096> pairs{};
  for (std::size_t i = 0; i < pairs.size(); ++i) {
    pairs[i] = {kBase64Alphabet[i >> 6], kBase64Alphabet[i & 63]};
  }
  return pairs;
}();

// For each of the four places in a group and each byte, its bits of the group; kNoGroup outside the
// alphabet.
constexpr auto kShifted = [] {
  std::array<std::array<std::uint32_t, 256>, 4> shifted{};
  for (std::size_t place = 0; place < 4; ++place) {
    shifted[place].fill(kNoGroup);
    for (std::uint32_t value = 0; value < 64; ++value) {
      const auto character = static_cast<unsigned char>(kBase64Alphabet[value]);
      shifted[place][character] = value << (18 - 6 * place);
    }
  }
  return shifted;
}();

std::uint32_t ByteAt(const char* at) {
  return static_cast<unsigned char>(*at);
}

struct PlainBlock {
  static constexpr std::size_t kGroups = 2;
  static constexpr std::size_t kFewestCharacters = 4 * kGroups;

  static void Encode(const char* bytes, char* text) {
    EncodeGroup(bytes, text);
    EncodeGroup(bytes + 3, text + 4);
  }

  static void EncodeFew(const char* bytes, std::size_t groups, char* text) {
    if (groups != 0) EncodeGroup(bytes, text);
  }

  static std::size_t Decode(const char* text, std::size_t, char* bytes) {
    const std::uint32_t first = GroupAt(text);
    const std::uint32_t second = GroupAt(text + 4);
    if (first >= kNoGroup) return 0;
    Store(first, bytes);
    if (second >= kNoGroup) return 1;
    Store(second, bytes + 3);
    return 2;
  }

  static void DecodeRest(const char* end, Base64Decoded& state) { DecodeGroups(end, state); }

 private:
  static void EncodeGroup(const char* bytes, char* text) {
    const std::uint32_t group = ByteAt(bytes) << 16 | ByteAt(bytes + 1) << 8 | ByteAt(bytes + 2);
    std::memcpy(text, &kPairs[group >> 12], 2);
    std::memcpy(text + 2, &kPairs[group & 0xfff], 2);
  }

  static std::uint32_t GroupAt(const char* text) {
    return kShifted[0][ByteAt(text)] | kShifted[1][ByteAt(text + 1)] |
           kShifted[2][ByteAt(text + 2)] | kShifted[3][ByteAt(text + 3)];
  }

  static void Store(std::uint32_t group, char* bytes) {
    bytes[0] = static_cast<char>(group >> 16);
    bytes[1] = static_cast<char>(group >> 8);
    bytes[2] = static_cast<char>(group);
  }
};

char* Encode(const char* bytes, std::size_t groups, std::size_t groups_per_line, char* text) {
  return EncodeText<PlainBlock>(bytes, groups, groups_per_line, text);
}

Base64Decoded Decode(const char* text, const char* end, char* bytes) {
  return DecodeText<PlainBlock>(text, end, bytes);
}

}  // namespace

const Base64Kernel kPlainBase64Kernel = {"plain", Encode, Decode};

}  // namespace tesselkit::encoding
