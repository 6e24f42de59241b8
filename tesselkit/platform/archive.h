// The platform's archive: values stored to a file, or loaded from one, through a buffer.
//
//   CArchive archive(&file, CArchive::store);
//   archive << 7L << CString("seven");
//   archive.Close();
//
// An archive stores or loads for its whole life. Its bytes are the same on every machine: values
// one behind the other, the lowest byte first, without marks or gaps. A `long` has four of them.
// The file belongs to the caller, must outlive the archive and is not closed by it.
//
// Failures are thrown: what the file throws, and CArchiveException* with the file's name:
//   readOnly          storing to an archive that loads
//   writeOnly         loading from one that stores
//   endOfFile         fewer bytes are left than the value has
//   genericException  a `long` that needs more than 32 bits; a text of more than 2147483647 bytes
//                     or, for WriteString, 4294967295; an archive that is closed, or whose file has
//                     refused what it was given
//   badSchema         a text in a layout that this platform does not write
// A refused value leaves the archive, and the variable it was meant for, as they were; loading may
// have gone past its first bytes. Once the file has refused a write, what was buffered is given up,
// and every further attempt to store, flush or close fails: nothing is written behind a gap.
// An archive belongs to one thread at a time.
#pragma once

#include <bit>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <memory>
#include <string_view>
#include <type_traits>

#include "tesselkit/platform/cstring.h"
#include "tesselkit/platform/export.h"
#include "tesselkit/platform/scope_exit.h"
#include "tesselkit/platform/types.h"

class CFile;

class TESSELKIT_API CArchive {
 public:
  enum Mode : UINT {
    store = 0,
    load = 1,
    bNoFlushOnDelete = 2,  // the destructor does not close, so that what is buffered is lost
    bNoByteSwap = 4        // changes nothing here
  };

  // Starts at the file's position. `mode` is store or load, with the other flags if wanted. A
  // `buffer` of the caller's of at least 128 bytes is used and must outlive the archive; otherwise
  // the archive has one of its own, of `buffer_size` bytes, but 64 KiB at least. A null file throws
  // CInvalidArgException*.
  CArchive(CFile* file, UINT mode, int buffer_size = 4096, void* buffer = nullptr);

  // Closes, unless bNoFlushOnDelete is set or the file has refused a write. Throws what Close
  // throws, unless the scope is being left by an exception.
  ~CArchive() noexcept(false);

  CArchive(const CArchive&) = delete;
  CArchive& operator=(const CArchive&) = delete;

  BOOL IsLoading() const noexcept { return (m_mode & load) != 0 ? TRUE : FALSE; }
  BOOL IsStoring() const noexcept { return (m_mode & load) == 0 ? TRUE : FALSE; }
  CFile* GetFile() const noexcept { return m_file; }  // null once it is closed

  // `count` bytes as they are. Read returns how many there were; fewer only at the end of the file.
  // `buffer` may be null for no bytes.
  UINT Read(void* buffer, UINT count);
  void Write(const void* buffer, UINT count);

  // Storing: hands what is buffered to the file. Loading: sets the file back to the first byte that
  // was not asked for.
  void Flush();
  // Flushes and lets go of the file, whatever it throws. A closed archive stays closed.
  void Close();
  // Lets go of the file at once; what is buffered is lost. Never throws.
  void Abort() noexcept;

  // Lines of text. WriteString writes the characters of `text`, nothing else. ReadString takes
  // everything up to a line feed, which is dropped together with a carriage return before it.
  // FALSE, with an empty text, when nothing is left to read.
  void WriteString(const char* text);
  BOOL ReadString(CString& text);
  // The same into memory for `max` bytes and a terminator; a longer line goes on with the next
  // call. Returns `text`, or null when nothing is left to read.
  char* ReadString(char* text, UINT max);

  CArchive& operator<<(BYTE value) { return Put(value); }
  CArchive& operator<<(char value) { return Put(static_cast<BYTE>(value)); }
  CArchive& operator<<(WORD value) { return Put(value); }
  CArchive& operator<<(short value) { return Put(static_cast<WORD>(value)); }
  CArchive& operator<<(int value) { return Put(static_cast<DWORD>(value)); }
  CArchive& operator<<(unsigned value) { return Put(static_cast<DWORD>(value)); }
  CArchive& operator<<(long value) { return Put(Narrow<std::int32_t>(value)); }
  CArchive& operator<<(unsigned long value) { return Put(Narrow<std::uint32_t>(value)); }
  CArchive& operator<<(float value) { return Put(std::bit_cast<std::uint32_t>(value)); }
  CArchive& operator<<(double value) { return Put(std::bit_cast<std::uint64_t>(value)); }

