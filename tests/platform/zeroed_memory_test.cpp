#include "tesselkit/platform/zeroed_memory.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstring>

#include "tesselkit/platform/exceptions.h"

namespace {

using tesselkit::platform::ZeroedMemory;

TEST(ZeroedMemory, IsZeroedAndAlignedInEverySize) {
  constexpr std::size_t kMiB = std::size_t{1} << 20;
  const std::size_t kSizes[] = {1, 1000, kMiB / 2 - 1, kMiB / 2, kMiB, 2 * kMiB + 1, 5 * kMiB - 3};
  for (const std::size_t size : kSizes) {
    for (const auto use : {ZeroedMemory::Use::kDense, ZeroedMemory::Use::kSparse}) {
      // Twice, so that memory that was used before may come again.
      for (int round = 0; round < 2; ++round) {
        auto* block = static_cast<unsigned char*>(ZeroedMemory::Allocate(size, use));
        EXPECT_EQ(reinterpret_cast<std::uintptr_t>(block) % ZeroedMemory::kAlignment, 0U) << size;
        EXPECT_TRUE(std::all_of(block, block + size, [](unsigned char c) { return c == 0; }))
            << size;
        std::memset(block, 0xFF, size);
        ZeroedMemory::Free(block, size);
      }
    }
  }
  ZeroedMemory::Free(nullptr, 1);
  ZeroedMemory::Free(nullptr, kMiB);
}

TEST(ZeroedMemory, RefusesWhatCannotBeThere) {
  for (const std::size_t size : {std::size_t{1} << 60, ~std::size_t{0}}) {
    try {
      ZeroedMemory::Allocate(size);
      ADD_FAILURE() << size;
    } catch (CMemoryException* exception) {
      exception->Delete();
    }
  }
}

}  // namespace
