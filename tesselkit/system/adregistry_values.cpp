#include <algorithm>
#include <array>
#include <cstdio>
#include <cstring>
#include <limits>
#include <memory>
#include <new>
#include <string_view>

#include "tesselkit/failure/condition.h"
#include "tesselkit/system/adregistry.h"

namespace {

constexpr char kSourceName[] = "adregistry";

constexpr std::size_t kFixedSize = 2048;

// The room of a name that is listed.
using NameBuffer = std::array<char, 2048>;

DWORD DwordOf(unsigned long number) {
  return static_cast<DWORD>(std::min<unsigned long>(number, std::numeric_limits<DWORD>::max()));
}

// Zeros, and one more behind them, so that whatever is read into it ends with a NUL.
class ValueBuffer {
 public:
  explicit ValueBuffer(std::size_t size)
      : m_pBytes(new (std::nothrow) unsigned char[size + 1]()), m_size(size) {
    AD_CHECK(m_pBytes != 0);
  }

  unsigned char* Bytes() const { return m_pBytes.get(); }
  unsigned long Size() const { return m_size; }

 private:
  const std::unique_ptr<unsigned char[]> m_pBytes;
  const std::size_t m_size;
};

struct FixedBuffer {
  unsigned char* Bytes() { return m_bytes; }
  static constexpr unsigned long Size() { return kFixedSize; }

  unsigned char m_bytes[kFixedSize + 1] = {};
};

// What a value holds. A NUL stands behind its bytes.
struct Value {
  const char* Text() const { return reinterpret_cast<const char*>(bytes); }

  // The `index`th DWORD; what its bytes lack counts as zeros.
  DWORD Word(std::size_t index = 0) const {
    DWORD word = 0;
    const std::size_t at = index * sizeof word;
    std::memcpy(&word, bytes + at, std::min<std::size_t>(sizeof word, size - at));
    return word;
  }
  std::size_t WholeWords() const { return size / sizeof(DWORD); }

  AdRegistry::KeyValueTypes type = AdRegistry::kNoType;
  const unsigned char* bytes = nullptr;
  unsigned long size = 0;
};

bool Holds(const char* text, int& number) {
  return std::sscanf(text, "%d", &number) == 1;
}

CString TextOf(DWORD number) {
  CString text;
  text.Format("%d", static_cast<int>(number));
  return text;
}

void Put(CStringArray& values, const char* text) {
  values.Add(text);
}

void Put(CStringArray& values, DWORD number) {
  values.Add(TextOf(number));
}

void Put(CDWordArray& values, DWORD number) {
  values.Add(number);
}

void Put(CDWordArray& values, const char* text) {
  int number = 0;
  if (!Holds(text, number)) AD_CHECK(0);
  values.Add(static_cast<DWORD>(number));
}

template <class Array>
void PutTexts(Array& values, const Value& value) {
  const char* const end = value.Text() + value.size;
  for (const char* text = value.Text(); text < end && *text != '\0';
       text += std::strlen(text) + 1) {
    Put(values, text);
  }
}

template <class Array>
void PutAll(Array& values, const Value& value) {
  switch (value.type) {
    case AdRegistry::kText:
      return Put(values, value.Text());
    case AdRegistry::kNumber:
      return Put(values, value.Word());
    case AdRegistry::kBinary:
      for (std::size_t i = 0; i < value.WholeWords(); ++i) Put(values, value.Word(i));
      return;
    case AdRegistry::kTextList:
      return PutTexts(values, value);
    default:
      return;
  }
}

// Reads a value into `buffer`, and gives it to `convert` when it is there.
template <class Buffer, class Convert>
int Read(AdRegistry& registry, const char* name, Buffer&& buffer, Convert convert) {
  Value value;
  value.bytes = buffer.Bytes();
  value.size = buffer.Size();
  if (!registry.QueryValue(name, value.type, buffer.Bytes(), &value.size)) return 0;
  convert(value);
  return 1;
}

template <class Array>
int ReadAll(AdRegistry& registry, const char* name, DWORD longest, Array& values) {
  return Read(registry, name, ValueBuffer(std::size_t{longest} + 1), [&](const Value& value) {
    values.RemoveAll();
    PutAll(values, value);
  });
}

}  // namespace

