#include "tesselkit/platform/hive_file.h"

#include <fcntl.h>
#include <pwd.h>
#include <sqlite3.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <memory>
#include <string_view>
#include <vector>

#include "tesselkit/platform/descriptor.h"
#include "tesselkit/platform/hive_schema.h"
#include "tesselkit/platform/sqlite_session.h"
#include "tesselkit/platform/status_codes.h"

namespace tesselkit::platform {

namespace {

using namespace std::string_literals;

constexpr std::size_t kHeaderSize = 100;
using Header = std::array<unsigned char, kHeaderSize>;

std::string Setting(const char* name) {
  const char* value = std::getenv(name);
  return value != nullptr ? value : "";
}

std::string HomeDirectory() {
  std::string home = Setting("HOME");
  if (!home.empty()) return home;
  std::vector<char> buffer(16384);
  passwd entry;
  passwd* found = nullptr;
  getpwuid_r(getuid(), &entry, buffer.data(), buffer.size(), &found);
  return found != nullptr ? found->pw_dir : "";
}

std::string UserDataDirectory() {
  std::string data = Setting("XDG_DATA_HOME");
  if (data.starts_with('/')) return data;  // others are to be ignored
  const std::string home = HomeDirectory();
  return home.empty() ? "" : home + "/.local/share";
}

unsigned BigEndian(const unsigned char* bytes) {
  return unsigned{bytes[0]} << 24 | unsigned{bytes[1]} << 16 | unsigned{bytes[2]} << 8 | bytes[3];
}

bool IsHiveHeader(const Header& header) {
  constexpr std::string_view kMagic("SQLite format 3\0", 16);
  constexpr std::size_t kFormatAt = 60;
  constexpr std::size_t kApplicationAt = 68;
  return std::memcmp(header.data(), kMagic.data(), kMagic.size()) == 0 &&
         BigEndian(&header[kApplicationAt]) == kHiveApplicationId &&
         BigEndian(&header[kFormatAt]) == kHiveFormat;
}

LONG StatusOfOpen(int error) {
  switch (error) {
    case ENOENT:
      return ERROR_FILE_NOT_FOUND;
    case EACCES:
    case EPERM:
    case EROFS:
      return ERROR_ACCESS_DENIED;
    case ENOSPC:
    case EDQUOT:
    case EFBIG:
      return ERROR_DISK_FULL;
    case ENOMEM:
      return ERROR_NOT_ENOUGH_MEMORY;
    case EISDIR:
    case ENOTDIR:
    case ELOOP:
    case ENXIO:
      return ERROR_BADDB;
    default:
      return ERROR_REGISTRY_IO_FAILED;
  }
}

// A file as SQLite opens it: closing a descriptor of one's own would take away the locks that
// SQLite has on the file by another.
class SqliteFile {
 public:
  explicit SqliteFile(const std::string& file_name)
      : m_name(sqlite3_create_filename(file_name.c_str(), "", "", 0, nullptr)),
        m_memory(static_cast<std::size_t>(Host()->szOsFile)) {}
  ~SqliteFile() {
    if (Methods() != nullptr) Methods()->xClose(Get());
    sqlite3_free_filename(const_cast<char*>(m_name));
  }
  SqliteFile(const SqliteFile&) = delete;
  SqliteFile& operator=(const SqliteFile&) = delete;

  bool Open() {
    constexpr int kFlags = SQLITE_OPEN_READONLY | SQLITE_OPEN_MAIN_DB;
    return m_name != nullptr && Host()->xOpen(Host(), m_name, Get(), kFlags, nullptr) == SQLITE_OK;
  }
  int Read(Header& header) {
    return Methods()->xRead(Get(), header.data(), static_cast<int>(header.size()), 0);
  }

 private:
  static sqlite3_vfs* Host() {
    sqlite3_initialize();
    return sqlite3_vfs_find(nullptr);
  }
  sqlite3_file* Get() { return reinterpret_cast<sqlite3_file*>(m_memory.data()); }
  const sqlite3_io_methods* Methods() { return Get()->pMethods; }

