#include "tesselkit/platform/zeroed_memory.h"

#include <sys/mman.h>

#include <cstdint>
#include <cstring>
#include <limits>
#include <new>

#include "tesselkit/platform/allocator.h"

namespace tesselkit::platform {
namespace {

constexpr std::size_t kLargePage = std::size_t{2} << 20;
constexpr std::size_t kFirstMappedSize = std::size_t{512} << 10;
constexpr std::size_t kLargestSize = std::numeric_limits<std::ptrdiff_t>::max() - 2 * kLargePage;
constexpr std::align_val_t kHeapAlignment{ZeroedMemory::kAlignment};

std::size_t InLargePages(std::size_t size) {
  return (size + kLargePage - 1) / kLargePage * kLargePage;
}

void Unmap(char* from, const char* to) {
  if (from != to) munmap(from, static_cast<std::size_t>(to - from));
}

// Maps one large page more than is needed, and gives back what lies before and after.
char* MapAligned(std::size_t size) {
  const std::size_t mapped_size = size + kLargePage;
  void* mapped = mmap(nullptr, mapped_size, PROT_READ | PROT_WRITE,
                      MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
  if (mapped == MAP_FAILED) return nullptr;
  char* first = static_cast<char*>(mapped);
  char* block = first + (-reinterpret_cast<std::uintptr_t>(mapped) & (kLargePage - 1));
  Unmap(first, block);
  Unmap(block + size, first + mapped_size);
  return block;
}

void* MapZeroed(std::size_t size, ZeroedMemory::Use use) {
  const std::size_t rounded = InLargePages(size);
  char* block = MapAligned(rounded);
  if (block == nullptr) AfxThrowMemoryException();
  madvise(block, rounded, use == ZeroedMemory::Use::kDense ? MADV_HUGEPAGE : MADV_NOHUGEPAGE);
  return block;
}

}  // namespace

void* ZeroedMemory::Allocate(std::size_t size, Use use) {
  if (size > kLargestSize) AfxThrowMemoryException();
  if (size >= kFirstMappedSize) return MapZeroed(size, use);
  void* block = ::operator new(size, kHeapAlignment, std::nothrow);
  if (block == nullptr) AfxThrowMemoryException();
  return std::memset(block, 0, size);
}

void ZeroedMemory::Free(void* block, std::size_t size) noexcept {
  if (size < kFirstMappedSize) {
    ::operator delete(block, kHeapAlignment);
  } else if (block != nullptr) {
    munmap(block, InLargePages(size));
  }
}

}  // namespace tesselkit::platform