void AdRegistry::CheckName(const char* lpszValueName) const {
  AssertValid();
  AD_CHECK(lpszValueName != 0);
}

int AdRegistry::QueryValue(const char* lpszValueName, KeyValueTypes& type, unsigned char* data,
                           unsigned long* size) {
  CheckName(lpszValueName);
  DWORD stored_type = 0;
  DWORD data_size = size != nullptr ? DwordOf(*size) : 0;
  m_lLastError = RegQueryValueExA(m_hKey, lpszValueName, nullptr, &stored_type, data,
                                  size != nullptr ? &data_size : nullptr);
  if (size != nullptr) *size = data_size;
  if (m_lLastError != ERROR_SUCCESS) return 0;
  type = static_cast<KeyValueTypes>(stored_type);
  return 1;
}

int AdRegistry::ValueExists(const char* lpszValueName) {
  CheckName(lpszValueName);
  return Read(*this, lpszValueName, ValueBuffer(std::size_t{m_dwMaxValueLen} + 1),
              [](const Value&) {});
}

int AdRegistry::GetValue(const char* lpszValueName, unsigned long& value) {
  CheckName(lpszValueName);
  return Read(*this, lpszValueName, FixedBuffer(), [&](const Value& stored) {
    if (stored.type == kNumber) {
      value = stored.Word();
      return;
    }
    if (stored.type != kText) AD_CHECK(0);
    int number = 0;
    const bool is_number = Holds(stored.Text(), number);
    value = static_cast<DWORD>(number);
    if (!is_number) tesselkit::failure::ThrowCondition("i>0", kSourceName, __LINE__, {});
  });
}

int AdRegistry::GetValue(const char* lpszValueName, CString& value) {
  CheckName(lpszValueName);
  return Read(*this, lpszValueName, FixedBuffer(), [&](const Value& stored) {
    if (stored.type != kText && stored.type != kNumber) AD_CHECK(0);
    value = stored.type == kText ? CString(stored.Text()) : TextOf(stored.Word());
  });
}

int AdRegistry::GetValue(const char* lpszValueName, CStringArray& values) {
  CheckName(lpszValueName);
  return ReadAll(*this, lpszValueName, m_dwMaxValueLen, values);
}

int AdRegistry::GetValue(const char* lpszValueName, CDWordArray& values) {
  CheckName(lpszValueName);
  return ReadAll(*this, lpszValueName, m_dwMaxValueLen, values);
}

void AdRegistry::SetValue(const char* lpszValueName, unsigned long value, int bOverwrite) {
  CheckName(lpszValueName);
  AD_CHECK(value <= std::numeric_limits<DWORD>::max());
  DWORD number = DwordOf(value);
  SetValue(lpszValueName, kNumber, reinterpret_cast<unsigned char*>(&number), sizeof number,
           bOverwrite);
}

void AdRegistry::SetValue(const char* lpszValueName, const CString& value, int bOverwrite) {
  CheckName(lpszValueName);
  const char* const text = value;
  SetValue(lpszValueName, kText, reinterpret_cast<unsigned char*>(const_cast<char*>(text)),
           value.View().size() + 1, bOverwrite);
}

void AdRegistry::SetValue(const char* lpszValueName, const CStringArray& values, int bOverwrite) {
  CheckName(lpszValueName);
  std::size_t size = 1;
  for (int i = 0; i < values.GetSize(); ++i) size += values[i].View().size() + 1;
  const ValueBuffer buffer(size);
  unsigned char* end = buffer.Bytes();
  for (int i = 0; i < values.GetSize(); ++i) {
    const std::string_view text = values[i].View();
    end = std::copy(text.begin(), text.end(), end) + 1;
  }
  SetValue(lpszValueName, kTextList, buffer.Bytes(), size, bOverwrite);
}

