#include "tesselkit/util/text_file.h"

#include <algorithm>
#include <string_view>

#include "tesselkit/platform/file.h"

namespace {

// Makes room for as many lines as the ones read so far promise for the whole file, and an eighth
// more, since growing at the very end would cost the most. Where lines are very short, or very
// many, the array has to grow later, so that a misleading beginning wastes little.
void MakeRoom(CStringArray& lines, const CStdioFile& file) {
  constexpr unsigned long long kShortestLine = 16;
  constexpr unsigned long long kMostLines = 8 << 20;
  const unsigned long long length = file.GetLength();
  if (length == 0) return;  // a pipe, which has no position either
  const unsigned long long left = length - std::min(length, file.GetPosition());
  const unsigned long long bytes_a_line =
      std::max(file.GetPosition() / static_cast<unsigned>(lines.GetSize()), kShortestLine);
  const unsigned long long expected = left / bytes_a_line;
  const auto room = std::min(expected + expected / 8, kMostLines);
  try {
    if (room > 0) lines.SetSize(lines.GetSize(), static_cast<int>(room));
  } catch (CMemoryException* exception) {  // the lines may need far less
    exception->Delete();
  }
}

// Writes a file anew over the bytes that are there: emptying it first costs the disk far more.
// Whichever way the scope is left, nothing of the old content stays.
class Rewriter {
 public:
  explicit Rewriter(const char* path)
      : m_file(path,
               CFile::modeCreate | CFile::modeNoTruncate | CFile::modeWrite | CFile::typeText),
        m_old_length(m_file.GetLength()) {}

  ~Rewriter() {
    if (m_file.m_hFile == CFile::hFileNull) return;
    try {
      Cut();
    } catch (CException* exception) {
      exception->Delete();
    }
  }

  void WriteLine(const CString& line) { m_file.WriteLine(line.View()); }

  // What is still to be written may fail: only then does it show where the new content ends.
  void Close() {
    m_file.Flush();
    Cut();
    m_file.Close();
  }

 private:
  void Cut() {
    if (m_old_length > 0 && m_old_length > m_file.GetPosition()) {
      m_file.SetLength(m_file.GetPosition());
    }
  }

  CStdioFile m_file;
  unsigned long long m_old_length;
};

}  // namespace

void AdGetTextFile(const char* path, CStringArray& lines) {
  constexpr int kTypicalLines = 512;
  const CString name(path);  // which may be one of the lines
  lines.RemoveAll();
  CStdioFile file(name, CFile::modeRead | CFile::typeText);
  for (std::string_view line; file.NextLine(line);) {
    lines.Add(CString(line));
    if (lines.GetSize() == kTypicalLines) MakeRoom(lines, file);
  }
  file.Close();
}

void AdWriteTextFile(const char* path, CStringArray& lines, int) {
  Rewriter file(path);
  for (int i = 0; i < lines.GetSize(); ++i) file.WriteLine(lines[i]);
  file.Close();
}
