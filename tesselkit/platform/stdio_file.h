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

namespace tesselkit::platform {
class StreamBlock;
}

class TESSELKIT_API CStdioFile : public CFile {
  DECLARE_DYNAMIC(CStdioFile)

 public:
  CStdioFile();
  CStdioFile(const char* name, UINT flags);
  // Writes what is buffered and closes; what fails then is lost. In a process that was forked off
  // after Open, what is buffered is left to the parent.
  ~CStdioFile() override;

  BOOL Open(const char* name, UINT flags, CFileException* error = nullptr) override;

  // Reads a line without its line end. FALSE when the file is at its end. `line` is empty then, and
  // when a read error throws.
  virtual BOOL ReadString(CString& line);
  // Reads to the end of the line, its LF included, but at most `count` - 1 bytes, and terminates
  // them. Returns `text`; null when the file is at its end or `count` is 0.
  virtual char* ReadString(char* text, UINT count);
  // Writes a text; null writes nothing. No line end is added.
  virtual void WriteString(const char* text);

  // The same line as ReadString's without a copy: good until the next call on this file. False at
  // the end of the file.
  bool NextLine(std::string_view& line);

  // Writes bytes, and a line feed behind them.
  void WriteLine(std::string_view line);

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
  using StreamBlock = tesselkit::platform::StreamBlock;

  StreamBlock& Reading();
  StreamBlock& Writing();
  void TurnTo(bool writing);
  bool Fill(StreamBlock& block);
  UINT Take(char* to, UINT count, bool one_line);
  std::string_view NextRun(StreamBlock& block, std::size_t limit);
  void Append(StreamBlock& block, std::string_view bytes);
  void Put(StreamBlock& block, std::string_view bytes);
  void WritePending();

  std::unique_ptr<StreamBlock> m_block;
  bool m_text = true;
};
