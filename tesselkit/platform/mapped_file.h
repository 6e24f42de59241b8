// Which file a part of the process's memory comes from, as the host lists it.
#pragma once

#include <cstddef>
#include <cstdint>

namespace tesselkit::platform {

// Writes the absolute path of the file that is mapped from `start` on, terminated, to the `size`
// bytes at `path`. False, with `path` empty, when none begins there or there is no room. Takes no
// lock and does not use the allocator; may be called from any thread.
bool FindMappedFile(std::uintptr_t start, char* path, std::size_t size) noexcept;

}  // namespace tesselkit::platform
