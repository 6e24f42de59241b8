// A file that is kept in memory.
//
// Its memory comes from malloc and belongs to the file, unless it was attached. It grows as it is
// written, by `grow_by` bytes at least; a file with a `grow_by` of 0 does not, and writing past its
// memory throws CFileException::diskFull. Memory that runs out throws CMemoryException*. Either
// way the file stays as it was.
// Included by file.h.
#pragma once

#include <cstddef>

#include "tesselkit/platform/file.h"

class TESSELKIT_API CMemFile : public CFile {
  DECLARE_DYNAMIC(CMemFile)

 public:
  // An empty file.
  explicit CMemFile(UINT grow_by = 1024);
  // Attaches memory.
  CMemFile(BYTE* memory, UINT size, UINT grow_by = 0);
  // Frees the memory, unless it was attached.
  ~CMemFile() override;

  // Works on memory of the caller's; the file must have none (CInvalidArgException* otherwise).
  // With a `grow_by` of 0 its bytes are the file. Otherwise the file is empty and the memory, which
  // then must be malloc's, may be moved as the file grows: Detach tells where it is.
  void Attach(BYTE* memory, UINT size, UINT grow_by = 0);
  // Hands the memory over to the caller, who frees what came from malloc. Null when there is none.
  // The file is empty afterwards.
  BYTE* Detach() noexcept;

  UINT Read(void* buffer, UINT count) override;
  void Write(const void* buffer, UINT count) override;
  // A place behind the end is allowed: what is written there has zero bytes before it.
  long long Seek(long long offset, UINT from) override;
  unsigned long long GetPosition() const override;
  unsigned long long GetLength() const override;
  void SetLength(unsigned long long length) override;
  void Flush() override;
  // These two free the memory as the destructor does, and leave an empty file.
  void Close() override;
  void Abort() override;

 private:
  void Reserve(std::size_t size);

  BYTE* m_memory = nullptr;
  std::size_t m_capacity = 0;
  std::size_t m_length = 0;
  std::size_t m_position = 0;
  std::size_t m_growBy;
  bool m_owned = true;
};
