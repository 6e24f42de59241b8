// What a registry file says: keys in their order, each to be made with these values, or deleted.
#pragma once

#include <vector>

#include "tools/twreg/key_path.h"
#include "tools/twreg/value_text.h"

namespace twreg {

struct FileValue {
  Value value;
  bool is_deleted = false;  // the type and the data say nothing then
  bool operator==(const FileValue&) const = default;
};

struct FileKey {
  KeyPath path;
  bool is_deleted = false;  // with everything below it; there are no values then
  std::vector<FileValue> values;
  bool operator==(const FileKey&) const = default;
};

using RegistryFile = std::vector<FileKey>;

}  // namespace twreg
