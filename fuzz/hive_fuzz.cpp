// The registry over a damaged hive.
//
// The input is a list of changes to the bytes of a good one, three bytes each: the place, low byte
// first, and what is put over the byte there. A damaged hive may be refused at any step, or answer
// wrongly; nothing may crash, hang, or write to what is no hive.
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include "tesselkit/platform/hive.h"
#include "tesselkit/platform/registry.h"

namespace {

void Require(bool condition) {
  if (!condition) std::abort();
}

std::string BytesOf(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

LONG SetText(HKEY key, const char* name, const std::string& text) {
  return RegSetValueExA(key, name, 0, REG_SZ, reinterpret_cast<const BYTE*>(text.data()),
                        static_cast<DWORD>(text.size()));
}

// A hive in memory, and the bytes that it has when it is good.
class DamagedHive {
 public:
  DamagedHive() {
    std::string directory = "/dev/shm/tesselkit.XXXXXX";
    Require(mkdtemp(directory.data()) != nullptr);
    m_path = directory + "/user.hive";
    setenv("TESSELKIT_REGISTRY_USER", m_path.c_str(), 1);
    HKEY key = nullptr;
    for (const char* path : {"a\\b\\c", "a\\d", "e"}) {
      Require(RegCreateKeyA(HKEY_CURRENT_USER, path, &key) == ERROR_SUCCESS);
      Require(SetText(key, "v", "text") == ERROR_SUCCESS);
      Require(SetText(key, "long", std::string(6000, 'x')) == ERROR_SUCCESS);
      RegCloseKey(key);
    }
    tesselkit::platform::ForgetHives();
    m_good = BytesOf(m_path);
  }
  ~DamagedHive() { std::filesystem::remove_all(std::filesystem::path(m_path).parent_path()); }

  void Damage(const std::uint8_t* changes, std::size_t size) {
    std::string bytes = m_good;
    for (; size >= 3; changes += 3, size -= 3) {
      bytes[(changes[0] | changes[1] << 8) % bytes.size()] ^= static_cast<char>(changes[2]);
    }
    tesselkit::platform::ForgetHives();
    for (const char* suffix : {"-wal", "-shm"}) std::filesystem::remove(m_path + suffix);
    std::ofstream(m_path, std::ios::binary) << bytes;
    m_bytes = bytes;
  }

  bool IsAsItWas() const { return BytesOf(m_path) == m_bytes; }

 private:
  std::string m_path;
  std::string m_good;
  std::string m_bytes;
};

// As far down and along as a good hive goes, and a little farther.
void ReadAll(HKEY key, int levels) {
  char name[300];
  char data[7000];
  for (DWORD i = 0; i < 5; ++i) {
    DWORD name_size = sizeof name;
    DWORD size = sizeof data;
    RegEnumValueA(key, i, name, &name_size, nullptr, nullptr, reinterpret_cast<BYTE*>(data), &size);
    RegQueryValueExA(key, name, nullptr, nullptr, nullptr, &size);
    name_size = sizeof name;
    if (RegEnumKeyExA(key, i, name, &name_size, nullptr, nullptr, nullptr, nullptr) != 0) continue;
    HKEY below = nullptr;
    if (levels > 0 && RegOpenKeyA(key, name, &below) == ERROR_SUCCESS) ReadAll(below, levels - 1);
    RegCloseKey(below);
  }
  DWORD longest = 0;
  RegQueryInfoKeyA(key, nullptr, nullptr, nullptr, &longest, &longest, &longest, &longest, &longest,
                   &longest, nullptr, nullptr);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static DamagedHive hive;
  hive.Damage(data, size);
  HKEY key = nullptr;
  const LONG status = RegOpenKeyA(HKEY_CURRENT_USER, "a", &key);
  ReadAll(HKEY_CURRENT_USER, 4);
  std::string report;
  tesselkit::platform::CheckHive(HKEY_CURRENT_USER, report);
  if (status == ERROR_BADDB && SetText(HKEY_CURRENT_USER, "w", "") == ERROR_BADDB) {
    tesselkit::platform::ForgetHives();
    Require(hive.IsAsItWas());
    return 0;
  }
  SetText(key, "v", "longer text");
  RegCloseKey(key);
  tesselkit::platform::DeleteSubkeys(HKEY_CURRENT_USER);
  return 0;
}
