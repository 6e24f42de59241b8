// Every place where one text stands in another.
#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>

#include "tesselkit/platform/byte_scan.h"
#include "tesselkit/platform/code_page.h"

namespace tesselkit::platform {

// Keeps views of both texts. `wanted` must not be empty. Candidates are places where its first and
// its last byte fit, found 64 at a step.
class TextScan {
 public:
  TextScan(std::string_view text, std::string_view wanted) noexcept
      : m_text(text),
        m_wanted(wanted),
        m_check_begin(!StandsAlone(wanted.front())),
        m_check_end(static_cast<unsigned char>(wanted.back()) >= 0x80) {}

  // The next place at or after `from`, a character's beginning, where `wanted` stands as whole
  // characters; std::string_view::npos when there is none. What lies before the highest `from` is
  // not looked at any more and may have changed.
  std::size_t Next(std::size_t from = 0) noexcept {
    if (m_known < from) m_known = from;
    for (;;) {
      while (m_candidates == 0) {
        if (m_next > m_text.size() || m_text.size() - m_next < m_wanted.size()) {
          return std::string_view::npos;
        }
        FindCandidates();
      }
      const std::size_t at = m_block + static_cast<std::size_t>(std::countr_zero(m_candidates));
      m_candidates &= m_candidates - 1;
      if (at >= from && IsHit(at)) return at;
    }
  }

 private:
  void FindCandidates() noexcept {
    m_block = m_next;
    m_next += kScanBlock;
    m_candidates = EqualBytes(m_block, m_wanted.front());
    if (m_wanted.size() > 1 && m_candidates != 0) {
      m_candidates &= EqualBytes(m_block + m_wanted.size() - 1, m_wanted.back());
    }
  }

  // Which of the bytes at `at`, 64 or as many as the text has there, are `byte`.
  std::uint64_t EqualBytes(std::size_t at, char byte) const noexcept {
    const std::size_t left = m_text.size() - at;
    if (left >= kScanBlock) return BytesEqualTo(m_text.data() + at, byte);
    char last[kScanBlock] = {};
    std::memcpy(last, m_text.data() + at, left);
    return BytesEqualTo(last, byte) & ((std::uint64_t{1} << left) - 1);
  }

  bool IsHit(std::size_t at) noexcept {
    const std::size_t size = m_wanted.size();
    if (size > 2 && std::memcmp(m_text.data() + at + 1, m_wanted.data() + 1, size - 2) != 0) {
      return false;
    }
    if (m_check_begin) {
      m_known = CharacterStart(m_text, at, m_known);
      if (m_known != at) return false;
    }
    return !m_check_end || CharacterStart(m_text, at + size, at) == at + size;
  }

  const std::string_view m_text;
  const std::string_view m_wanted;
  const bool m_check_begin;  // whether what fits may begin inside a character
  const bool m_check_end;    // or end inside one
  std::size_t m_known = 0;   // where a character begins
  std::size_t m_block = 0;   // of the candidates; the next one begins at m_next
  std::size_t m_next = 0;
  std::uint64_t m_candidates = 0;
};

}  // namespace tesselkit::platform
