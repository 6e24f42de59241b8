#include "tesselkit/util/adutil_location.h"

#include <algorithm>
#include <memory>
#include <string_view>

#include "tesselkit/platform/file.h"
#include "tesselkit/platform/file_attributes.h"
#include "tesselkit/platform/host.h"
#include "tesselkit/platform/local_memory.h"
#include "tesselkit/system/adenvironment.h"
#include "tesselkit/util/open_key.h"

namespace {

// The semicolon is no trail byte in any of the code pages.
CString Locate(const char* directories, const char* name, bool (*is_there)(const char* path)) {
  std::string_view rest = directories != nullptr ? directories : "";
  for (;;) {
    const std::string_view element = rest.substr(0, rest.find(AdEnvironment::Colon()));
    if (element.empty()) return {};
    CString candidate = CString(element) + AdEnvironment::Slash_String() + name;
    if (is_there(candidate)) return candidate;
    rest.remove_prefix(std::min(element.size() + 1, rest.size()));
  }
}

// Others may have the file open meanwhile: a look is no reason to be in anybody's way.
bool IsReadableFile(const char* path) {
  CFile file;
  return !tesselkit::platform::IsPipe(path) &&
         file.Open(path, CFile::modeRead | CFile::shareDenyNone) != FALSE;
}

bool IsDirectory(const char* path) {
  const DWORD attributes = GetFileAttributesA(path);
  return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
}

using LocalMemory = std::unique_ptr<char, decltype(&LocalFree)>;

// The list's texts, its closing NULs included; empty when there is none.
std::string_view ReadProductSuite(LocalMemory& memory) {
  constexpr char kName[] = "ProductSuite";
  tesselkit::util::OpenKey key;
  DWORD size = 0;
  if (RegOpenKeyA(HKEY_LOCAL_MACHINE, "System\\CurrentControlSet\\Control\\ProductOptions",
                  key.Place()) != ERROR_SUCCESS ||
      RegQueryValueExA(key, kName, nullptr, nullptr, nullptr, &size) != ERROR_SUCCESS ||
      size == 0) {
    return {};
  }
  memory.reset(static_cast<char*>(LocalAlloc(LPTR, size)));
  DWORD type = REG_NONE;
  if (memory == nullptr ||
      RegQueryValueExA(key, kName, nullptr, &type, reinterpret_cast<LPBYTE>(memory.get()), &size) !=
          ERROR_SUCCESS ||
      type != REG_MULTI_SZ) {
    return {};
  }
  return {memory.get(), size};
}

bool ProductSuiteLists(std::string_view wanted) {
  LocalMemory memory(nullptr, &LocalFree);
  std::string_view rest = ReadProductSuite(memory);
  while (!rest.empty() && rest.front() != '\0') {
    const std::string_view text = rest.substr(0, rest.find('\0'));
    if (text == wanted) return true;
    rest.remove_prefix(std::min(text.size() + 1, rest.size()));
  }
  return false;
}

}  // namespace

CString AdLocateFile(const char* directories, const char* fileName) {
  return Locate(directories, fileName, IsReadableFile);
}

CString AdLocateDir(const char* directories, const char* dirName) {
  return Locate(directories, dirName, IsDirectory);
}

int AdIsTerminalServicesEnabled() {
  constexpr DWORD kOutsideNtFamily = 0x80000000;
  constexpr DWORD kLastMajorVersion = 4;
  const DWORD version = GetVersion();
  if ((version & kOutsideNtFamily) != 0 || (version & 0xFF) > kLastMajorVersion) return 0;
  return ProductSuiteLists("Terminal Server") ? 1 : 0;
}

void AdGetCurrentTime(long& seconds, long& milliseconds) {
  _timeb now;
  _ftime(&now);
  seconds = static_cast<long>(now.time);
  milliseconds = now.millitm;
}
