#include "tesselkit/platform/stdio_file.h"

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "tesselkit/platform/stream_block.h"

using tesselkit::platform::StreamBlock;

IMPLEMENT_DYNAMIC(CStdioFile, CFile)

CStdioFile::CStdioFile() = default;

CStdioFile::CStdioFile(const char* name, UINT flags)
    : CFile(name, flags), m_text((flags & typeBinary) == 0) {}

CStdioFile::~CStdioFile() {
  if (IsInherited()) return;
  try {
    WritePending();
  } catch (CException* exception) {
    exception->Delete();
  }
}

BOOL CStdioFile::Open(const char* name, UINT flags, CFileException* error) {
  if (!CFile::Open(name, flags, error)) return FALSE;
  m_text = (flags & typeBinary) == 0;
  return TRUE;
}

bool CStdioFile::NextLine(std::string_view& line) {
  StreamBlock& block = Reading();
  std::size_t length = 0;
  for (std::size_t searched = 0;;) {
    length = block.Unread().find('\n', searched);
    if (length != std::string_view::npos) break;
    searched = block.Unread().size();
    if (Fill(block)) continue;
    line = block.Unread();
    block.Skip(searched);
    return searched > 0;
  }
  line = block.Unread().substr(0, length);
  block.Skip(length + 1);
  if (m_text && line.ends_with('\r')) line.remove_suffix(1);
  return true;
}

BOOL CStdioFile::ReadString(CString& line) {
  line.Empty();
  std::string_view bytes;
  if (!NextLine(bytes)) return FALSE;
  line = CString(bytes);
  return TRUE;
}

char* CStdioFile::ReadString(char* text, UINT count) {
  if (count == 0) return nullptr;
  const UINT length = Take(text, count - 1, true);
  text[length] = '\0';
  return length > 0 ? text : nullptr;
}

inline void CStdioFile::Append(StreamBlock& block, std::string_view bytes) {
  if (m_text) {
    for (std::size_t line_feed; (line_feed = bytes.find('\n')) != std::string_view::npos;) {
      Put(block, bytes.substr(0, line_feed));
      Put(block, "\r\n");
      bytes.remove_prefix(line_feed + 1);
    }
  }
  Put(block, bytes);
}

inline void CStdioFile::Put(StreamBlock& block, std::string_view bytes) {
  for (;;) {
    bytes.remove_prefix(block.Put(bytes));
    if (bytes.empty()) return;
    WritePending();
  }
}

void CStdioFile::WriteString(const char* text) {
  if (text != nullptr) Append(Writing(), text);
}

void CStdioFile::WriteLine(std::string_view line) {
  StreamBlock& block = Writing();
  Append(block, line);
  Put(block, m_text ? "\r\n" : "\n");
}

UINT CStdioFile::Read(void* buffer, UINT count) {
  return Take(static_cast<char*>(buffer), count, false);
}

void CStdioFile::Write(const void* buffer, UINT count) {
  if (count > 0) Append(Writing(), {static_cast<const char*>(buffer), count});
}

// Translates up to `count` bytes into `to`, with `one_line` only up to the first line feed.
UINT CStdioFile::Take(char* to, UINT count, bool one_line) {
  StreamBlock& block = Reading();
  UINT taken = 0;
  for (bool at_line_end = false; taken < count && !at_line_end;) {
    std::string_view run = NextRun(block, count - taken);
    if (run.empty()) break;
    const std::size_t line_feed = one_line ? run.find('\n') : std::string_view::npos;
    at_line_end = line_feed != std::string_view::npos;
    if (at_line_end) run = run.substr(0, line_feed + 1);
    std::memcpy(to + taken, run.data(), run.size());
    taken += static_cast<UINT>(run.size());
    block.Skip(run.size());
  }
  return taken;
}

// The next bytes that are passed on as they are, `limit` at most; none at the end of the file.
std::string_view CStdioFile::NextRun(StreamBlock& block, std::size_t limit) {
  if (block.Unread().empty() && !Fill(block)) return {};
  if (!m_text) return block.Unread().substr(0, limit);
  if (block.Unread().front() == '\r') {
    if (block.Unread().size() == 1) Fill(block);
    if (!block.Unread().starts_with("\r\n")) return block.Unread().substr(0, 1);
    block.Skip(1);
  }
  const std::string_view bytes = block.Unread().substr(0, limit);
  return bytes.substr(0, bytes.find('\r'));
}

StreamBlock& CStdioFile::Reading() {
  if (m_block == nullptr || m_block->IsWriting()) TurnTo(false);
  return *m_block;
}

StreamBlock& CStdioFile::Writing() {
  if (m_block == nullptr || !m_block->IsWriting()) TurnTo(true);
  return *m_block;
}

void CStdioFile::TurnTo(bool writing) {
  if (m_hFile == hFileNull) ThrowErrno(EBADF);
  if (m_block == nullptr) m_block = std::make_unique<StreamBlock>();
  CStdioFile::Flush();
  m_block->Reset(writing);
}

// Reads on behind what is still to be taken. False at the end of the file.
bool CStdioFile::Fill(StreamBlock& block) {
  constexpr std::size_t kMost = std::size_t{1} << 30;
  char* const room = block.MakeRoom();
  const UINT length = ReadSome(room, static_cast<UINT>(std::min(block.Room(), kMost)));
  block.Added(length);
  return length > 0;
}

void CStdioFile::WritePending() {
  if (m_block == nullptr || m_block->Pending().empty()) return;
  const std::string_view pending = m_block->Pending();
  // Before the write: what could not be written is not tried again.
  m_block->Reset(true);
  CFile::Write(pending.data(), static_cast<UINT>(pending.size()));
}

long long CStdioFile::Seek(long long offset, UINT from) {
  CStdioFile::Flush();
  return CFile::Seek(offset, from);
}

unsigned long long CStdioFile::GetPosition() const {
  const unsigned long long position = CFile::GetPosition();
  if (m_block == nullptr) return position;
  return position - m_block->Unread().size() + m_block->Pending().size();
}

unsigned long long CStdioFile::GetLength() const {
  const unsigned long long length = CFile::GetLength();
  const bool pending = m_block != nullptr && !m_block->Pending().empty();
  return pending ? std::max(length, CStdioFile::GetPosition()) : length;
}

void CStdioFile::SetLength(unsigned long long length) {
  CStdioFile::Flush();
  CFile::SetLength(length);
}

void CStdioFile::Flush() {
  WritePending();
  if (m_block == nullptr || m_block->Unread().empty()) return;
  // The host's position goes back to where this file's is.
  CFile::Seek(-static_cast<long long>(m_block->Unread().size()), current);
  m_block->Reset(false);
}

void CStdioFile::Close() {
  try {
    WritePending();
  } catch (...) {
    CStdioFile::Abort();
    throw;
  }
  m_block.reset();
  CFile::Close();
}

void CStdioFile::Abort() {
  m_block.reset();
  CFile::Abort();
}
