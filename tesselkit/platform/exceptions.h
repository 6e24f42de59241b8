// The platform's exceptions: made on the heap, thrown by pointer, ended by the catcher with
// Delete().
#pragma once

#include <string_view>

#include "tesselkit/platform/allocator.h"
#include "tesselkit/platform/cobject.h"
#include "tesselkit/platform/cstring.h"

class TESSELKIT_API CException : public CObject {
  DECLARE_DYNAMIC(CException)

 public:
  CException() = default;
  // With `auto_delete` FALSE, Delete() leaves the object alone: for exceptions that are not on the
  // heap.
  explicit CException(BOOL auto_delete) : m_bAutoDelete(auto_delete) {}
  ~CException() override;

  // Ends the exception. Every catcher that does not throw it on calls this once.
  void Delete();

  // Writes what went wrong to the `size` bytes at `text`, cut to whole characters and always
  // terminated, and a help id to `help_context` unless that is null. Returns FALSE, with an empty
  // text, when the exception has nothing to say, and when there is no room.
  virtual BOOL GetErrorMessage(char* text, UINT size, UINT* help_context = nullptr);

  // Shows the text to whoever watches the debugger output, with a line feed. Returns 1.
  virtual int ReportError(UINT type = 0, UINT message_id = 0);

 private:
  BOOL m_bAutoDelete = TRUE;
};

namespace tesselkit::platform {

// What a GetErrorMessage does with its text: copies it to the `size` bytes at `destination`, cut
// to whole characters and terminated. FALSE when nothing is there to read afterwards.
TESSELKIT_API BOOL CopyErrorText(std::string_view source, char* destination, UINT size);

}  // namespace tesselkit::platform

// Memory has run out.
class TESSELKIT_API CMemoryException : public CException {
  DECLARE_DYNAMIC(CMemoryException)

 public:
  using CException::CException;
  BOOL GetErrorMessage(char* text, UINT size, UINT* help_context = nullptr) override;
};

// The program passed something that cannot be: an index outside a collection, for example.
class TESSELKIT_API CInvalidArgException : public CException {
  DECLARE_DYNAMIC(CInvalidArgException)

 public:
  using CException::CException;
  BOOL GetErrorMessage(char* text, UINT size, UINT* help_context = nullptr) override;
};

// A file operation failed.
class TESSELKIT_API CFileException : public CException {
  DECLARE_DYNAMIC(CFileException)

 public:
  enum {
    none,
    genericException,
    fileNotFound,
    badPath,
    tooManyOpenFiles,
    accessDenied,
    invalidFile,
    removeCurrentDir,
    directoryFull,
    badSeek,
    hardIO,
    sharingViolation,
    lockViolation,
    diskFull,
    endOfFile
  };

  explicit CFileException(int cause = none, LONG os_error = -1, const char* file_name = nullptr);

  BOOL GetErrorMessage(char* text, UINT size, UINT* help_context = nullptr) override;

  // The cause that an error number of the host stands for.
  static int ErrnoToException(int error_number);

  // Throws the exception for an error number of the host, which becomes m_lOsError.
  [[noreturn]] static void ThrowErrno(int error_number, const char* file_name = nullptr);

  int m_cause;
  LONG m_lOsError;  // the host's error number, or -1
  CString m_strFileName;
};

// An archive cannot be read or written.
class TESSELKIT_API CArchiveException : public CException {
  DECLARE_DYNAMIC(CArchiveException)

 public:
  enum {
    none,
    generic,
    genericException = generic,
    readOnly,
    endOfFile,
    writeOnly,
    badIndex,
    badClass,
    badSchema
  };

  explicit CArchiveException(int cause = none, const char* archive_name = nullptr);

  BOOL GetErrorMessage(char* text, UINT size, UINT* help_context = nullptr) override;

  int m_cause;
  CString m_strFileName;
};

[[noreturn]] TESSELKIT_API void AfxThrowInvalidArgException();
[[noreturn]] TESSELKIT_API void AfxThrowFileException(int cause, LONG os_error = -1,
                                                      const char* file_name = nullptr);
[[noreturn]] TESSELKIT_API void AfxThrowArchiveException(int cause,
                                                         const char* archive_name = nullptr);