void AdRegistry::SetValue(const char* lpszValueName, const CDWordArray& values, int bOverwrite) {
  CheckName(lpszValueName);
  const auto count = static_cast<std::size_t>(values.GetSize());
  const std::unique_ptr<DWORD[]> pDWordArray(new (std::nothrow) DWORD[count]);
  AD_CHECK(pDWordArray != 0);
  std::copy_n(values.GetData(), count, pDWordArray.get());
  SetValue(lpszValueName, kBinary, reinterpret_cast<unsigned char*>(pDWordArray.get()),
           count * sizeof(DWORD), bOverwrite);
}

void AdRegistry::SetValue(const char* lpszValueName, KeyValueTypes type,
                          unsigned char* lpbValueData, unsigned long size, int bOverwrite) {
  AD_CHECK(lpszValueName != 0 && lpbValueData != 0);
  KeyValueTypes stored_type = kNoType;
  if (!bOverwrite && QueryValue(lpszValueName, stored_type, nullptr, nullptr)) return;
  m_lLastError = size > std::numeric_limits<DWORD>::max()
                     ? ERROR_NO_SYSTEM_RESOURCES
                     : RegSetValueExA(m_hKey, lpszValueName, 0, type, lpbValueData, DwordOf(size));
  if (m_lLastError != ERROR_SUCCESS) ThrowFailure("RegSetValue", __LINE__);
}

int AdRegistry::EnumerateKeys(unsigned long index, CString& name) {
  AssertValid();
  NameBuffer buffer{};
  DWORD size = buffer.size() - 1;
  m_lLastError = RegEnumKeyExA(m_hKey, DwordOf(index), buffer.data(), &size, nullptr, nullptr,
                               nullptr, nullptr);
  if (m_lLastError != ERROR_SUCCESS) return 0;
  name = buffer.data();
  return 1;
}

int AdRegistry::EnumerateValues(unsigned long index, CString& name, KeyValueTypes& type,
                                unsigned char* data, unsigned long& size) {
  AssertValid();
  NameBuffer buffer{};
  DWORD name_size = buffer.size();
  DWORD data_size = DwordOf(size);
  DWORD stored_type = 0;
  m_lLastError = RegEnumValueA(m_hKey, DwordOf(index), buffer.data(), &name_size, nullptr,
                               &stored_type, data, &data_size);
  size = data_size;
  if (m_lLastError != ERROR_SUCCESS) return 0;
  name = buffer.data();
  type = static_cast<KeyValueTypes>(stored_type);
  return 1;
}

void AdRegistry::DeleteValue(const char* lpszValueName) {
  AssertValid();
  m_lLastError = RegDeleteValueA(m_hKey, lpszValueName);
  if (m_lLastError != ERROR_SUCCESS) ThrowFailure("RegDeleteValue", __LINE__);
}

void AdRegistry::DeleteKey(const char* lpszKeyToDelete) {
  AssertValid();
  AD_CHECK(lpszKeyToDelete != 0);
  const CString name = lpszKeyToDelete;
  const int separator = name.ReverseFind('\\');
  if (separator < 0) return DeleteKeysDeep(name);
  const CString path = m_strPath;
  PushDirectory(name.Left(separator), 0);
  DeleteKeysDeep(name.Mid(separator + 1));
  m_strPath = path;
  Open(0);
}

// The path is put back as it was: on an empty one the way up would not lead there.
void AdRegistry::DeleteKeysDeep(const char* name) {
  const CString path = m_strPath;
  PushDirectory(name, 0);
  if (tesselkit::platform::DeleteSubkeys(m_hKey) != ERROR_SUCCESS) DeleteSubkeysSingly();
  m_strPath = path;
  Open(0);
  RegDeleteKeyA(m_hKey, name);
}

// The first subkey is asked for again after each deletion. One that is found twice cannot be
// deleted: it stays, and the walk goes on behind it.
void AdRegistry::DeleteSubkeysSingly() {
  CString name;
  CString last;
  for (unsigned long kept = 0; EnumerateKeys(kept, name);) {
    if (name == last) {
      ++kept;
      continue;
    }
    last = name;
    DeleteKeysDeep(name);
  }
}