  sqlite3_filename m_name;
  std::vector<unsigned char> m_memory;
};

LONG CheckHeader(const std::string& file_name) {
  struct stat state;
  if (stat(file_name.c_str(), &state) != 0) return StatusOfOpen(errno);
  if (!S_ISREG(state.st_mode)) return ERROR_BADDB;
  SqliteFile file(file_name);
  if (!file.Open()) return StatusOfOpen(errno);
  Header header{};
  const int code = file.Read(header);
  if (code == SQLITE_IOERR_SHORT_READ) return ERROR_BADDB;
  if (code != SQLITE_OK) return ERROR_REGISTRY_IO_FAILED;
  return IsHiveHeader(header) ? ERROR_SUCCESS : ERROR_BADDB;
}

mode_t DirectoryMode(HiveKind kind) {
  return kind == HiveKind::kUser ? 0700 : 0755;
}

mode_t FileMode(HiveKind kind) {
  return kind == HiveKind::kUser ? 0600 : 0644;
}

// The mode is that which is asked for, whatever the process's mask.
LONG MakeDirectories(const std::string& directory, mode_t mode) {
  struct stat state;
  if (directory.empty() || stat(directory.c_str(), &state) == 0) return ERROR_SUCCESS;
  const std::size_t slash = directory.find_last_of('/');
  if (slash != std::string::npos && slash > 0) {
    const LONG status = MakeDirectories(directory.substr(0, slash), mode);
    if (status != ERROR_SUCCESS) return status;
  }
  if (mkdir(directory.c_str(), 0700) != 0) {
    return errno == EEXIST ? ERROR_SUCCESS : StatusOfOpen(errno);
  }
  return chmod(directory.c_str(), mode) == 0 ? ERROR_SUCCESS : StatusOfOpen(errno);
}

// A database in memory has the journal mode's mark of its own; it is to be that of a write-ahead
// log.
LONG NewHiveImage(std::string& image) {
  sqlite3* opened = nullptr;
  int code =
      sqlite3_open_v2(":memory:", &opened, SQLITE_OPEN_READWRITE | SQLITE_OPEN_NOMUTEX, nullptr);
  const Database db(opened);
  if (code == SQLITE_OK) code = sqlite3_exec(opened, kHiveSchema, nullptr, nullptr, nullptr);
  if (code != SQLITE_OK) return StatusOfSqlite(opened, code);

  sqlite3_int64 size = 0;
  const std::unique_ptr<unsigned char, void (*)(void*)> bytes(
      sqlite3_serialize(opened, "main", &size, 0), sqlite3_free);
  if (bytes == nullptr) return ERROR_NOT_ENOUGH_MEMORY;
  image.assign(bytes.get(), bytes.get() + size);
  constexpr std::size_t kWriteVersionAt = 18;
  constexpr std::size_t kReadVersionAt = 19;
  constexpr char kWriteAheadLog = 2;
  image[kWriteVersionAt] = image[kReadVersionAt] = kWriteAheadLog;
  return ERROR_SUCCESS;
}

bool WriteAll(int fd, std::string_view bytes) {
  while (!bytes.empty()) {
    const ssize_t count = write(fd, bytes.data(), bytes.size());
    if (count < 0 && errno == EINTR) continue;
    if (count <= 0) return false;
    bytes.remove_prefix(static_cast<std::size_t>(count));
  }
  return true;
}

// Gives the draft its name, unless that is taken. Not every file system knows both ways.
bool Place(const std::string& draft, const std::string& file_name) {
  if (renameat2(AT_FDCWD, draft.c_str(), AT_FDCWD, file_name.c_str(), RENAME_NOREPLACE) == 0) {
    return true;
  }
  return errno != EEXIST && link(draft.c_str(), file_name.c_str()) == 0;
}

std::string DirectoryOf(const std::string& file_name) {
  const std::size_t slash = file_name.find_last_of('/');
  return slash == std::string::npos ? "" : file_name.substr(0, slash);
}

void SyncDirectory(const std::string& directory) {
  const Descriptor opened(open(directory.empty() ? "." : directory.c_str(), O_RDONLY | O_CLOEXEC));
  if (opened.Get() >= 0) fsync(opened.Get());
}

}  // namespace

namespace {

std::string NamedHiveFile(HiveKind kind) {
  if (kind == HiveKind::kMachine) {
    std::string named = Setting("TESSELKIT_REGISTRY_MACHINE");
    return named.empty() ? "/var/lib/tesselkit/registry/machine.hive" : named;
  }
  std::string named = Setting("TESSELKIT_REGISTRY_USER");
  if (!named.empty()) return named;
  const std::string data = UserDataDirectory();
  return data.empty() ? "" : data + "/tesselkit/registry/user.hive";
}

}  // namespace

// The process may go to another directory, and the log stands beside the file that a link names.
std::string HiveFileName(HiveKind kind) {
  std::string named = NamedHiveFile(kind);
  if (named.empty()) return named;
  std::error_code error;
  const std::filesystem::path absolute = std::filesystem::absolute(named, error);
  const std::filesystem::path resolved = std::filesystem::weakly_canonical(absolute, error);
  return error ? absolute.string() : resolved.string();
}

HiveFileState InspectHiveFile(const std::string& file_name) {
  HiveFileState state;
  state.status = CheckHeader(file_name);
  state.is_writable = faccessat(AT_FDCWD, file_name.c_str(), W_OK, AT_EACCESS) == 0;
  return state;
}

LONG CreateHiveFile(const std::string& file_name, HiveKind kind) {
  std::string image;
  LONG status = NewHiveImage(image);
  const std::string directory = DirectoryOf(file_name);
  if (status == ERROR_SUCCESS) status = MakeDirectories(directory, DirectoryMode(kind));
  if (status != ERROR_SUCCESS) return status;

  std::string draft = file_name + ".XXXXXX";
  const Descriptor file(mkostemp(draft.data(), O_CLOEXEC));
  if (file.Get() < 0) return StatusOfOpen(errno);
  const bool is_written = WriteAll(file.Get(), image) && fchmod(file.Get(), FileMode(kind)) == 0 &&
                          fsync(file.Get()) == 0;
  const bool is_there = is_written && (Place(draft, file_name) || errno == EEXIST);
  const int error = errno;
  unlink(draft.c_str());
  if (!is_there) return StatusOfOpen(error);
  SyncDirectory(directory);
  return ERROR_SUCCESS;
}

}  // namespace tesselkit::platform
