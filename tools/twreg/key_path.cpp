#include "tools/twreg/key_path.h"

#include <algorithm>

#include "tesselkit/platform/code_page.h"

namespace twreg {

namespace {

constexpr char kSeparator = '\\';

struct Root {
  HKEY key;
  std::string_view name;
  std::string_view short_name;
};

const Root kRoots[] = {
    {HKEY_CLASSES_ROOT, "HKEY_CLASSES_ROOT", "HKCR"},
    {HKEY_CURRENT_USER, "HKEY_CURRENT_USER", "HKCU"},
    {HKEY_LOCAL_MACHINE, "HKEY_LOCAL_MACHINE", "HKLM"},
    {HKEY_USERS, "HKEY_USERS", "HKU"},
    {HKEY_CURRENT_CONFIG, "HKEY_CURRENT_CONFIG", "HKCC"},
    {HKEY_PERFORMANCE_DATA, "HKEY_PERFORMANCE_DATA", "HKPD"},
    {HKEY_DYN_DATA, "HKEY_DYN_DATA", "HKDD"},
};

bool IsNamed(const Root& root, std::string_view name) {
  using tesselkit::platform::CompareTextNoCase;
  return CompareTextNoCase(root.name, name) == 0 || CompareTextNoCase(root.short_name, name) == 0;
}

std::string_view TakeName(std::string_view& rest) {
  const std::size_t end = tesselkit::platform::FindText(rest, "\\");
  const std::string_view name = rest.substr(0, end);
  rest.remove_prefix(std::min(rest.size(), name.size() + 1));
  return name;
}

}  // namespace

std::string KeyPath::Name() const {
  std::string name(std::ranges::find(kRoots, root, &Root::key)->name);
  return below.empty() ? name : name + kSeparator + below;
}

KeyPath KeyPath::Child(std::string_view name) const {
  KeyPath child = *this;
  if (!below.empty()) child.below += kSeparator;
  child.below += name;
  return child;
}

std::optional<KeyPath> ParseKeyPath(std::string_view text) {
  const std::string_view name = TakeName(text);
  const auto* root =
      std::ranges::find_if(kRoots, [&](const Root& known) { return IsNamed(known, name); });
  if (root == std::end(kRoots)) return std::nullopt;
  KeyPath path{root->key, {}};
  path.below.reserve(text.size());
  while (!text.empty()) {
    const std::string_view below = TakeName(text);
    if (below.empty()) continue;
    if (!path.below.empty()) path.below += kSeparator;
    path.below += below;
  }
  return path;
}

bool IsWithinLimits(const KeyPath& path) {
  int levels = 0;
  for (std::string_view rest = path.below; !rest.empty();) {
    if (TakeName(rest).size() > kLongestKeyName || ++levels > kMostLevels) return false;
  }
  return true;
}

}  // namespace twreg
