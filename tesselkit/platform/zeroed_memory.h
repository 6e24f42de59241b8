// Zeroed memory in large blocks: arrays that start empty, and the blocks of pools.
//
// Small blocks come from the heap. Blocks of half a megabyte and more are mappings of their own,
// aligned to the host's large pages and backed by them as they are touched: a first touch then
// costs a fraction of what small pages cost, and so do address translations later. What is never
// touched takes no memory, however large the block. Safe to use from any thread.
#pragma once

#include <cstddef>

#include "tesselkit/platform/export.h"

namespace tesselkit::platform {

struct TESSELKIT_API ZeroedMemory {
  // How the block will be used. A sparse one, of which only scattered places will be touched, is
  // backed by small pages.
  enum class Use { kDense, kSparse };

  // What every block's address is a multiple of.
  static constexpr std::size_t kAlignment = 64;

  // A block of `size` bytes, all 0, that the caller gives back with Free and the same size.
  // Throws CMemoryException* when there is no room for it.
  static void* Allocate(std::size_t size, Use use = Use::kDense);

  // Null is left alone.
  static void Free(void* block, std::size_t size) noexcept;
};

}  // namespace tesselkit::platform
