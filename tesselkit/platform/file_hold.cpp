#include "tesselkit/platform/file_hold.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <cerrno>

#include "tesselkit/platform/file.h"

namespace tesselkit::platform {
namespace {

// An exclusive opener has the whole-file lock alone; the others share it, and each marks what it
// does and what it denies by record locks far behind any data. The opposite of a mark is two on.
enum Mark { kReads, kWrites, kDeniesReading, kDeniesWriting, kMarks };

constexpr off_t kMarkZone = off_t{1} << 56;
constexpr off_t kFirstMark = off_t{1} << 60;

UINT ShareMode(UINT flags) noexcept {
  return flags & 0x70;
}

bool IsExclusive(UINT flags) noexcept {
  return ShareMode(flags) == CFile::shareCompat || ShareMode(flags) == CFile::shareExclusive;
}

bool Has(UINT flags, int mark) noexcept {
  const UINT access = flags & 3;
  switch (mark) {
    case kReads:
      return access != CFile::modeWrite;
    case kWrites:
      return access != CFile::modeRead;
    case kDeniesReading:
      return ShareMode(flags) == CFile::shareDenyRead;
    default:
      return ShareMode(flags) == CFile::shareDenyWrite;
  }
}

int LockFile(int descriptor, int operation) noexcept {
  int result = 0;
  do {
    result = flock(descriptor, operation);
  } while (result != 0 && errno == EINTR);
  return result == 0 ? 0 : errno;
}

struct flock MarkRecord(int mark, short type) noexcept {
  struct flock record = {};
  record.l_type = type;
  record.l_whence = SEEK_SET;
  record.l_start = kFirstMark + mark * kMarkZone;
  record.l_len = kMarkZone;
  return record;
}

// Readable descriptors share the first byte of a zone. A descriptor that is only written to cannot
// lock to share, so it has a byte that no other has.
int SetMark(int descriptor, int mark) noexcept {
  const bool readable = (fcntl(descriptor, F_GETFL) & O_ACCMODE) != O_WRONLY;
  struct flock record = MarkRecord(mark, readable ? F_RDLCK : F_WRLCK);
  if (!readable) record.l_start += 1 + (off_t{getpid()} << 24) + descriptor;
  record.l_len = 1;
  return fcntl(descriptor, F_OFD_SETLK, &record) == 0 ? 0 : errno;
}

bool IsMarkedByAnother(int descriptor, int mark) noexcept {
  struct flock record = MarkRecord(mark, F_WRLCK);
  return fcntl(descriptor, F_OFD_GETLK, &record) == 0 && record.l_type != F_UNLCK;
}

int TakeSharedHold(int descriptor, UINT flags) noexcept {
  if (const int error = LockFile(descriptor, LOCK_SH | LOCK_NB)) return error;
  for (int mark = 0; mark < kMarks; ++mark) {
    if (!Has(flags, mark)) continue;
    if (const int error = SetMark(descriptor, mark)) return error;
  }
  // All marks stand before the first look, so of two that come at once at least one sees the other.
  for (int mark = 0; mark < kMarks; ++mark) {
    if (Has(flags, mark) && IsMarkedByAnother(descriptor, mark ^ 2)) return EWOULDBLOCK;
  }
  return 0;
}

int TakeExclusiveHold(int descriptor) noexcept {
  const int error = LockFile(descriptor, LOCK_EX | LOCK_NB);
  // Network file systems lock alone only what is open for writing: there, keep writers out at
  // least.
  return error == EBADF ? LockFile(descriptor, LOCK_SH | LOCK_NB) : error;
}

}  // namespace

int TakeHold(int descriptor, UINT flags) noexcept {
  return IsExclusive(flags) ? TakeExclusiveHold(descriptor) : TakeSharedHold(descriptor, flags);
}

void GiveHoldUp(int descriptor, UINT flags) noexcept {
  if (!IsExclusive(flags)) {
    struct flock all = MarkRecord(0, F_UNLCK);
    all.l_len = kMarks * kMarkZone;
    fcntl(descriptor, F_OFD_SETLK, &all);
  }
  LockFile(descriptor, LOCK_UN);
}

bool IsHeld(const char* host_path) noexcept {
  const int descriptor = open(host_path, O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC);
  if (descriptor < 0) return false;
  const bool held = LockFile(descriptor, LOCK_EX | LOCK_NB) == EWOULDBLOCK;
  close(descriptor);
  return held;
}

}  // namespace tesselkit::platform
