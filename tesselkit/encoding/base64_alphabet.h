// The alphabet of Base64 and its inverse.
#pragma once

#include <array>

namespace tesselkit::encoding {

inline constexpr char kBase64Alphabet[64 + 1] =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

inline constexpr unsigned char kNoBase64Value = 255;

// For each byte its index in the alphabet, or kNoBase64Value.
inline constexpr auto kBase64Values = [] {
  std::array<unsigned char, 256> values{};
  values.fill(kNoBase64Value);
  for (unsigned char value = 0; value < 64; ++value) {
    values[static_cast<unsigned char>(kBase64Alphabet[value])] = value;
  }
  return values;
}();

}  // namespace tesselkit::encoding
