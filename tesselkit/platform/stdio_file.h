// A buffered file that reads and writes by lines.
//
// In text mode, the default, a line ends in CR LF on disk and in LF in memory: reading drops the
// CR directly before an LF and leaves every other CR, writing puts a CR before every LF. With
// typeBinary bytes pass as they are. Positions and lengths are those of the bytes on disk, with
// what is still buffered counted in. Lines may have any length and hold any byte.
// Included by file.h.
#pragma once

#include <cstddef>
#include <memory>
#include <string_view>

#include "tesselkit/platform/file.h"

class TESSELKIT_API CStdioFile : public CFile {
  DECLARE_DYNAMIC(CStdioFile)

 public:
  CStdioFile() = default;
  CStdioFile(const char* name, UINT flags);
  // Writes what is buffered and closes; what fails then is lost. In a process that was forked off
  // after Open, what is buffered is left to the parent.
  ~CStdioFile() override;

  BOOL Open(const char* name, UINT flags, CFileException* error = nullptr) override;

  // Reads a line without its line end. FALSE, with an empty `line`, when the file is at its end.
  // When a read error throws, `line` holds what was read of it.
  virtual BOOL ReadString(CString& line);
  // Reads to the end of the line, its LF included, but at most `count` - 1 bytes, and terminates
  // them. Returns `text`; null when the file is at its end or `count` is 0.
  virtual char* ReadString(char* text, UINT count);
  // Writes a text; null writes nothing. No line end is added.
  virtual void WriteString(const char* text);

  // Bytes as they are in memory: `count` and the result count an LF for CR LF in text mode.
  UINT Read(void* buffer, UINT count) override;
  void Write(const void* buffer, UINT count) override;

  long long Seek(long long offset, UINT from) override;
  unsigned long long GetPosition() const override;
  unsigned long long GetLength() const override;
  void SetLength(unsigned long long length) override;
  void Flush() override;
  void Close() override;
  void Abort() override;

 private:
  struct Block;
  struct BlockDeleter {
    void operator()(Block* block) const noexcept;
  };

  Block& Reading();
  Block& Writing();
  bool Fill(Block& block);
  UINT Take(char* to, UINT count, bool one_line);
  std::size_t NextRun(Block& block, std::size_t limit);
  void Append(std::string_view bytes);
  void WritePending();
  void StopReading();

  std::unique_ptr<Block, BlockDeleter> m_block;
  bool m_text = true;
};
