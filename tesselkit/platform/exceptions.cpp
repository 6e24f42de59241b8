#include "tesselkit/platform/exceptions.h"

#include <cerrno>
#include <cstring>
#include <iterator>
#include <string_view>

#include "tesselkit/platform/code_page.h"
#include "tesselkit/platform/debug_output.h"

IMPLEMENT_DYNAMIC(CException, CObject)
IMPLEMENT_DYNAMIC(CMemoryException, CException)
IMPLEMENT_DYNAMIC(CInvalidArgException, CException)
IMPLEMENT_DYNAMIC(CFileException, CException)
IMPLEMENT_DYNAMIC(CArchiveException, CException)

namespace {

constexpr const char* kFileTexts[] = {
    "No error occurred",
    "An unknown error occurred",
    "The file was not found",
    "The path is not valid",
    "Too many files are open",
    "Access is denied",
    "The file handle is not valid",
    "The current directory cannot be removed",
    "The directory is full",
    "The position is outside the file",
    "The device reported an error",
    "The file is in use by another opener",
    "A part of the file is locked by another opener",
    "The disk is full",
    "The end of the file was reached",
};

constexpr const char* kArchiveTexts[] = {
    "No error occurred",
    "An unknown error occurred",
    "An archive that is being loaded cannot be written to",
    "The end of the archive was reached",
    "An archive that is being stored cannot be read from",
    "The archive refers to an object that is not in it",
    "The archive holds an object of an unknown class",
    "The archive holds an object of another version",
};

struct ErrnoCause {
  int error_number;
  int cause;
};

constexpr ErrnoCause kErrnoCauses[] = {
    {0, CFileException::none},
    {ENOENT, CFileException::fileNotFound},
    {ENOTDIR, CFileException::badPath},
    {ENAMETOOLONG, CFileException::badPath},
    {ELOOP, CFileException::badPath},
    {EMFILE, CFileException::tooManyOpenFiles},
    {ENFILE, CFileException::tooManyOpenFiles},
    {EACCES, CFileException::accessDenied},
    {EPERM, CFileException::accessDenied},
    {EROFS, CFileException::accessDenied},
    {EISDIR, CFileException::accessDenied},
    {EEXIST, CFileException::accessDenied},
    {EBADF, CFileException::invalidFile},
    {EBUSY, CFileException::sharingViolation},
    {ETXTBSY, CFileException::sharingViolation},
    {EWOULDBLOCK, CFileException::sharingViolation},
    {EDEADLK, CFileException::lockViolation},
    {ENOLCK, CFileException::lockViolation},
    {ESPIPE, CFileException::badSeek},
    {EINVAL, CFileException::badSeek},
    {EIO, CFileException::hardIO},
    {ENOSPC, CFileException::diskFull},
    {EDQUOT, CFileException::diskFull},
    {EFBIG, CFileException::diskFull},
};

BOOL Answer(std::string_view source, char* text, UINT size, UINT* help_context) {
  if (help_context != nullptr) *help_context = 0;
  return tesselkit::platform::CopyErrorText(source, text, size);
}

CString WithName(const char* text, const CString& file_name) {
  CString result(text);
  if (!file_name.IsEmpty()) result = result + ": " + file_name;
  return result + ".";
}

template <std::size_t N>
const char* TextOfCause(const char* const (&texts)[N], int cause) {
  return cause >= 0 && cause < static_cast<int>(N) ? texts[cause] : texts[1];
}

}  // namespace

BOOL tesselkit::platform::CopyErrorText(std::string_view source, char* destination, UINT size) {
  if (destination == nullptr || size == 0) return FALSE;
  const std::size_t length = WholeCharactersWithin(source, size - 1);
  source.copy(destination, length);
  destination[length] = '\0';
  return length > 0 ? TRUE : FALSE;
}

CException::~CException() = default;

void CException::Delete() {
  if (m_bAutoDelete) delete this;
}

BOOL CException::GetErrorMessage(char* text, UINT size, UINT* help_context) {
  return Answer("", text, size, help_context);
}

int CException::ReportError(UINT, UINT) {
  char text[1024] = "";
  GetErrorMessage(text, sizeof text - 1);
  std::strcat(text, "\n");
  OutputDebugStringA(text);
  return 1;
}

BOOL CMemoryException::GetErrorMessage(char* text, UINT size, UINT* help_context) {
  return Answer("Out of memory.", text, size, help_context);
}

BOOL CInvalidArgException::GetErrorMessage(char* text, UINT size, UINT* help_context) {
  return Answer("An argument was not valid.", text, size, help_context);
}

CFileException::CFileException(int cause, LONG os_error, const char* file_name)
    : m_cause(cause), m_lOsError(os_error), m_strFileName(file_name) {}

BOOL CFileException::GetErrorMessage(char* text, UINT size, UINT* help_context) {
  return Answer(WithName(TextOfCause(kFileTexts, m_cause), m_strFileName).View(), text, size,
                help_context);
}

int CFileException::ErrnoToException(int error_number) {
  for (const ErrnoCause& row : kErrnoCauses) {
    if (row.error_number == error_number) return row.cause;
  }
  return genericException;
}

void CFileException::ThrowErrno(int error_number, const char* file_name) {
  AfxThrowFileException(ErrnoToException(error_number), error_number, file_name);
}

CArchiveException::CArchiveException(int cause, const char* archive_name)
    : m_cause(cause), m_strFileName(archive_name) {}

BOOL CArchiveException::GetErrorMessage(char* text, UINT size, UINT* help_context) {
  return Answer(WithName(TextOfCause(kArchiveTexts, m_cause), m_strFileName).View(), text, size,
                help_context);
}

void AfxThrowMemoryException() {
  // One object for the process, in memory of its own and never ended.
  alignas(CMemoryException) static char memory[sizeof(CMemoryException)];
  static CMemoryException* const exception = new (memory) CMemoryException(FALSE);
  throw exception;
}

void AfxThrowInvalidArgException() {
  throw new CInvalidArgException;
}

void AfxThrowFileException(int cause, LONG os_error, const char* file_name) {
  throw new CFileException(cause, os_error, file_name);
}

void AfxThrowArchiveException(int cause, const char* archive_name) {
  throw new CArchiveException(cause, archive_name);
}
