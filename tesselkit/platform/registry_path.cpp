#include "tesselkit/platform/registry_path.h"

#include <algorithm>

#include "tesselkit/platform/code_page.h"
#include "tesselkit/platform/status_codes.h"

namespace tesselkit::platform {

namespace {

constexpr std::size_t kLongestKeyName = 255;
constexpr int kMostLevels = 512;

std::string_view TakeFront(std::string_view& rest, std::size_t end) {
  const std::string_view front = rest.substr(0, end);
  rest.remove_prefix(std::min(front.size() + 1, rest.size()));
  return front;
}

}  // namespace

std::string FoldedName(std::string_view name) {
  std::string folded(name);
  MakeLowerCase(folded.data(), folded.size());
  return folded;
}

RegistryPath::RegistryPath(std::string_view path) {
  m_written.reserve(path.size());
  for (int levels = 0; !path.empty();) {
    const std::string_view name = TakeFront(path, FindText(path, "\\"));
    if (name.empty()) continue;
    if (name.size() > kLongestKeyName || ++levels > kMostLevels) m_status = ERROR_INVALID_PARAMETER;
    if (!m_written.empty()) m_written += '\0';
    m_written += name;
  }
  m_folded = FoldedName(m_written);
}

std::vector<HiveName> RegistryPath::Names() const {
  std::vector<HiveName> names;
  for (std::string_view written = m_written, folded = m_folded; !written.empty();) {
    const std::string_view name = TakeFront(written, written.find('\0'));
    names.push_back({name, TakeFront(folded, name.size())});
  }
  return names;
}

}  // namespace tesselkit::platform
