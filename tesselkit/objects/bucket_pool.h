// Room for the buckets of one table: places of one size, taken one by one, and given back one by
// one or all at once.
//
// Places come from blocks that double in size. The pool owns the blocks; what is made in the
// places is its user's to destroy. One thread at a time.
#pragma once

#include <algorithm>
#include <cstddef>
#include <utility>

#include "tesselkit/platform/export.h"

namespace tesselkit::objects {

// `Memory` is what hands out blocks: see ZeroedMemory.
template <class Bucket, class Memory>
class TESSELKIT_API BucketPool {
 public:
  BucketPool() = default;
  ~BucketPool() { FreeBlocks(); }
  BucketPool(const BucketPool&) = delete;
  BucketPool& operator=(const BucketPool&) = delete;

  // A place for one bucket, with anything in it. Throws what `Memory` throws; the pool is then as
  // it was.
  void* Take() {
    if (m_given_back != nullptr) return std::exchange(m_given_back, m_given_back->next);
    if (m_fresh == m_fresh_end) AddBlock();
    return std::exchange(m_fresh, m_fresh + sizeof(Bucket));
  }

  void GiveBack(void* place) noexcept { m_given_back = new (place) Link{m_given_back}; }

  void Swap(BucketPool& other) noexcept {
    std::swap(m_given_back, other.m_given_back);
    std::swap(m_fresh, other.m_fresh);
    std::swap(m_fresh_end, other.m_fresh_end);
    std::swap(m_blocks, other.m_blocks);
    std::swap(m_size, other.m_size);
  }

 private:
  struct Link {
    Link* next;
  };
  struct Block {
    Block* next;
    std::size_t size;
  };

  // Half a megabyte of buckets shows that more will come: from there on a block is whole large
  // pages.
  static constexpr std::size_t kFirstSize = 1024;
  static constexpr std::size_t kLastHeapTotal = std::size_t{512} << 10;
  static constexpr std::size_t kLargePage = std::size_t{2} << 20;
  static constexpr std::size_t kLargestSize = std::size_t{16} << 20;

  // The head of a block takes whole places, so that no bucket of half a cache line lies across two.
  static constexpr std::size_t kHeadSize =
      (sizeof(Block) + sizeof(Bucket) - 1) / sizeof(Bucket) * sizeof(Bucket);

  static_assert(sizeof(Bucket) >= sizeof(Link) && sizeof(Bucket) <= kFirstSize / 4);
  static_assert(alignof(Bucket) <= Memory::kAlignment);

  std::size_t NextSize() const {
    if (m_size < kLastHeapTotal) return std::max(m_size, kFirstSize);
    return std::clamp(m_size / kLargePage * kLargePage, kLargePage, kLargestSize);
  }

  void AddBlock() {
    const std::size_t size = NextSize();
    char* memory = static_cast<char*>(Memory::Allocate(size));
    m_blocks = new (memory) Block{m_blocks, size};
    m_fresh = memory + kHeadSize;
    m_fresh_end = m_fresh + (size - kHeadSize) / sizeof(Bucket) * sizeof(Bucket);
    m_size += size;
  }

  void FreeBlocks() noexcept {
    while (m_blocks != nullptr) {
      Block* block = std::exchange(m_blocks, m_blocks->next);
      Memory::Free(block, block->size);
    }
  }

  Link* m_given_back = nullptr;
  char* m_fresh = nullptr;
  char* m_fresh_end = nullptr;
  Block* m_blocks = nullptr;
  std::size_t m_size = 0;  // of all blocks
};

}  // namespace tesselkit::objects
