// The registry's engine: one SQLite database a hive, with a write-ahead log.
#pragma once

#include <memory>
#include <string>

#include "tesselkit/platform/export.h"
#include "tesselkit/platform/hive_store.h"

namespace tesselkit::platform {

// kReadAlone reads a hive whose log is not there and cannot be made; it must not be written to by
// anybody meanwhile.
enum class HiveAccess { kWrite, kRead, kReadAlone };

// Opens an existing hive.
TESSELKIT_API LONG OpenSqliteHive(const std::string& file_name, HiveAccess access,
                                  std::unique_ptr<HiveStore>& store);

}  // namespace tesselkit::platform
