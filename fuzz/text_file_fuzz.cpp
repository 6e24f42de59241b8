// AdGetTextFile and AdWriteTextFile against the models of lines on disk and in memory.
//
// The first byte of the input chooses how much filling stands in front of the rest, so that line
// ends come to lie at the border of the file's buffer.
#include <sys/mman.h>
#include <unistd.h>

#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>
#include <vector>

#include "tesselkit/util/text_file.h"
#include "tests/support/line_model.h"

namespace {

void Require(bool condition) {
  if (!condition) std::abort();
}

// One file in memory for all inputs.
class MemoryFile {
 public:
  MemoryFile() : m_path("/proc/self/fd/" + std::to_string(m_descriptor)) {}

  const char* Path() const { return m_path.c_str(); }
  void Set(std::string_view bytes) const {
    Require(ftruncate(m_descriptor, 0) == 0);
    Require(pwrite(m_descriptor, bytes.data(), bytes.size(), 0) ==
            static_cast<ssize_t>(bytes.size()));
  }
  std::string Get() const {
    std::string bytes(static_cast<std::size_t>(lseek(m_descriptor, 0, SEEK_END)), '\0');
    Require(pread(m_descriptor, bytes.data(), bytes.size(), 0) ==
            static_cast<ssize_t>(bytes.size()));
    return bytes;
  }

 private:
  int m_descriptor = memfd_create("text", MFD_CLOEXEC);
  std::string m_path;
};

void RequireSame(const CStringArray& lines, const std::vector<std::string>& expected) {
  Require(static_cast<std::size_t>(lines.GetSize()) == expected.size());
  for (int i = 0; i < lines.GetSize(); ++i) Require(lines[i].View() == expected[i]);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const MemoryFile file;
  if (size == 0) return 0;
  const std::size_t filling = data[0] % 4 == 3 ? 65536 - data[0] / 4 : data[0] / 4;
  std::string bytes(filling, 'x');
  bytes.append(reinterpret_cast<const char*>(data) + 1, size - 1);

  CStringArray lines;
  file.Set(bytes);
  AdGetTextFile(file.Path(), lines);
  const std::vector<std::string> expected = test::Lines(test::InMemory(bytes));
  RequireSame(lines, expected);

  std::string memory;
  for (const std::string& line : expected) memory += line + '\n';
  AdWriteTextFile(file.Path(), lines, 0);
  Require(file.Get() == test::OnDisk(memory));
  AdGetTextFile(file.Path(), lines);
  RequireSame(lines, expected);
  return 0;
}
