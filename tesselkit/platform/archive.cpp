#include "tesselkit/platform/archive.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include "tesselkit/platform/allocator.h"
#include "tesselkit/platform/collections.h"
#include "tesselkit/platform/exceptions.h"
#include "tesselkit/platform/file.h"

using tesselkit::platform::Allocator;

namespace {

constexpr std::size_t kSmallestBuffer = 128;
constexpr std::size_t kOwnBuffer = 64 * 1024;

constexpr BYTE kTwoByteLength = 0xFF;
constexpr WORD kFourByteLength = 0xFFFF;
constexpr WORD kWideText = 0xFFFE;
constexpr auto kLongestText = static_cast<std::size_t>(std::numeric_limits<int>::max());

constexpr auto kUnknown = std::numeric_limits<std::uint64_t>::max();

// How many bytes lie between a file's position and its end. A pipe cannot tell.
std::uint64_t BytesLeft(const CFile& file) {
  try {
    const std::uint64_t position = file.GetPosition();
    const std::uint64_t length = file.GetLength();
    return length > position ? length - position : 0;
  } catch (CFileException* exception) {
    exception->Delete();
    return kUnknown;
  }
}

}  // namespace

CArchive::CArchive(CFile* file, UINT mode, int buffer_size, void* buffer)
    : m_file(file),
      m_mode(mode),
      m_size(buffer_size > 0 ? static_cast<std::size_t>(buffer_size) : 0) {
  if (file == nullptr) AfxThrowInvalidArgException();
  if (buffer == nullptr || m_size < kSmallestBuffer) {
    m_size = std::max(m_size, kOwnBuffer);
    m_own.reset(Allocator<BYTE>().allocate(m_size));
    buffer = m_own.get();
  }
  m_buffer = static_cast<BYTE*>(buffer);
  if (IsLoading()) {
    m_get = m_getEnd = m_buffer;
  } else {
    m_put = m_buffer;
    m_putEnd = m_buffer + m_size;
  }
}

CArchive::~CArchive() noexcept(false) {
  if ((m_mode & bNoFlushOnDelete) != 0 || m_refused) return;
  m_scopeExit.Run([this] { Close(); });
}

void CArchive::Throw(int cause) const {
  AfxThrowArchiveException(cause, m_file != nullptr ? m_file->GetFilePath() : CString());
}

void CArchive::ThrowTooWide() const {
  RequireStoring();
  Throw(CArchiveException::genericException);
}

void CArchive::RequireStoring() const {
  if (IsLoading()) Throw(CArchiveException::readOnly);
  if (m_file == nullptr || m_refused) Throw(CArchiveException::genericException);
}

void CArchive::RequireLoading() const {
  if (IsStoring()) Throw(CArchiveException::writeOnly);
  if (m_file == nullptr) Throw(CArchiveException::genericException);
}

void CArchive::WriteToFile(const void* bytes, UINT count) {
  try {
    m_file->Write(bytes, count);
  } catch (...) {
    m_refused = true;
    m_put = m_putEnd = nullptr;
    throw;
  }
}

void CArchive::FlushBuffer() {
  const auto count = static_cast<UINT>(m_put - m_buffer);
  if (count > 0) WriteToFile(m_buffer, count);
  m_put = m_buffer;
}

void CArchive::MakeRoom() {
  RequireStoring();
  FlushBuffer();
}

void CArchive::Write(const void* buffer, UINT count) {
  if (count > static_cast<std::size_t>(m_putEnd - m_put) || m_put == nullptr) MakeRoom();
  if (count > m_size) return WriteToFile(buffer, count);
  if (count == 0) return;
  std::memcpy(m_put, buffer, count);
  m_put += count;
}

// Reads on behind what is in the buffer, which moves to its front.
std::size_t CArchive::Refill() {
  const std::size_t kept = Buffered();
  if (kept > 0) std::memmove(m_buffer, m_get, kept);
  m_get = m_buffer;
  m_getEnd = m_buffer + kept;
  const UINT count = m_file->Read(m_buffer + kept, static_cast<UINT>(m_size - kept));
  m_getEnd += count;
  return count;
}

void CArchive::Require(std::size_t count) {
  RequireLoading();
  while (Buffered() < count) {
    if (Refill() == 0) Throw(CArchiveException::endOfFile);
  }
}

UINT CArchive::Read(void* buffer, UINT count) {
  RequireLoading();
  auto* const bytes = static_cast<BYTE*>(buffer);
  UINT done = 0;
  while (done < count) {
    const UINT wanted = count - done;
    UINT got = 0;
    if (Buffered() == 0 && wanted >= m_size) {
      got = m_file->Read(bytes + done, wanted);
    } else if (Buffered() > 0 || Refill() > 0) {
      got = static_cast<UINT>(std::min<std::size_t>(wanted, Buffered()));
      std::memcpy(bytes + done, m_get, got);
      m_get += got;
    }
    if (got == 0) break;
    done += got;
  }
  return done;
}

