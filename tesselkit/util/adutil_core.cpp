#include "tesselkit/util/adutil_core.h"

#include <charconv>
#include <cstring>
#include <limits>

#include "tesselkit/platform/mbstring.h"

int AdIsSameChar(const char* a, const char* b) {
  if (a == nullptr || b == nullptr) return a == b ? 1 : 0;
  if (*a != *b) return 0;
  const std::size_t length = _mbclen(a);
  return length == _mbclen(b) && std::memcmp(a, b, length) == 0 ? 1 : 0;
}

CString AdStr(long n) {
  char text[std::numeric_limits<long>::digits10 + 2];
  const char* end = std::to_chars(text, text + sizeof text, n).ptr;
  return CString(std::string_view(text, static_cast<std::size_t>(end - text)));
}
