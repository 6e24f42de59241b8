#include "tesselkit/platform/file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <utility>

#include "tesselkit/platform/file_hold.h"
#include "tesselkit/platform/host_path.h"

using tesselkit::platform::FullPath;
using tesselkit::platform::GiveHoldUp;
using tesselkit::platform::HostPath;
using tesselkit::platform::IsHeld;
using tesselkit::platform::LastComponent;
using tesselkit::platform::TakeHold;

IMPLEMENT_DYNAMIC(CFile, CObject)

namespace {

// Calls the host again for as long as a signal interrupts it.
template <class Call>
auto Uninterrupted(Call call) {
  auto result = call();
  while (result < 0 && errno == EINTR) result = call();
  return result;
}

bool Empties(UINT flags) {
  return (flags & CFile::modeCreate) != 0 && (flags & CFile::modeNoTruncate) == 0;
}

int HostFlags(UINT flags) {
  constexpr int kAccess[] = {O_RDONLY, O_WRONLY, O_RDWR};
  if ((flags & 3) == 3) AfxThrowInvalidArgException();
  int access = kAccess[flags & 3];
  // Only what is open for writing can be emptied.
  if (access == O_RDONLY && Empties(flags)) access = O_RDWR;
  const int create = (flags & CFile::modeCreate) != 0 ? O_CREAT : 0;
  return access | create | O_CLOEXEC | O_NOCTTY;
}

int ErrorOf(int result) {
  return result == 0 ? 0 : errno;
}

void ThrowIfHeld(const CString& path, const char* name) {
  if (IsHeld(path)) CFileException::ThrowErrno(EWOULDBLOCK, name);
}

int RenameToFree(const char* from, const char* to) {
  const int error = ErrorOf(renameat2(AT_FDCWD, from, AT_FDCWD, to, RENAME_NOREPLACE));
  if (error != EINVAL && error != ENOSYS) return error;
  // A file system that cannot do it in one step.
  if (access(to, F_OK) == 0) return EEXIST;
  return ErrorOf(rename(from, to));
}

}  // namespace

CFile::CFile(int descriptor)
    : m_hFile(descriptor), m_bCloseOnDelete(FALSE), m_process(static_cast<int>(getpid())) {}

CFile::CFile(const char* name, UINT flags) {
  if (const int error = TryOpen(name, flags)) CFileException::ThrowErrno(error, name);
}

CFile::~CFile() {
  if (m_bCloseOnDelete) Release();
}

BOOL CFile::Open(const char* name, UINT flags, CFileException* error) {
  const int error_number = TryOpen(name, flags);
  if (error_number == 0) return TRUE;
  if (error != nullptr) {
    error->m_cause = CFileException::ErrnoToException(error_number);
    error->m_lOsError = error_number;
    error->m_strFileName = name;
  }
  return FALSE;
}

int CFile::TryOpen(const char* name, UINT flags) {
  if (m_hFile != hFileNull) AfxThrowInvalidArgException();
  const int host_flags = HostFlags(flags);
  const CString path = HostPath(name);
  CString full_path = FullPath(name);
  const int descriptor = Uninterrupted([&] { return open(path, host_flags, 0666); });
  if (descriptor < 0) return errno;
  if (const int error = Prepare(descriptor, flags)) {
    close(descriptor);
    return error;
  }
  m_hFile = descriptor;
  m_bCloseOnDelete = TRUE;
  m_strFileName = std::move(full_path);
  m_flags = flags;
  m_process = static_cast<int>(getpid());
  return 0;
}

int CFile::Prepare(int descriptor, UINT flags) {
  struct stat status;
  if (fstat(descriptor, &status) != 0) return errno;
  if (S_ISDIR(status.st_mode)) return EISDIR;
  m_holds = S_ISREG(status.st_mode);
  if (!m_holds) return 0;
  if (const int error = TakeHold(descriptor, flags)) return error;
  return Empties(flags) ? Uninterrupted([&] { return ftruncate(descriptor, 0); }) : 0;
}

int CFile::Release() {
  if (m_hFile == hFileNull) return 0;
  const int descriptor = std::exchange(m_hFile, +hFileNull);
  if (m_holds && !IsInherited()) GiveHoldUp(descriptor, m_flags);
  m_holds = false;
  // The descriptor is gone also when the call was interrupted.
  return close(descriptor) == 0 || errno == EINTR ? 0 : errno;
}

UINT CFile::ReadSome(void* buffer, UINT count) {
  const ssize_t length = Uninterrupted([&] { return read(m_hFile, buffer, count); });
  if (length < 0) ThrowErrno(errno);
  return static_cast<UINT>(length);
}

UINT CFile::Read(void* buffer, UINT count) {
  UINT done = 0;
  while (done < count) {
    const UINT length = ReadSome(static_cast<char*>(buffer) + done, count - done);
    if (length == 0) break;
    done += length;
  }
  return done;
}

void CFile::Write(const void* buffer, UINT count) {
  for (UINT done = 0; done < count;) {
    const char* const from = static_cast<const char*>(buffer) + done;
    const ssize_t length = Uninterrupted([&] { return write(m_hFile, from, count - done); });
    if (length < 0) ThrowErrno(errno);
    done += static_cast<UINT>(length);
  }
}

long long CFile::Seek(long long offset, UINT from) {
  constexpr int kWhence[] = {SEEK_SET, SEEK_CUR, SEEK_END};
  if (from > end) AfxThrowInvalidArgException();
  const off_t position = lseek(m_hFile, offset, kWhence[from]);
  if (position < 0) ThrowErrno(errno);
  return position;
}

unsigned long long CFile::GetPosition() const {
  const off_t position = lseek(m_hFile, 0, SEEK_CUR);
  if (position < 0) ThrowErrno(errno);
  return static_cast<unsigned long long>(position);
}

unsigned long long CFile::GetLength() const {
  struct stat status;
  if (fstat(m_hFile, &status) != 0) ThrowErrno(errno);
  return static_cast<unsigned long long>(status.st_size);
}

void CFile::SetLength(unsigned long long length) {
  const auto wanted = static_cast<off_t>(length);
  if (Uninterrupted([&] { return ftruncate(m_hFile, wanted); }) != 0) ThrowErrno(errno);
  CFile::Seek(wanted, begin);
}

void CFile::Flush() {}

void CFile::Close() {
  if (const int error = Release()) ThrowErrno(error);
}

void CFile::Abort() {
  Release();
}

CString CFile::GetFileName() const {
  return CString(LastComponent(m_strFileName.View()));
}

CString CFile::GetFilePath() const {
  return m_strFileName;
}

void CFile::SetFilePath(const char* path) {
  m_strFileName = path;
}

void CFile::Rename(const char* old_name, const char* new_name) {
  const CString from = HostPath(old_name);
  ThrowIfHeld(from, old_name);
  if (const int error = RenameToFree(from, HostPath(new_name))) {
    CFileException::ThrowErrno(error, old_name);
  }
}

void CFile::Remove(const char* name) {
  const CString path = HostPath(name);
  ThrowIfHeld(path, name);
  if (unlink(path) != 0) CFileException::ThrowErrno(errno, name);
}

void CFile::ThrowErrno(int error_number) const {
  CFileException::ThrowErrno(error_number, m_strFileName);
}

bool CFile::IsInherited() const {
  return m_process != static_cast<int>(getpid());
}
