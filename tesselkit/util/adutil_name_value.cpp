#include "tesselkit/util/adutil_name_value.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <memory>

#include "tesselkit/failure/message_exception.h"
#include "tesselkit/platform/byte_scan.h"
#include "tesselkit/platform/code_page.h"
#include "tesselkit/resources/message_ids.h"
#include "tesselkit/util/adutil_edit.h"
#include "tesselkit/util/adutil_sort.h"

using namespace tesselkit;
using platform::ViewOf;

namespace {

constexpr char kSeparator[] = ";";
constexpr std::size_t kMaxNearText = 40;

constexpr char kBlank = 1;

// What each byte is to the reader: for a name byte its upper case, a blank, or 0 for all others.
constexpr std::array<char, 256> kClasses = [] {
  std::array<char, 256> classes{};
  for (const unsigned char blank : {' ', '\t', '\n', '\v', '\f', '\r'}) classes[blank] = kBlank;
  for (unsigned char c = '0'; c <= '9'; ++c) classes[c] = static_cast<char>(c);
  for (unsigned char c = 'A'; c <= 'Z'; ++c) {
    classes[c] = static_cast<char>(c);
    classes[c | 0x20U] = static_cast<char>(c);
  }
  classes['_'] = '_';
  return classes;
}();

char ClassOf(char byte) {
  return kClasses[static_cast<unsigned char>(byte)];
}

bool IsNameByte(char byte) {
  return ClassOf(byte) > kBlank;
}

class Reader {
 public:
  Reader(std::string_view line, CMapStringToString& map, CException** error, int allow_duplicates)
      : m_line(line), m_map(map), m_error(error), m_allow_duplicates(allow_duplicates != 0) {}

  bool Read() {
    m_map.InitHashTable(MostEntries());
    while (SkipToName()) {
      if (!ReadEntry()) return false;
    }
    return true;
  }

 private:
  // An entry takes a "=" and, but for the last one, a separator. Foreign text that is full of both
  // need not have entries: a large table has to grow.
  UINT MostEntries() const {
    constexpr std::size_t kLargeTable = 64 << 10;
    platform::ByteSet equals, separators;
    equals.Add('=');
    separators.Add(*kSeparator);
    return static_cast<UINT>(
        std::min({platform::ByteScan(m_line, equals).Count(),
                  platform::ByteScan(m_line, separators).Count() + 1, kLargeTable}));
  }

  bool AtEnd() const { return m_at == m_line.size(); }

  // False at the end of the line.
  bool SkipToName() {
    while (!AtEnd() && (ClassOf(m_line[m_at]) == kBlank || m_line[m_at] == *kSeparator)) ++m_at;
    return !AtEnd();
  }

  bool ReadEntry() {
    if (!IsNameByte(m_line[m_at])) return Fail(message_id::kNameValueBadName, NearFrom());
    m_name.clear();
    for (; !AtEnd() && IsNameByte(m_line[m_at]); ++m_at) m_name += ClassOf(m_line[m_at]);
    const std::uint64_t hash = m_map.Prepare(m_name);
    if (!SkipEquals()) return false;
    const std::size_t end = std::min(m_line.find(*kSeparator, m_at), m_line.size());
    CString value(m_line.substr(m_at, end - m_at));
    m_at = end;
    const auto [place, is_new] = m_map.Enter(m_name, hash);
    if (!is_new && !m_allow_duplicates) return Fail(message_id::kNameValueDuplicate, m_name);
    place = std::move(value);
    return true;
  }

  // Goes on from the end of the name to what follows the "=".
  bool SkipEquals() {
    const std::size_t name_end = m_at;
    while (!AtEnd() && ClassOf(m_line[m_at]) == kBlank) ++m_at;
    if (!AtEnd() && m_line[m_at] == '=') {
      ++m_at;
      return true;
    }
    const bool breaks_name = !AtEnd() && m_at == name_end;
    return Fail(breaks_name ? message_id::kNameValueBadName : message_id::kNameValueNoEquals,
                NearBefore());
  }

  std::string_view NearBefore() const {
    const std::size_t size = std::min(m_at, kMaxNearText);
    return m_line.substr(m_at - size, size);
  }
  std::string_view NearFrom() const { return m_line.substr(m_at, kMaxNearText); }

  bool Fail(int id, std::string_view text) {
    if (m_error == nullptr) return false;
    auto exception = std::make_unique<PaMsgException>();
    exception->m_msgList.Add(PaMessage(id).SetParam("str", CString(text)));
    *m_error = exception.release();
    return false;
  }

  const std::string_view m_line;
  CMapStringToString& m_map;
  CException** const m_error;
  const bool m_allow_duplicates;
  std::size_t m_at = 0;
  platform::Text m_name;  // in upper case
};

void AppendEntry(CString& to, const CString& name, const CString& value) {
  to.Append(name.View()).Append("=").Append(value.View());
}

void MakeSorted(const CMapStringToString& map, CString& result) {
  CStringArray entries;
  entries.SetSize(map.GetCount());
  CString* entry = entries.GetData();
  map.ForEach(
      [&](const CString& name, const CString& value) { AppendEntry(*entry++, name, value); });
  AdSortStrings(entries, 0, 1, 0);
  AdCStringArrayToCString(entries, result, kSeparator);
}

void MakeUnsorted(const CMapStringToString& map, CString& result) {
  std::size_t size = 0;
  map.ForEach([&](const CString& name, const CString& value) {
    size += name.View().size() + value.View().size() + 2;
  });
  CString line;
  line.Preallocate(size);
  map.ForEach([&](const CString& name, const CString& value) {
    if (!line.IsEmpty()) line.Append(kSeparator);
    AppendEntry(line, name, value);
  });
  swap(result, line);
}

// What follows the front of `text` that is made of `bytes`.
std::string_view After(std::string_view text, const char* bytes) {
  return text.substr(std::min(text.find_first_not_of(bytes), text.size()));
}

}  // namespace

void AdMakeNameValueString(const CMapStringToString& map, CString& result, int sorted) {
  if (sorted != 0) {
    MakeSorted(map, result);
  } else {
    MakeUnsorted(map, result);
  }
}

int AdParseNameValueString(const char* text, CMapStringToString& map, CException** error,
                           int allow_duplicates) {
  map.RemoveAll();
  if (error != nullptr) *error = nullptr;
  return Reader(ViewOf(text), map, error, allow_duplicates).Read() ? 1 : 0;
}

// Blanks and separators stand alone in every page, so this can go by bytes.
int AdParseNameValue(const char* text, CString& name, CString& value) {
  constexpr char kBlanks[] = " \t\r\n";
  constexpr char kNameSeparators[] = " \t=";
  const std::string_view from_name = After(After(ViewOf(text), kBlanks), kNameSeparators);
  const std::string_view found = from_name.substr(0, from_name.find_first_of(kNameSeparators));
  std::string_view rest = After(from_name.substr(found.size()), kBlanks);
  const bool is_pair = !found.empty() && rest.starts_with('=');
  CString new_name;
  CString new_value;
  if (is_pair) {
    rest.remove_prefix(1);
    if (rest.starts_with(' ') || rest.starts_with('\t')) rest.remove_prefix(1);
    new_name.Append(found);
    new_value.Append(rest);
  }
  swap(name, new_name);
  swap(value, new_value);
  return is_pair ? 1 : 0;
}