void CArchive::Flush() {
  if (IsStoring()) return MakeRoom();
  RequireLoading();
  if (Buffered() > 0) m_file->Seek(-static_cast<long long>(Buffered()), CFile::current);
  m_get = m_getEnd = m_buffer;
}

void CArchive::Close() {
  if (m_file == nullptr) return;
  try {
    Flush();
  } catch (...) {
    Abort();
    throw;
  }
  Abort();
}

void CArchive::Abort() noexcept {
  m_file = nullptr;
  m_put = m_putEnd = nullptr;
  m_get = m_getEnd = nullptr;
}

void CArchive::WriteString(const char* text) {
  const std::string_view characters(text != nullptr ? text : "");
  if (characters.size() > std::numeric_limits<UINT>::max()) ThrowTooWide();
  Write(characters.data(), static_cast<UINT>(characters.size()));
}

// Appends at most `limit` bytes of a line. False when nothing is left to read.
bool CArchive::TakeLine(CString& line, std::size_t limit) {
  RequireLoading();
  bool any = false;
  while (limit > 0 && (Buffered() > 0 || Refill() > 0)) {
    any = true;
    const std::string_view ahead(reinterpret_cast<const char*>(m_get), std::min(Buffered(), limit));
    const std::size_t length = std::min(ahead.find('\n'), ahead.size());
    line.Append(ahead.substr(0, length));
    m_get += length;
    limit -= length;
    if (length == ahead.size()) continue;
    ++m_get;
    if (line.View().ends_with('\r')) line = line.Left(line.GetLength() - 1);
    break;
  }
  return any;
}

BOOL CArchive::ReadString(CString& text) {
  CString line;
  const bool any = TakeLine(line, std::numeric_limits<std::size_t>::max());
  text = std::move(line);
  return any ? TRUE : FALSE;
}

char* CArchive::ReadString(char* text, UINT max) {
  CString line;
  const bool any = TakeLine(line, max);
  std::memcpy(text, static_cast<const char*>(line), line.View().size() + 1);
  return any ? text : nullptr;
}

CArchive& CArchive::operator<<(const CString& text) {
  WriteCounted(text.View());
  return *this;
}

CArchive& CArchive::operator>>(CString& text) {
  CString spare;
  const std::string_view view = ReadCounted(spare);
  if (spare.IsEmpty()) spare = CString(view);
  text = std::move(spare);
  return *this;
}

void CArchive::WriteCounted(std::string_view text) {
  if (text.size() > kLongestText) ThrowTooWide();
  WritePrefix(text.size());
  Write(text.data(), static_cast<UINT>(text.size()));
}

void CArchive::WritePrefix(std::size_t length) {
  if (length < kTwoByteLength) {
    *this << static_cast<BYTE>(length);
  } else if (length < kWideText) {
    *this << kTwoByteLength << static_cast<WORD>(length);
  } else {
    *this << kTwoByteLength << kFourByteLength << static_cast<DWORD>(length);
  }
}

std::size_t CArchive::ReadPrefix() {
  const auto first = GetValue<BYTE>();
  if (first != kTwoByteLength) return first;
  const auto second = GetValue<WORD>();
  if (second == kWideText) Throw(CArchiveException::badSchema);
  return second != kFourByteLength ? second : GetValue<DWORD>();
}

std::string_view CArchive::ReadCounted(CString& spare) {
  const std::size_t length = ReadPrefix();
  if (length > m_size) {
    ReadLong(spare, length);
    return spare.View();
  }
  if (length > Buffered()) Require(length);
  const std::string_view text(reinterpret_cast<const char*>(m_get), length);
  m_get += length;
  return text;
}

// A text that is longer than the buffer. The length is foreign: no more memory is taken than the
// file has bytes or, when it cannot tell, than twice as much as has come out of it.
void CArchive::ReadLong(CString& text, std::size_t length) {
  const std::uint64_t left = BytesLeft(*m_file);
  if (left != kUnknown && length > Buffered() + left) Throw(CArchiveException::endOfFile);
  if (length > kLongestText) Throw(CArchiveException::genericException);
  std::size_t done = 0;
  std::size_t room = left != kUnknown ? length : m_size;
  while (done < length) {
    const std::size_t end = std::min(length, room);
    char* const bytes = text.GetBufferSetLength(static_cast<int>(end));
    const auto wanted = static_cast<UINT>(end - done);
    if (Read(bytes + done, wanted) < wanted) Throw(CArchiveException::endOfFile);
    done = end;
    room *= 2;
  }
}