  CArchive& operator>>(BYTE& value) { return Get<BYTE>(value); }
  CArchive& operator>>(char& value) { return Get<BYTE>(value); }
  CArchive& operator>>(WORD& value) { return Get<WORD>(value); }
  CArchive& operator>>(short& value) { return Get<WORD>(value); }
  CArchive& operator>>(int& value) { return Get<DWORD>(value); }
  CArchive& operator>>(unsigned& value) { return Get<DWORD>(value); }
  CArchive& operator>>(long& value) { return Get<DWORD, std::int32_t>(value); }
  CArchive& operator>>(unsigned long& value) { return Get<DWORD, std::uint32_t>(value); }
  CArchive& operator>>(float& value) { return GetBits<std::uint32_t>(value); }
  CArchive& operator>>(double& value) { return GetBits<std::uint64_t>(value); }

  // A text is its length and its bytes, NUL bytes included, without a terminator. The length is
  // one byte below 255; else 0xFF and two bytes below 0xFFFE; else 0xFF, 0xFFFF and four bytes.
  CArchive& operator<<(const CString& text);
  CArchive& operator>>(CString& text);

  // The same for texts that are no CString. What ReadCounted returns is in the buffer or, when it
  // is longer than that, in `spare`: good until the archive or `spare` is used again.
  void WriteCounted(std::string_view text);
  std::string_view ReadCounted(CString& spare);

 private:
  static_assert(std::numeric_limits<float>::is_iec559 && sizeof(float) == 4);
  static_assert(std::numeric_limits<double>::is_iec559 && sizeof(double) == 8);

  template <class Narrower, class Value>
  DWORD Narrow(Value value) const {
    if (value != static_cast<Value>(static_cast<Narrower>(value))) ThrowTooWide();
    return static_cast<DWORD>(value);
  }

  template <std::unsigned_integral Value>
  CArchive& Put(Value value) {
    if (static_cast<std::size_t>(m_putEnd - m_put) < sizeof value) MakeRoom();
    BYTE* const place = m_put;
    for (std::size_t i = 0; i < sizeof value; ++i) place[i] = static_cast<BYTE>(value >> (8 * i));
    m_put = place + sizeof value;
    return *this;
  }

  template <std::unsigned_integral Value>
  Value GetValue() {
    if (static_cast<std::size_t>(m_getEnd - m_get) < sizeof(Value)) Require(sizeof(Value));
    const BYTE* const place = m_get;
    m_get = place + sizeof(Value);
    Value value = 0;
    for (std::size_t i = 0; i < sizeof value; ++i) {
      value = static_cast<Value>(value | static_cast<Value>(Value{place[i]} << (8 * i)));
    }
    return value;
  }

  // The stored value, taken for a `Narrower` on its way into the variable.
  template <class Stored, class Narrower = Stored, class Value>
  CArchive& Get(Value& value) {
    value = static_cast<Value>(static_cast<Narrower>(GetValue<Stored>()));
    return *this;
  }
  template <class Stored, class Value>
  CArchive& GetBits(Value& value) {
    value = std::bit_cast<Value>(GetValue<Stored>());
    return *this;
  }

  struct FreeBuffer {
    void operator()(BYTE* buffer) const noexcept { ::operator delete(buffer); }
  };

  [[noreturn]] void Throw(int cause) const;
  [[noreturn]] void ThrowTooWide() const;
  void RequireStoring() const;
  void RequireLoading() const;
  void MakeRoom();
  void Require(std::size_t count);
  std::size_t Refill();
  void FlushBuffer();
  void WriteToFile(const void* bytes, UINT count);
  void WritePrefix(std::size_t length);
  std::size_t ReadPrefix();
  void ReadLong(CString& text, std::size_t length);
  bool TakeLine(CString& line, std::size_t limit);
  std::size_t Buffered() const noexcept { return static_cast<std::size_t>(m_getEnd - m_get); }

  tesselkit::platform::ScopeExit m_scopeExit;
  CFile* m_file;
  UINT m_mode;
  bool m_refused = false;
  std::size_t m_size;  // of the buffer
  BYTE* m_buffer;
  std::unique_ptr<BYTE, FreeBuffer> m_own;

  // The free part of the buffer when storing, the part not yet taken when loading. The other pair
  // is null, and so are both of a closed archive, so that every wrong use leaves the short path.
  BYTE* m_put = nullptr;
  BYTE* m_putEnd = nullptr;
  const BYTE* m_get = nullptr;
  const BYTE* m_getEnd = nullptr;
};
