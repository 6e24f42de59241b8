// Finding bytes in a text, 64 of them at a step.
//
// A ByteScan goes by bytes, not by characters: who uses it on a text of a code page with longer
// characters either looks for bytes that no longer character contains, or checks what it finds.
#pragma once

#include <array>
#include <bit>
#include <bitset>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>

namespace tesselkit::platform {

inline constexpr std::size_t kScanBlock = 64;

// Which of the 64 bytes at `block` are `byte`: bit 0 stands for the first.
inline std::uint64_t BytesEqualTo(const char* block, char byte) noexcept {
  std::uint64_t found = 0;
#if defined(__SSE2__)
  using Part [[gnu::vector_size(16)]] = char;
  for (unsigned shift = 0; shift < kScanBlock; shift += sizeof(Part)) {
    Part part;
    std::memcpy(&part, block + shift, sizeof part);
    const auto bits = static_cast<unsigned>(__builtin_ia32_pmovmskb128((Part)(part == byte)));
    found |= std::uint64_t{bits} << shift;
  }
#else
  for (std::size_t i = 0; i < kScanBlock; ++i) {
    found |= std::uint64_t{block[i] == byte} << i;
  }
#endif
  return found;
}

// A set of bytes; the NUL is never in it.
class ByteSet {
 public:
  void Add(char byte) noexcept {
    const auto number = static_cast<unsigned char>(byte);
    if (byte == '\0' || m_bytes.test(number)) return;
    m_bytes.set(number);
    if (m_count < m_few.size()) m_few[m_count] = byte;
    ++m_count;
  }
  bool IsEmpty() const noexcept { return m_count == 0; }

  // Which of the 64 bytes at `block` are in the set.
  std::uint64_t Among(const char* block) const noexcept {
    std::uint64_t found = 0;
    if (m_count <= m_few.size()) {
      for (std::size_t i = 0; i < m_count; ++i) found |= BytesEqualTo(block, m_few[i]);
      return found;
    }
    for (std::size_t i = 0; i < kScanBlock; ++i) {
      found |= std::uint64_t{m_bytes.test(static_cast<unsigned char>(block[i]))} << i;
    }
    return found;
  }

 private:
  std::bitset<256> m_bytes;
  std::array<char, 4> m_few{};
  std::size_t m_count = 0;
};

// Where the bytes of a set stand in a text, from its front on.
class ByteScan {
 public:
  ByteScan(std::string_view text, const ByteSet& bytes) noexcept : m_text(text), m_bytes(bytes) {}

  // The next place; false, with `at` untouched, when there is none.
  bool Next(std::size_t& at) noexcept {
    while (m_found == 0) {
      if (m_next >= m_text.size() || m_bytes.IsEmpty()) return false;
      m_found = FoundIn(m_next);
      m_block = m_next;
      m_next += kScanBlock;
    }
    at = m_block + static_cast<std::size_t>(std::countr_zero(m_found));
    m_found &= m_found - 1;
    return true;
  }

  // How many there are in the whole text.
  std::size_t Count() const noexcept {
    std::size_t count = 0;
    if (m_bytes.IsEmpty()) return count;
    for (std::size_t block = 0; block < m_text.size(); block += kScanBlock) {
      count += static_cast<std::size_t>(std::popcount(FoundIn(block)));
    }
    return count;
  }

 private:
  std::uint64_t FoundIn(std::size_t block) const noexcept {
    const std::size_t left = m_text.size() - block;
    if (left >= kScanBlock) return m_bytes.Among(m_text.data() + block);
    char last[kScanBlock] = {};
    std::memcpy(last, m_text.data() + block, left);
    return m_bytes.Among(last);
  }

  std::string_view m_text;
  ByteSet m_bytes;
  std::uint64_t m_found = 0;  // what of the current block has not been handed out
  std::size_t m_block = 0;
  std::size_t m_next = 0;
};

}  // namespace tesselkit::platform
