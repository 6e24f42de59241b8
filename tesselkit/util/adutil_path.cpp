#include "tesselkit/util/adutil_path.h"

#include "tesselkit/platform/code_page.h"
#include "tesselkit/system/adenvironment.h"

using namespace tesselkit::platform;

namespace {

// How much of the path its directory is, the separator included.
std::size_t DirectoryLength(std::string_view path) {
  const std::size_t separator = FindLastCharacter(path, AdEnvironment::Slash());
  return separator == std::string_view::npos ? 0 : separator + 1;
}

}  // namespace

CString AdBasename(const char* path) {
  const std::string_view whole = ViewOf(path);
  return CString(whole.substr(DirectoryLength(whole)));
}

CString AdDirname(const char* path) {
  const std::string_view whole = ViewOf(path);
  return CString(whole.substr(0, DirectoryLength(whole)));
}
