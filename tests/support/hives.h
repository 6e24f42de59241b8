// The registry over hives of a test's own.
#pragma once

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>
#include <string_view>

#include "tesselkit/platform/hive.h"
#include "tesselkit/platform/registry.h"
#include "tests/support/files.h"

namespace test {

// Hives in a directory that is there for the length of a scope; they are made by the first write.
class Hives {
 public:
  Hives() {
    setenv("TESSELKIT_REGISTRY_USER", User().c_str(), 1);
    setenv("TESSELKIT_REGISTRY_MACHINE", Machine().c_str(), 1);
    tesselkit::platform::ForgetHives();
  }
  ~Hives() { tesselkit::platform::ForgetHives(); }
  Hives(const Hives&) = delete;
  Hives& operator=(const Hives&) = delete;

  std::string Directory() const { return m_directory.Path(); }
  std::string User() const { return m_directory / "home/user.hive"; }
  std::string Machine() const { return m_directory / "var/machine.hive"; }

 private:
  TempDirectory m_directory;
};

// A key that is open for the length of a scope.
class Key {
 public:
  explicit Key(const char* path, HKEY root = HKEY_CURRENT_USER, REGSAM access = KEY_ALL_ACCESS) {
    const bool makes = (access & KEY_CREATE_SUB_KEY) != 0;
    m_status = makes ? RegCreateKeyExA(root, path, 0, "", 0, access, nullptr, &m_key, nullptr)
                     : RegOpenKeyExA(root, path, 0, access, &m_key);
  }
  ~Key() { RegCloseKey(m_key); }
  Key(const Key&) = delete;
  Key& operator=(const Key&) = delete;

  operator HKEY() const { return m_key; }
  LONG Status() const { return m_status; }

 private:
  HKEY m_key = nullptr;
  LONG m_status;
};

inline LONG SetData(HKEY key, const char* name, std::string_view data, DWORD type = REG_BINARY) {
  return RegSetValueExA(key, name, 0, type, reinterpret_cast<const BYTE*>(data.data()),
                        static_cast<DWORD>(data.size()));
}

inline std::string Shown(LONG status) {
  return std::string("(").append(std::to_string(status)).append(")");
}

// The value's data, or "(status)".
inline std::string Data(HKEY key, const char* name) {
  DWORD size = 0;
  LONG status = RegQueryValueExA(key, name, nullptr, nullptr, nullptr, &size);
  std::string data(size, '\0');
  if (status == ERROR_SUCCESS) {
    status =
        RegQueryValueExA(key, name, nullptr, nullptr, reinterpret_cast<BYTE*>(data.data()), &size);
  }
  return status == ERROR_SUCCESS ? data : Shown(status);
}

// What is wrong with the hive of `root`; empty when nothing is.
inline std::string Damage(HKEY root = HKEY_CURRENT_USER) {
  std::string report;
  const LONG status = tesselkit::platform::CheckHive(root, report);
  return status == ERROR_SUCCESS ? report : Shown(status) + report;
}

}  // namespace test
