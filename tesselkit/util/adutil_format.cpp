#include "tesselkit/util/adutil_format.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>

#include "tesselkit/failure/adresource.h"
#include "tesselkit/platform/mbstring.h"
#include "tesselkit/resources/message_ids.h"
#include "tesselkit/util/adutil_core.h"

using namespace tesselkit;

CString AdHex(const void* p) {
  char digits[2 * sizeof p];
  const auto address = reinterpret_cast<std::uintptr_t>(p);
  const char* end = std::to_chars(digits, digits + sizeof digits, address, 16).ptr;
  const int count = static_cast<int>(end - digits);
  return CString("0x") + CString('0', 8 - std::min(count, 8)) + CString(digits, count);
}

CString AdStrDbl(double x) {
  if (std::isnan(x)) return "nan";
  // A sign, all digits before the point, the point and six digits.
  char text[std::numeric_limits<double>::max_exponent10 + 10];
  const char* end = std::to_chars(text, text + sizeof text, x, std::chars_format::fixed, 6).ptr;
  return CString(text, static_cast<int>(end - text));
}

CString AdSqlStr(const char* s) {
  if (AdIsEmpty(s)) return "NULL";
  const std::size_t length = std::strlen(s);
  CString literal;
  literal.Preallocate(length + 2 + static_cast<std::size_t>(std::count(s, s + length, '\'')));
  literal += '\'';
  // No page has a character with a quote inside, and a lead byte before one stands alone: so the
  // quotes can be looked for byte by byte.
  const char* kept = s;
  while (const char* quote = std::strchr(kept, '\'')) {
    literal.Append({kept, static_cast<std::size_t>(quote + 1 - kept)});
    literal += '\'';
    kept = quote + 1;
  }
  literal += kept;
  literal += '\'';
  return literal;
}

CString AdQuotedStr(const char* s) {
  if (s == nullptr) return AdGetStringResource(message_id::kNullPointer);
  if (AdIsEmpty(s)) return AdGetStringResource(message_id::kEmptyString);
  return CString('"') + s + '"';
}
