#include "tesselkit/platform/stdio_file.h"

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "tesselkit/platform/allocator.h"

IMPLEMENT_DYNAMIC(CStdioFile, CFile)

// Either bytes that were read ahead, of which [begin, end) are still to be taken, or bytes [0, end)
// that are still to be written.
struct CStdioFile::Block {
  static constexpr std::size_t kSize = std::size_t{64} * 1024 - 64;

  std::size_t Unread() const { return writing ? 0 : end - begin; }
  std::size_t Pending() const { return writing ? end : 0; }
  const char* Next() const { return bytes + begin; }
  void Reset(bool to_write) {
    begin = 0;
    end = 0;
    writing = to_write;
  }

  std::size_t begin;
  std::size_t end;
  bool writing;
  char bytes[kSize];
};

void CStdioFile::BlockDeleter::operator()(Block* block) const noexcept {
  tesselkit::platform::Allocator<Block>().deallocate(block, 1);
}

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

BOOL CStdioFile::ReadString(CString& line) {
  line.Empty();
  Block& block = Reading();
  for (;;) {
    std::string_view piece(block.Next(), block.Unread());
    const std::size_t line_feed = piece.find('\n');
    if (line_feed == std::string_view::npos) {
      line.Append(piece);
      block.begin = block.end;
      if (!Fill(block)) return line.IsEmpty() ? FALSE : TRUE;
      continue;
    }
    block.begin += line_feed + 1;
    piece = piece.substr(0, line_feed);
    if (m_text && piece.ends_with('\r')) piece.remove_suffix(1);
    // The line feed may have come in a later block than the carriage return before it.
    if (m_text && line_feed == 0 && line.View().ends_with('\r'))
      line = line.Left(line.GetLength() - 1);
    line.Append(piece);
    return TRUE;
  }
}

char* CStdioFile::ReadString(char* text, UINT count) {
  if (count == 0) return nullptr;
  const UINT length = Take(text, count - 1, true);
  text[length] = '\0';
  return length > 0 ? text : nullptr;
}

void CStdioFile::WriteString(const char* text) {
  if (text != nullptr) Append(text);
}

UINT CStdioFile::Read(void* buffer, UINT count) {
  return Take(static_cast<char*>(buffer), count, false);
}

void CStdioFile::Write(const void* buffer, UINT count) {
  if (count > 0) Append({static_cast<const char*>(buffer), count});
}

// Translates up to `count` bytes into `to`, with `one_line` only up to the first line feed.
UINT CStdioFile::Take(char* to, UINT count, bool one_line) {
  Block& block = Reading();
  UINT taken = 0;
  while (taken < count) {
    const std::size_t run = NextRun(block, count - taken);
    if (run == 0) break;
    std::string_view bytes(block.Next(), run);
    const std::size_t line_feed = one_line ? bytes.find('\n') : std::string_view::npos;
    if (line_feed != std::string_view::npos) bytes = bytes.substr(0, line_feed + 1);
    std::memcpy(to + taken, bytes.data(), bytes.size());
    taken += static_cast<UINT>(bytes.size());
    block.begin += bytes.size();
    if (line_feed != std::string_view::npos) break;
  }
  return taken;
}

// How many of the next bytes, `limit` at most, are passed on as they are; 0 at the end of the file.
std::size_t CStdioFile::NextRun(Block& block, std::size_t limit) {
  if (block.Unread() == 0 && !Fill(block)) return 0;
  if (!m_text) return std::min(limit, block.Unread());
  if (*block.Next() == '\r') {
    if (block.Unread() == 1) Fill(block);
    if (block.Unread() == 1 || block.Next()[1] != '\n') return 1;
    ++block.begin;
  }
  const std::string_view bytes(block.Next(), std::min(limit, block.Unread()));
  return std::min(bytes.find('\r'), bytes.size());
}

void CStdioFile::Append(std::string_view bytes) {
  Block& block = Writing();
  const auto put = [&](std::string_view piece) {
    while (!piece.empty()) {
      const std::size_t length = std::min(piece.size(), Block::kSize - block.end);
      std::memcpy(block.bytes + block.end, piece.data(), length);
      block.end += length;
      piece.remove_prefix(length);
      if (block.end == Block::kSize) WritePending();
    }
  };
  while (m_text) {
    const std::size_t line_feed = bytes.find('\n');
    if (line_feed == std::string_view::npos) break;
    put(bytes.substr(0, line_feed));
    put("\r\n");
    bytes.remove_prefix(line_feed + 1);
  }
  put(bytes);
}

CStdioFile::Block& CStdioFile::Reading() {
  if (m_hFile == hFileNull) ThrowErrno(EBADF);
  if (m_block == nullptr) {
    m_block.reset(tesselkit::platform::Allocator<Block>().allocate(1));
    m_block->Reset(false);
  }
  WritePending();
  m_block->writing = false;
  return *m_block;
}

CStdioFile::Block& CStdioFile::Writing() {
  StopReading();
  Block& block = m_block != nullptr ? *m_block : Reading();
  if (!block.writing) block.Reset(true);
  return block;
}

// Reads on behind what is still to be taken. False at the end of the file.
bool CStdioFile::Fill(Block& block) {
  std::memmove(block.bytes, block.Next(), block.Unread());
  block.end -= block.begin;
  block.begin = 0;
  const UINT length =
      ReadSome(block.bytes + block.end, static_cast<UINT>(Block::kSize - block.end));
  block.end += length;
  return length > 0;
}

void CStdioFile::WritePending() {
  if (m_block == nullptr || m_block->Pending() == 0) return;
  const std::size_t length = m_block->Pending();
  // Before the write: what could not be written is not tried again.
  m_block->end = 0;
  CFile::Write(m_block->bytes, static_cast<UINT>(length));
}

// Puts the host's position back to where this file's is.
void CStdioFile::StopReading() {
  if (m_block == nullptr || m_block->Unread() == 0) return;
  CFile::Seek(-static_cast<long long>(m_block->Unread()), current);
  m_block->Reset(false);
}

long long CStdioFile::Seek(long long offset, UINT from) {
  CStdioFile::Flush();
  return CFile::Seek(offset, from);
}

unsigned long long CStdioFile::GetPosition() const {
  const unsigned long long position = CFile::GetPosition();
  return m_block == nullptr ? position : position - m_block->Unread() + m_block->Pending();
}

unsigned long long CStdioFile::GetLength() const {
  const unsigned long long length = CFile::GetLength();
  const bool pending = m_block != nullptr && m_block->Pending() > 0;
  return pending ? std::max(length, CStdioFile::GetPosition()) : length;
}

void CStdioFile::SetLength(unsigned long long length) {
  CStdioFile::Flush();
  CFile::SetLength(length);
}

void CStdioFile::Flush() {
  WritePending();
  StopReading();
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
