#include "tesselkit/encoding/adcrypt.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <iterator>

#include "tesselkit/encoding/adcrypt_tables.h"
#include "tesselkit/encoding/scrambling.h"
#include "tesselkit/failure/condition.h"
#include "tesselkit/platform/text_buffer.h"
#include "tesselkit/util/adutil_core.h"

namespace {

namespace encoding = tesselkit::encoding;
using tesselkit::platform::BufferOf;

constexpr char kSourceName[] = "adcrypt";

constexpr std::size_t kWords = std::size(encoding::kDigestWords);

// The first 255 words stand once more behind the last, so that a byte added to any position below
// 2048 needs no modulo.
constexpr auto kLongTable = [] {
  std::array<std::uint32_t, kWords + 255> table{};
  for (std::size_t i = 0; i < table.size(); ++i) table[i] = encoding::kDigestWords[i % kWords];
  return table;
}();

// The sum of the words of `length` bytes, the first of which stands at the position of `table`.
std::uint32_t SumOfWords(const std::uint32_t* table, const unsigned char* bytes,
                         std::size_t length) {
  std::uint32_t a = 0, b = 0, c = 0, d = 0;
  for (; length >= 8; length -= 8, table += 8, bytes += 8) {
    a += table[bytes[0]] + table[4 + bytes[4]];
    b += table[1 + bytes[1]] + table[5 + bytes[5]];
    c += table[2 + bytes[2]] + table[6 + bytes[6]];
    d += table[3 + bytes[3]] + table[7 + bytes[7]];
  }
  for (; length > 0; --length) a += table++ [*bytes++];
  return a + b + c + d;
}

bool IsScrambled(const char* text, std::size_t length) {
  return length > 0 && length % 2 == 0 && encoding::AreDigits(text, length);
}

}  // namespace

unsigned long AdEncodeChars(const char* data, long length) {
  const std::size_t size = length > 0 ? static_cast<std::size_t>(length) : 0;
  const auto* bytes = reinterpret_cast<const unsigned char*>(data);
  std::uint32_t sum = 0;
  for (std::size_t at = 0; at < size; at += kWords) {
    sum += SumOfWords(kLongTable.data(), bytes + at, std::min(kWords, size - at));
  }
  sum += encoding::kDigestWords[size % kWords];
  return sum;
}

CString AdEncryptPassword(const char* username, const char* password) {
  AD_CHECK(AdIsNonEmpty(username));
  const CString joined = CString(username) + password;
  CString digest;
  digest.Format("%08lx", AdEncodeChars(joined, static_cast<long>(joined.View().size())));
  return digest;
}

int AdIsReversiblyEncryptedString(const char* text) {
  return text != nullptr && IsScrambled(text, std::strlen(text)) ? 1 : 0;
}

CString AdEncryptStringReversibly(const char* the_string) {
  AD_CHECK(AdIsNonEmpty(the_string));
  const std::size_t size = std::strlen(the_string) + 1;
  CString digits;
  encoding::Scramble(the_string, size, BufferOf(digits, 2 * size));
  return digits;
}

CString AdDecryptString(const char* reversible_str) {
  AD_CHECK(AdIsNonEmpty(reversible_str));
  const std::size_t digits = std::strlen(reversible_str);
  if (!IsScrambled(reversible_str, digits)) AD_CHECK(AdIsReversiblyEncryptedString(reversible_str));
  const std::size_t size = digits / 2;
  CString text;
  // As a rule the last byte is the only NUL.
  const bool has_end = encoding::UnscrambledAt(reversible_str, size - 1) == '\0';
  const std::size_t length = has_end ? size - 1 : size;
  if (encoding::Unscramble(reversible_str, length, BufferOf(text, length))) {
    text.ReleaseBuffer();
  }
  return text;
}
