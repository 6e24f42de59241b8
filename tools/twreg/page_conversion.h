// Registry files in another code page than the registry's.
#pragma once

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

// Brings the names and the data of the text types (REG_SZ, REG_EXPAND_SZ, REG_MULTI_SZ) from one
// code page into another. Throws Failure when bytes are no text of the first, the second lacks a
// character, or a name becomes too long for the registry.
RegistryFile Converted(RegistryFile file, int from, int to);

}  // namespace twreg
