#include "tesselkit/platform/mapped_file.h"

#include <fcntl.h>
#include <limits.h>
#include <unistd.h>

#include <algorithm>
#include <charconv>
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "tesselkit/platform/descriptor.h"

namespace {

// The lines of a file, one after the other.
class LineReader {
 public:
  explicit LineReader(const char* path) noexcept : m_file(open(path, O_RDONLY | O_CLOEXEC)) {}

  // False at the file's end, and at a line that is too long.
  bool Next(std::string_view& line) noexcept {
    for (;;) {
      const char* const end = std::find(m_data + m_next, m_data + m_size, '\n');
      if (end != m_data + m_size) {
        line = {m_data + m_next, end};
        m_next = static_cast<std::size_t>(end - m_data) + 1;
        return true;
      }
      if (!Fill()) return false;
    }
  }

 private:
  bool Fill() noexcept {
    std::copy(m_data + m_next, m_data + m_size, m_data);
    m_size -= m_next;
    m_next = 0;
    const ssize_t count = read(m_file.Get(), m_data + m_size, sizeof m_data - m_size);
    if (count <= 0) return false;
    m_size += static_cast<std::size_t>(count);
    return true;
  }

  tesselkit::platform::Descriptor m_file;
  std::size_t m_next = 0;
  std::size_t m_size = 0;
  char m_data[PATH_MAX + 256];
};

// The path at the end of a line, where there is one.
std::string_view PathOf(std::string_view line) {
  constexpr std::string_view kDeleted = " (deleted)";
  const std::size_t begin = line.find('/');
  if (begin == std::string_view::npos) return {};
  line.remove_prefix(begin);
  if (line.ends_with(kDeleted)) line.remove_suffix(kDeleted.size());
  return line;
}

bool BeginsAt(std::string_view line, std::uintptr_t start) {
  std::uintptr_t begin = 0;
  const auto parsed = std::from_chars(line.data(), line.data() + line.size(), begin, 16);
  return parsed.ec == std::errc() && begin == start;
}

}  // namespace

namespace tesselkit::platform {

bool FindMappedFile(std::uintptr_t start, char* path, std::size_t size) noexcept {
  *path = '\0';
  LineReader maps("/proc/self/maps");
  std::string_view line;
  while (maps.Next(line)) {
    if (!BeginsAt(line, start)) continue;
    const std::string_view found = PathOf(line);
    if (found.empty() || found.size() >= size) return false;
    *std::copy(found.begin(), found.end(), path) = '\0';
    return true;
  }
  return false;
}

}  // namespace tesselkit::platform
