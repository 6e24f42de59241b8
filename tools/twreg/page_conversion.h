// Texts and registry files in another code page than the registry's.
#pragma once

#include <string>

#include "tesselkit/platform/cstring.h"
#include "tools/twreg/registry_file.h"

namespace twreg {

// Makes another code page the process's for the length of a scope. Throws UsageError when there is
// no such page.
class PageScope {
 public:
  explicit PageScope(int page);
  ~PageScope();
  PageScope(const PageScope&) = delete;
  PageScope& operator=(const PageScope&) = delete;

 private:
  int m_before;
};

// What stands in UTF-16 for bytes that are no text.
constexpr char16_t kUnreadable = u'\uFFFD';

// The text of that page in UTF-16, and the other way round; what the page has no character for
// becomes "?". Throw UsageError when there is no such page.
std::u16string WideOf(const CString& text, int page);
CString NarrowOf(const std::u16string& text, int page);

// Brings the names and the data of the text types (REG_SZ, REG_EXPAND_SZ, REG_MULTI_SZ) from one
// code page into another. Throws Failure when bytes are no text of the first, the second lacks a
// character, or a name becomes too long for the registry.
RegistryFile Converted(RegistryFile file, int from, int to);

}  // namespace twreg
