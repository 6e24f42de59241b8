// Hive files: where they are, whether a file is one, and how a new one comes to be.
#pragma once

#include <string>

#include "tesselkit/platform/types.h"

namespace tesselkit::platform {

// Who the hive is for decides where it is and who may read it.
enum class HiveKind : int { kUser, kMachine };

// As the environment says now, whole and free of links; empty when it names no place.
std::string HiveFileName(HiveKind kind);

struct HiveFileState {
  LONG status = 0;           // ERROR_FILE_NOT_FOUND: there is none; ERROR_BADDB: it is no hive
  bool is_writable = false;  // by this process
};

// Looks whether the file is a hive. Writes nothing.
HiveFileState InspectHiveFile(const std::string& file_name);

// Makes a hive without keys and the directories above it. The file appears whole or not at all;
// one that is there already stays, which is a success.
LONG CreateHiveFile(const std::string& file_name, HiveKind kind);

}  // namespace tesselkit::platform
