// The Base64 codec written down a second time, byte by byte and with its work buffer, to compare
// the fast one with.
#pragma once

#include <string>

namespace test {

inline constexpr char kAlphabet[] =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

inline std::string FourCharacters(unsigned accumulator) {
  std::string four;
  for (int shift = 18; shift >= 0; shift -= 6) four += kAlphabet[accumulator >> shift & 63];
  return four;
}

inline std::string ModelEncoded(const std::string& bytes, long line_length) {
  std::string text;
  unsigned accumulator = 0;
  int count = 0;
  long in_line = 0;
  for (const char byte : bytes) {
    if (count == 3) {
      text += FourCharacters(accumulator);
      in_line += 4;
      if (in_line == line_length) {
        text += '\n';
        in_line = 0;
      }
      accumulator = 0;
      count = 0;
    }
    accumulator = accumulator * 256 + static_cast<unsigned char>(byte);
    ++count;
  }
  return text + FourCharacters(accumulator << (3 - count) * 8) + "=";
}

struct ModelDecoded {
  std::string bytes;  // those that can be had afterwards
  bool is_valid = true;
  std::size_t stop = 0;  // where the walk ended
};

class ModelDecoder {
 public:
  ModelDecoded Decode(const std::string& text) {
    for (; m_result.stop < text.size(); ++m_result.stop) {
      const char c = text[m_result.stop];
      if (c == '=') break;
      if (c == '\n') continue;
      const std::size_t value = std::string(kAlphabet).find(c);
      if (value == std::string::npos) return Failed();
      if (m_count == 4) WriteGroup();
      m_accumulator = m_accumulator << 6 | static_cast<unsigned>(value);
      ++m_count;
    }
    if (m_count == 1) return Failed();
    WriteGroup();
    m_result.bytes += m_work;
    return m_result;
  }

 private:
  ModelDecoded Failed() {
    m_result.is_valid = false;
    return m_result;
  }

  // A group of 2 or 3 characters is one whose other values are 0 and whose last bytes are not
  // wanted.
  void WriteGroup() {
    if (m_work.size() == 49152) {
      m_result.bytes += m_work;
      m_work.clear();
    }
    const unsigned group = m_accumulator << (4 - m_count) * 6;
    if (m_count > 1) m_work += static_cast<char>(group >> 16);
    if (m_count > 2) m_work += static_cast<char>(group >> 8);
    if (m_count > 3) m_work += static_cast<char>(group);
    m_accumulator = 0;
    m_count = 0;
  }

  ModelDecoded m_result;
  std::string m_work;
  unsigned m_accumulator = 0;
  int m_count = 0;
};

inline ModelDecoded ModelDecode(const std::string& text) {
  return ModelDecoder().Decode(text);
}

}  // namespace test
