// Files for tests: a directory of its own for each, whole contents by the host's own calls, and
// what the file layer throws.
#pragma once

#include <gtest/gtest.h>

#include <cerrno>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <string_view>

#include "tesselkit/platform/exceptions.h"

namespace test {

// A directory that is there for the length of a scope.
class TempDirectory {
 public:
  TempDirectory() {
    std::string name = testing::TempDir() + "tesselkit.XXXXXX";
    if (mkdtemp(name.data()) == nullptr) ADD_FAILURE() << "no directory: errno " << errno;
    m_path = name;
  }
  ~TempDirectory() { std::filesystem::remove_all(m_path); }
  TempDirectory(const TempDirectory&) = delete;
  TempDirectory& operator=(const TempDirectory&) = delete;

  const std::string& Path() const { return m_path; }
  std::string operator/(std::string_view name) const { return m_path + "/" + std::string(name); }

 private:
  std::string m_path;
};

// Makes the file anew, which costs less than emptying it.
inline void WriteBytes(const std::string& path, std::string_view bytes) {
  std::filesystem::remove(path);
  std::ofstream(path, std::ios::binary) << bytes;
}

// "(missing)" when there is no file of that name.
inline std::string ReadBytes(const std::string& path) {
  if (!std::filesystem::is_regular_file(path)) return "(missing)";
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

struct FileFailure {
  int cause = CFileException::none;
  int os_error = 0;
  bool operator==(const FileFailure&) const = default;
};

inline void PrintTo(const FileFailure& failure, std::ostream* out) {
  *out << "cause " << failure.cause << ", host's error " << failure.os_error;
}

inline constexpr FileFailure kInUse = {CFileException::sharingViolation, EWOULDBLOCK};
inline constexpr FileFailure kMissing = {CFileException::fileNotFound, ENOENT};
inline constexpr FileFailure kIsDirectory = {CFileException::accessDenied, EISDIR};
inline constexpr FileFailure kDiskFull = {CFileException::diskFull, ENOSPC};
inline constexpr FileFailure kDeviceFails = {CFileException::hardIO, EIO};

// What `statement` throws; {none, 0} when it throws nothing. Ends the exception.
template <class Statement>
FileFailure FailureOf(Statement statement) {
  try {
    statement();
  } catch (CFileException* exception) {
    const FileFailure failure = {exception->m_cause, exception->m_lOsError};
    exception->Delete();
    return failure;
  }
  return {};
}

}  // namespace test
