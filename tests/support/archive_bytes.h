// Archives in memory for tests: what storing leaves behind, and files to load from.
#pragma once

#include <string>
#include <string_view>

#include "tesselkit/platform/archive.h"
#include "tesselkit/platform/file.h"

namespace test {

// The whole content of a file in memory.
inline std::string ContentOf(CMemFile& file) {
  std::string bytes(file.GetLength(), '\0');
  file.SeekToBegin();
  file.Read(bytes.data(), static_cast<UINT>(bytes.size()));
  return bytes;
}

// A file in memory with that content, at its beginning.
class LoadFile : public CMemFile {
 public:
  explicit LoadFile(std::string_view bytes) {
    Write(bytes.data(), static_cast<UINT>(bytes.size()));
    SeekToBegin();
    SetFilePath("load.dat");
  }
};

// The bytes that `body` stores.
template <class Archive = CArchive, class Body>
std::string Stored(Body body) {
  CMemFile file;
  file.SetFilePath("store.dat");
  Archive archive(&file, CArchive::store);
  body(archive);
  archive.Close();
  return ContentOf(file);
}

// Runs `body` with an archive that loads `bytes`.
template <class Archive = CArchive, class Body>
void Load(std::string_view bytes, Body body) {
  LoadFile file(bytes);
  Archive archive(&file, CArchive::load);
  body(archive);
}

// "01 FF" as bytes.
inline std::string Bytes(std::string_view hexadecimal) {
  std::string bytes;
  for (std::size_t at = 0; at + 1 < hexadecimal.size(); at += 3) {
    bytes += static_cast<char>(std::stoi(std::string(hexadecimal.substr(at, 2)), nullptr, 16));
  }
  return bytes;
}

inline std::string Hexadecimal(std::string_view bytes) {
  static constexpr char kDigits[] = "0123456789ABCDEF";
  std::string text;
  for (const char byte : bytes) {
    const auto value = static_cast<unsigned char>(byte);
    if (!text.empty()) text += ' ';
    text += {kDigits[value / 16], kDigits[value % 16]};
  }
  return text;
}

}  // namespace test
