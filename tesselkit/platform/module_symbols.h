// Which module an address lies in, where in it, and which of its symbols.
//
// Made for reports of faults: nothing here takes a lock or uses the allocator, and what it reads
// of a module's file is read once. A module's symbols stay in memory for the life of the process.
// An address may be any number. All functions may be called from any thread.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "tesselkit/platform/export.h"

namespace tesselkit::platform {

class ModuleRecord;

// The module and where it is loaded.
struct LoadedModule {
  const ModuleRecord* record = nullptr;
  std::uintptr_t base = 0;  // what its own addresses are counted from
  explicit operator bool() const noexcept { return record != nullptr; }
};

TESSELKIT_API LoadedModule FindModule(std::uintptr_t address) noexcept;

// The path of its file, as long as the module's record lives. Empty for what is not a file.
TESSELKIT_API std::string_view ModulePath(const LoadedModule& module) noexcept;

struct LogicalAddress {
  unsigned section = 0;  // the number of the loadable segment, counted from 1
  std::uintptr_t offset = 0;
};

// Where `address` lies in the module; false when it is in none of its segments.
TESSELKIT_API bool FindLogicalAddress(const LoadedModule& module, std::uintptr_t address,
                                      LogicalAddress& result) noexcept;

struct NearSymbol {
  std::string_view name;  // as the linker knows it
  std::uintptr_t displacement = 0;
};

// The symbol that covers `address`, or else the nearest before it of those without a size.
TESSELKIT_API bool FindSymbol(const LoadedModule& module, std::uintptr_t address,
                              NearSymbol& result) noexcept;

}  // namespace tesselkit::platform
