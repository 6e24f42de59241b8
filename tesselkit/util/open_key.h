// A registry key that is closed at the end of a scope.
#pragma once

#include "tesselkit/platform/registry.h"

namespace tesselkit::util {

class OpenKey {
 public:
  OpenKey() = default;
  ~OpenKey() {
    if (m_key != nullptr) RegCloseKey(m_key);
  }
  OpenKey(const OpenKey&) = delete;
  OpenKey& operator=(const OpenKey&) = delete;

  operator HKEY() const { return m_key; }

  // Where an opening function puts its handle.
  PHKEY Place() { return &m_key; }

 private:
  HKEY m_key = nullptr;
};

}  // namespace tesselkit::util
