#include "tesselkit/platform/host_path.h"

#include <unistd.h>

#include <climits>

#include "tesselkit/platform/code_page.h"

namespace tesselkit::platform {
namespace {

bool IsSeparator(char c) noexcept {
  return c == '\\' || c == '/';
}

}  // namespace

CString HostPath(const char* name) {
  CString path(name);
  path.Replace('\\', '/');
  return path;
}

CString FullPath(const char* name) {
  CString path(name);
  if (path.IsEmpty() || IsSeparator(path[0])) return path;
  char directory[PATH_MAX];
  if (getcwd(directory, sizeof directory) == nullptr) return path;
  CString full(directory);
  if (full != "/") full += '/';
  return full + path;
}

std::string_view LastComponent(std::string_view path) noexcept {
  const char* const end = path.data() + path.size();
  const char* component = path.data();
  for (const char* c = component; c != end;) {
    const std::size_t length = CharacterLength(c, end);
    if (IsSeparator(*c)) component = c + length;
    c += length;
  }
  return {component, static_cast<std::size_t>(end - component)};
}

}  // namespace tesselkit::platform
