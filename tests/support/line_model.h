// Plain models of text files: what lines look like on disk and which lines a file has.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace test {

// Every line feed gets a carriage return in front.
inline std::string OnDisk(std::string_view in_memory) {
  std::string bytes;
  for (const char c : in_memory) bytes += c == '\n' ? std::string("\r\n") : std::string(1, c);
  return bytes;
}

// The one carriage return directly before a line feed goes.
inline std::string InMemory(std::string_view on_disk) {
  std::string bytes;
  for (std::size_t i = 0; i < on_disk.size(); ++i) {
    if (on_disk[i] == '\r' && i + 1 < on_disk.size() && on_disk[i + 1] == '\n') continue;
    bytes += on_disk[i];
  }
  return bytes;
}

// The pieces between line feeds; what stands behind the last one counts when it is not empty.
inline std::vector<std::string> Lines(std::string_view in_memory) {
  std::vector<std::string> lines;
  std::string line;
  for (const char c : in_memory) {
    line += c;
    if (c != '\n') continue;
    line.pop_back();
    lines.push_back(line);
    line.clear();
  }
  if (!line.empty()) lines.push_back(line);
  return lines;
}

}  // namespace test
