#include "tesselkit/platform/file_attributes.h"

#include <sys/stat.h>

#include "tesselkit/platform/host_path.h"

using tesselkit::platform::HostPath;

DWORD GetFileAttributesA(const char* name) {
  struct stat status;
  if (stat(HostPath(name), &status) != 0) return INVALID_FILE_ATTRIBUTES;
  constexpr mode_t kAnyWriter = S_IWUSR | S_IWGRP | S_IWOTH;
  DWORD attributes = S_ISDIR(status.st_mode) ? FILE_ATTRIBUTE_DIRECTORY : 0;
  if ((status.st_mode & kAnyWriter) == 0) attributes |= FILE_ATTRIBUTE_READONLY;
  return attributes != 0 ? attributes : FILE_ATTRIBUTE_NORMAL;
}

bool tesselkit::platform::IsPipe(const char* name) {
  struct stat status;
  return stat(HostPath(name), &status) == 0 && S_ISFIFO(status.st_mode);
}
