#include "tesselkit/util/adutil_location.h"

#include <algorithm>
#include <string_view>

#include "tesselkit/platform/file.h"
#include "tesselkit/platform/file_attributes.h"
#include "tesselkit/platform/host.h"
#include "tesselkit/system/adenvironment.h"

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
  return file.Open(path, CFile::modeRead | CFile::shareDenyNone) != FALSE;
}

bool IsDirectory(const char* path) {
  const DWORD attributes = GetFileAttributesA(path);
  return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
}

// No host of this library lists product suites.
bool ProductSuiteLists(const char*) {
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
