// Key paths and names as the store takes them: checked, in components, folded.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "tesselkit/platform/hive_store.h"
#include "tesselkit/platform/types.h"

namespace tesselkit::platform {

// A name as it is compared.
std::string FoldedName(std::string_view name);

// Keeps views of the text it was made from.
class RegistryPath {
 public:
  // Empty components are skipped; the backslash is found by characters.
  explicit RegistryPath(std::string_view path);

  // ERROR_INVALID_PARAMETER when a component is too long, or there are too many of them.
  LONG Status() const { return m_status; }

  // The folded components, a NUL between each two.
  std::string_view Folded() const { return m_folded; }

  // The components. They live as long as this object.
  std::vector<HiveName> Names() const;

 private:
  LONG m_status = 0;
  std::string m_folded;
  std::string m_written;
};

}  // namespace tesselkit::platform
