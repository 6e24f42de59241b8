// Texts of gigabytes that take up hardly any memory.
#pragma once

#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cstddef>
#include <cstring>

namespace test {

// `size` times 'a', a multiple of 64 KiB, and a terminator: the same pages again and again.
class HugeText {
 public:
  explicit HugeText(std::size_t size) : m_size(size) {
    m_text = Map(nullptr, m_size + 1, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1);
    const int pages = memfd_create("pages", 0);
    if (ftruncate(pages, kPages) != 0) return;
    void* const content = mmap(nullptr, kPages, PROT_WRITE, MAP_SHARED, pages, 0);
    std::memset(content, 'a', kPages);
    munmap(content, kPages);
    for (std::size_t at = 0; at < m_size; at += kPages) {
      Map(m_text + at, std::min(kPages, m_size - at), MAP_SHARED | MAP_FIXED, pages);
    }
    close(pages);
  }
  ~HugeText() { munmap(m_text, m_size + 1); }
  HugeText(const HugeText&) = delete;
  HugeText& operator=(const HugeText&) = delete;

  operator const char*() const { return m_text; }

 private:
  static constexpr std::size_t kPages = std::size_t{64} << 20;

  static char* Map(char* place, std::size_t size, int flags, int file) {
    return static_cast<char*>(mmap(place, size, PROT_READ, flags, file, 0));
  }

  std::size_t m_size;
  char* m_text;
};

}  // namespace test
