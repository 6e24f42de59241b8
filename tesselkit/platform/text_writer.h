// Filling memory of known size piece by piece.
#pragma once

#include <cstddef>
#include <cstring>
#include <string_view>

#include "tesselkit/platform/cstring.h"

namespace tesselkit::platform {

// Whoever uses it has made room for all pieces. Short pieces are copied without a call, where more
// bytes than theirs can be read and written.
class TextWriter {
 public:
  TextWriter(char* begin, std::size_t size) noexcept : m_at(begin), m_end(begin + size) {}

  // `end` is where what can be read at the piece ends.
  void Put(std::string_view piece, const char* end) noexcept {
    if (m_end - m_at < kStep || end - piece.data() < kStep) {
      piece.copy(m_at, piece.size());
    } else {
      std::memcpy(m_at, piece.data(), kStep);
      if (piece.size() > kStep) {
        std::memcpy(m_at + kStep, piece.data() + kStep, piece.size() - kStep);
      }
    }
    m_at += piece.size();
  }

  void Put(const CString& piece) noexcept { Put(piece.View(), ReadableEnd(piece)); }

  // A text always has room for so many bytes, be it inside the object.
  static const char* ReadableEnd(const CString& text) noexcept {
    const std::string_view view = text.View();
    return view.data() + (view.size() > kStep ? view.size() : kStep);
  }

 private:
  static constexpr std::ptrdiff_t kStep = 16;

  char* m_at;
  char* m_end;
};

}  // namespace tesselkit::platform
