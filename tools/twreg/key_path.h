// Keys as people write them: a predefined key, a backslash, the names below it.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

#include "tesselkit/platform/registry.h"

namespace twreg {

// A key by its names. Equal to another when it is written the same; the registry itself compares
// without case.
struct KeyPath {
  HKEY root = nullptr;
  std::string below;  // the names with a backslash between each two; empty for the predefined key

  // "HKEY_CURRENT_USER\Software\...", whatever name of the predefined key it was written with.
  std::string Name() const;

  // The path of the subkey `name`.
  KeyPath Child(std::string_view name) const;

  bool operator==(const KeyPath&) const = default;
};

// Reads "HKCU\Software" or "HKEY_CURRENT_USER\Software": the predefined key in any case,
// backslashes found by characters, empty names left out. Nothing when it begins with no predefined
// key.
std::optional<KeyPath> ParseKeyPath(std::string_view text);

// The registry's limits: names in bytes, the levels below a predefined key.
constexpr std::size_t kLongestKeyName = 255;
constexpr std::size_t kLongestValueName = 16383;
constexpr int kMostLevels = 512;

// Whether the registry takes names of that length and that many of them.
bool IsWithinLimits(const KeyPath& path);

}  // namespace twreg
