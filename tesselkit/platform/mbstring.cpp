#include "tesselkit/platform/mbstring.h"

#include <cstring>

#include "tesselkit/platform/code_page.h"

using namespace tesselkit::platform;

int _setmbcp(int code_page) noexcept {
  const bool of_environment = code_page <= _MB_CP_OEM && code_page >= _MB_CP_LOCALE;
  const bool known = of_environment ? SetCodePageOfEnvironment() : SetCodePage(code_page);
  return known ? 0 : -1;
}

int _getmbcp() noexcept {
  return CodePageNumber();
}

int _ismbblead(unsigned byte) noexcept {
  return IsLeadByte(static_cast<unsigned char>(byte)) ? 1 : 0;
}

int _mbscmp(const char* a, const char* b) noexcept {
  return CompareText(a, b);
}

int _mbsicmp(const char* a, const char* b) noexcept {
  return CompareTextNoCase(a, b);
}

int _mbscoll(const char* a, const char* b) noexcept {
  return std::strcoll(a, b);
}
