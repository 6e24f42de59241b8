#include "tesselkit/platform/mem_file.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <utility>

#include "tesselkit/platform/collections.h"

IMPLEMENT_DYNAMIC(CMemFile, CFile)

namespace {

constexpr std::size_t kMostBytes = std::numeric_limits<std::ptrdiff_t>::max() / 2;

}  // namespace

CMemFile::CMemFile(UINT grow_by) : m_growBy(grow_by) {}

CMemFile::CMemFile(BYTE* memory, UINT size, UINT grow_by) : m_growBy(grow_by) {
  Attach(memory, size, grow_by);
}

CMemFile::~CMemFile() {
  CMemFile::Abort();
}

void CMemFile::Attach(BYTE* memory, UINT size, UINT grow_by) {
  if (m_memory != nullptr || (memory == nullptr && size > 0)) AfxThrowInvalidArgException();
  m_memory = memory;
  m_capacity = size;
  m_length = grow_by == 0 ? size : 0;
  m_position = 0;
  m_growBy = grow_by;
  m_owned = false;
}

BYTE* CMemFile::Detach() noexcept {
  m_capacity = m_length = m_position = 0;
  m_owned = true;
  return std::exchange(m_memory, nullptr);
}

void CMemFile::Reserve(std::size_t size) {
  if (size <= m_capacity) return;
  if (m_growBy == 0) ThrowErrno(ENOSPC);
  if (size > kMostBytes) AfxThrowMemoryException();
  const std::size_t capacity = std::max({size, m_capacity + m_growBy, m_capacity * 2});
  void* const memory = std::realloc(m_memory, capacity);
  if (memory == nullptr) AfxThrowMemoryException();
  m_memory = static_cast<BYTE*>(memory);
  m_capacity = capacity;
}

UINT CMemFile::Read(void* buffer, UINT count) {
  if (m_position >= m_length) return 0;
  const auto taken = static_cast<UINT>(std::min<std::size_t>(count, m_length - m_position));
  if (taken > 0) std::memcpy(buffer, m_memory + m_position, taken);
  m_position += taken;
  return taken;
}

void CMemFile::Write(const void* buffer, UINT count) {
  if (count == 0) return;
  Reserve(m_position + count);
  if (m_position > m_length) std::memset(m_memory + m_length, 0, m_position - m_length);
  std::memcpy(m_memory + m_position, buffer, count);
  m_position += count;
  m_length = std::max(m_length, m_position);
}

long long CMemFile::Seek(long long offset, UINT from) {
  const std::size_t base = from == begin ? 0 : from == current ? m_position : m_length;
  long long place = 0;
  if (from > end || __builtin_add_overflow(static_cast<long long>(base), offset, &place) ||
      place < 0) {
    ThrowErrno(EINVAL);
  }
  m_position = static_cast<std::size_t>(place);
  return place;
}

unsigned long long CMemFile::GetPosition() const {
  return m_position;
}

unsigned long long CMemFile::GetLength() const {
  return m_length;
}

void CMemFile::SetLength(unsigned long long length) {
  const auto wanted = static_cast<std::size_t>(length);
  Reserve(wanted);
  if (wanted > m_length) std::memset(m_memory + m_length, 0, wanted - m_length);
  m_length = m_position = wanted;
}

void CMemFile::Flush() {}

void CMemFile::Close() {
  Abort();
}

void CMemFile::Abort() {
  const bool owned = m_owned;
  BYTE* const memory = Detach();
  if (owned) std::free(memory);
}
