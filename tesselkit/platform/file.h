// Files of the host behind the platform's file class, and the text file derived from it.
//
// Both `\` and `/` separate the components of a file name, by characters of the code page; all
// else of a name reaches the host as the bytes it is. A null name counts as an empty one, which no
// file has.
// An opener holds a regular file in the way its share flags say until it closes it; no other
// opener of this layer, in any process, gets in its way meanwhile.
// Every failure is a CFileException* with its cause, the host's error number and the file's name.
// An object belongs to one thread at a time.
#pragma once

#include "tesselkit/platform/cobject.h"
#include "tesselkit/platform/cstring.h"
#include "tesselkit/platform/exceptions.h"
#include "tesselkit/platform/export.h"
#include "tesselkit/platform/types.h"

// An unbuffered file of bytes. typeText and typeBinary change nothing here.
class TESSELKIT_API CFile : public CObject {
  DECLARE_DYNAMIC(CFile)

 public:
  enum OpenFlags : UINT {
    modeRead = 0x0000,
    modeWrite = 0x0001,
    modeReadWrite = 0x0002,

    // What other openers may do meanwhile. Without a flag the use is exclusive.
    shareCompat = 0x0000,
    shareExclusive = 0x0010,
    shareDenyWrite = 0x0020,
    shareDenyRead = 0x0030,
    shareDenyNone = 0x0040,

    modeNoInherit = 0x0080,   // always so: no program that is started gets the descriptor
    modeCreate = 0x1000,      // makes a missing file, and empties one that is there
    modeNoTruncate = 0x2000,  // with modeCreate: what is there stays
    typeText = 0x4000,
    typeBinary = 0x8000
  };
  enum SeekPosition : UINT { begin = 0, current = 1, end = 2 };
  enum { hFileNull = -1 };

  CFile() = default;
  // Works on a descriptor of the caller's, without a hold on its file. Only Close closes it, the
  // destructor does not.
  explicit CFile(int descriptor);
  // Opens; throws what Open reports.
  CFile(const char* name, UINT flags);
  // Closes an open file. What fails then is lost: who wants to hear of it calls Close.
  ~CFile() override;

  // Opens a file; the object must have none open (CInvalidArgException* otherwise, and for an
  // access mode that does not exist). An existing file is emptied only when the hold on it has been
  // had. FALSE on failure, which is then described in `error` unless that is null.
  // CFileException::sharingViolation: another opener is in the way; accessDenied: it is a
  // directory, or the host forbids it.
  virtual BOOL Open(const char* name, UINT flags, CFileException* error = nullptr);

  // Reads up to `count` bytes and returns how many there were; fewer only at the end of the file.
  virtual UINT Read(void* buffer, UINT count);
  // Writes all of it. After a failure the bytes that could be written are in the file.
  virtual void Write(const void* buffer, UINT count);

  // Moves to `offset` bytes from `from`, one of SeekPosition, and returns the new position from the
  // beginning. A place before the beginning throws badSeek.
  virtual long long Seek(long long offset, UINT from);
  void SeekToBegin() { Seek(0, begin); }
  unsigned long long SeekToEnd() { return static_cast<unsigned long long>(Seek(0, end)); }

  virtual unsigned long long GetPosition() const;
  virtual unsigned long long GetLength() const;
  // Cuts the file, or lengthens it with zero bytes, and moves to its new end.
  virtual void SetLength(unsigned long long length);

  // Hands what is buffered to the host, which writes it to the disk when it sees fit.
  virtual void Flush();
  // Flushes, gives the hold up and closes. Whatever it throws, the file is closed afterwards. A
  // file that is not open stays so.
  virtual void Close();
  // Closes without flushing; never throws.
  virtual void Abort();

  // The last component of the file's name; the whole of it from the root; empty before Open.
  virtual CString GetFileName() const;
  virtual CString GetFilePath() const;
  virtual void SetFilePath(const char* path);

  // Gives a file another name, which must not be taken, and removes a file. A file that somebody
  // holds open throws sharingViolation.
  static void Rename(const char* old_name, const char* new_name);
  static void Remove(const char* name);

  // The descriptor, or hFileNull.
  int m_hFile = hFileNull;

 protected:
  [[noreturn]] void ThrowErrno(int error_number) const;
  // Up to `count` bytes, as many as the host has at once; 0 at the end.
  UINT ReadSome(void* buffer, UINT count);
  // Whether the file was opened before this process was forked off, so that the hold on it, and
  // what was buffered at that time, belong to the parent.
  bool IsInherited() const;

  CString m_strFileName;
  BOOL m_bCloseOnDelete = TRUE;

 private:
  int TryOpen(const char* name, UINT flags);
  int Prepare(int descriptor, UINT flags);
  int Release();

  UINT m_flags = 0;
  bool m_holds = false;
  int m_process = 0;  // the one that opened the file
};

#include "tesselkit/platform/mem_file.h"
#include "tesselkit/platform/stdio_file.h"
