#include "tesselkit/platform/code_page.h"

#include <langinfo.h>
#include <locale.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cctype>
#include <cstdlib>
#include <cstring>

#include "tesselkit/platform/mbstring.h"
#include "tesselkit/platform/text_scan.h"

namespace tesselkit::platform {
namespace {

struct ByteRange {
  unsigned char first;
  unsigned char last;
};

constexpr std::uint8_t kLead = 1;
constexpr std::uint8_t kTrail = 2;

struct CodePage {
  int number = 0;
  CodePageKind kind = CodePageKind::kSingleByte;
  std::array<std::uint8_t, 256> roles{};

  constexpr bool Is(char byte, std::uint8_t role) const {
    return (roles[static_cast<unsigned char>(byte)] & role) != 0;
  }
};

template <std::size_t Leads, std::size_t Trails>
constexpr CodePage DoubleBytePage(int number, const ByteRange (&leads)[Leads],
                                  const ByteRange (&trails)[Trails]) {
  CodePage page{number, CodePageKind::kDoubleByte, {}};
  for (const ByteRange& range : leads) {
    for (int byte = range.first; byte <= range.last; ++byte) page.roles[byte] |= kLead;
  }
  for (const ByteRange& range : trails) {
    for (int byte = range.first; byte <= range.last; ++byte) page.roles[byte] |= kTrail;
  }
  return page;
}

constexpr CodePage Utf8Page() {
  CodePage page{65001, CodePageKind::kUtf8, {}};
  for (int byte = 0xC2; byte <= 0xF4; ++byte) page.roles[byte] = kLead;
  for (int byte = 0x80; byte <= 0xBF; ++byte) page.roles[byte] = kTrail;
  return page;
}

constexpr CodePage SingleBytePage(int number) {
  return CodePage{number, CodePageKind::kSingleByte, {}};
}

constexpr CodePage kPages[] = {
    SingleBytePage(0),
    SingleBytePage(1250),
    SingleBytePage(1251),
    SingleBytePage(1252),
    SingleBytePage(1253),
    SingleBytePage(1254),
    SingleBytePage(1255),
    SingleBytePage(1256),
    SingleBytePage(1257),
    SingleBytePage(1258),
    DoubleBytePage(932, {{0x81, 0x9F}, {0xE0, 0xFC}}, {{0x40, 0x7E}, {0x80, 0xFC}}),
    DoubleBytePage(936, {{0x81, 0xFE}}, {{0x40, 0x7E}, {0x80, 0xFE}}),
    DoubleBytePage(949, {{0x81, 0xFE}}, {{0x41, 0x5A}, {0x61, 0x7A}, {0x81, 0xFE}}),
    DoubleBytePage(950, {{0x81, 0xFE}}, {{0x40, 0x7E}, {0xA1, 0xFE}}),
    Utf8Page(),
};

constinit std::atomic<const CodePage*> current_page{&kPages[0]};

const CodePage& Page() noexcept {
  return *current_page.load(std::memory_order_relaxed);
}

const CodePage* FindPage(int number) noexcept {
  for (const CodePage& page : kPages) {
    if (page.number == number) return &page;
  }
  return nullptr;
}

struct CodesetPage {
  const char* codeset;  // letters and digits only, in lower case
  int page;
};

constexpr CodesetPage kCodesetPages[] = {
    {"utf8", 65001},       {"sjis", 932},         {"shiftjis", 932},     {"cp932", 932},
    {"windows31j", 932},   {"gb2312", 936},       {"euccn", 936},        {"gbk", 936},
    {"cp936", 936},        {"euckr", 949},        {"uhc", 949},          {"cp949", 949},
    {"big5", 950},         {"cp950", 950},        {"big5hkscs", 950},    {"cp1250", 1250},
    {"cp1251", 1251},      {"cp1252", 1252},      {"cp1253", 1253},      {"cp1254", 1254},
    {"cp1255", 1255},      {"cp1256", 1256},      {"cp1257", 1257},      {"cp1258", 1258},
    {"windows1250", 1250}, {"windows1251", 1251}, {"windows1252", 1252}, {"windows1253", 1253},
    {"windows1254", 1254}, {"windows1255", 1255}, {"windows1256", 1256}, {"windows1257", 1257},
    {"windows1258", 1258},
};

// Whether `codeset` is `name` but for its case and what is neither letter nor digit.
bool IsCodeset(std::string_view codeset, std::string_view name) noexcept {
  for (const char c : codeset) {
    const char lower = c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
    if (!(lower >= 'a' && lower <= 'z') && !(lower >= '0' && lower <= '9')) continue;
    if (name.empty() || name.front() != lower) return false;
    name.remove_prefix(1);
  }
  return name.empty();
}

int PageOfCodeset(std::string_view codeset) noexcept {
  for (const CodesetPage& row : kCodesetPages) {
    if (IsCodeset(codeset, row.codeset)) return row.page;
  }
  return 0;
}

// By the codeset that a locale name carries after its dot, or else the one the host knows for it.
int PageOfLocale(const char* name) noexcept {
  if (const char* dot = std::strchr(name, '.')) {
    const std::string_view codeset = dot + 1;
    return PageOfCodeset(codeset.substr(0, codeset.find('@')));
  }
  const locale_t locale = newlocale(LC_CTYPE_MASK, name, nullptr);
  if (locale == nullptr) return 0;
  const int page = PageOfCodeset(nl_langinfo_l(CODESET, locale));
  freelocale(locale);
  return page;
}

int PageOfEnvironment() noexcept {
  for (const char* variable : {"LC_ALL", "LC_CTYPE", "LANG"}) {
    const char* locale = std::getenv(variable);
    if (locale != nullptr && *locale != '\0') return PageOfLocale(locale);
  }
  return 0;
}

// Runs before the constructors of everything that links this library.
[[gnu::constructor]] void ChooseCodePageAtStart() {
  SetCodePageOfEnvironment();
}

struct Utf8Form {
  unsigned char length;
  ByteRange second;  // what the byte after the lead may be
};

Utf8Form FormOfUtf8Lead(unsigned char lead) noexcept {
  if (lead < 0xE0) return {2, {0x80, 0xBF}};
  if (lead == 0xE0) return {3, {0xA0, 0xBF}};
  if (lead == 0xED) return {3, {0x80, 0x9F}};
  if (lead < 0xF0) return {3, {0x80, 0xBF}};
  if (lead == 0xF0) return {4, {0x90, 0xBF}};
  if (lead == 0xF4) return {4, {0x80, 0x8F}};
  return {4, {0x80, 0xBF}};
}

// `end` may be null for a text that ends in NUL: no NUL continues a character.
std::size_t Utf8Length(const CodePage& page, const char* c, const char* end) noexcept {
  const Utf8Form form = FormOfUtf8Lead(static_cast<unsigned char>(*c));
  if (end != nullptr && end - c < form.length) return 1;
  const auto second = static_cast<unsigned char>(c[1]);
  if (second < form.second.first || second > form.second.last) return 1;
  for (int i = 2; i < form.length; ++i) {
    if (!page.Is(c[i], kTrail)) return 1;
  }
  return form.length;
}

std::size_t LengthOnPage(const CodePage& page, const char* c, const char* end) noexcept {
  if (!page.Is(*c, kLead)) return 1;
  if (page.kind == CodePageKind::kUtf8) return Utf8Length(page, c, end);
  if (end != nullptr && end - c < 2) return 1;
  return page.Is(c[1], kTrail) ? 2 : 1;
}

// A character's beginning at or before `at`, from which a walk reaches `at` soon.
std::size_t BeginningBefore(const CodePage& page, std::string_view text, std::size_t at,
                            std::size_t known) noexcept {
  std::size_t begin = at;
  if (page.kind == CodePageKind::kUtf8) {
    // After three trail bytes in a row, a fourth one stands alone.
    while (begin > known && at - begin < 3 && page.Is(text[begin], kTrail)) --begin;
  } else {
    // A byte that is no lead ends a character.
    while (begin > known && page.Is(text[begin - 1], kLead)) --begin;
  }
  return begin;
}

std::uint32_t CodeOf(const char* c, std::size_t length) noexcept {
  std::uint32_t code = 0;
  for (std::size_t i = 0; i < length; ++i) code = code << 8 | static_cast<unsigned char>(c[i]);
  return code;
}

struct CaseRange {
  std::uint32_t first_upper;
  std::uint32_t last_upper;
  std::uint32_t first_lower;
};

constexpr CaseRange kFullWidthLetters932 = {0x8260, 0x8279, 0x8281};

std::uint32_t Lower(const CodePage& page, std::uint32_t code) noexcept {
  if (code - 'A' <= 'Z' - 'A') return code - 'A' + 'a';
  if (code < 0x80) return code;
  if (page.kind == CodePageKind::kSingleByte) {
    return static_cast<unsigned char>(std::tolower(static_cast<int>(code)));
  }
  const CaseRange& wide = kFullWidthLetters932;
  if (page.number == 932 && code >= wide.first_upper && code <= wide.last_upper) {
    return code - wide.first_upper + wide.first_lower;
  }
  return code;
}

std::uint32_t Upper(const CodePage& page, std::uint32_t code) noexcept {
  if (code - 'a' <= 'z' - 'a') return code - 'a' + 'A';
  if (code < 0x80) return code;
  if (page.kind == CodePageKind::kSingleByte) {
    return static_cast<unsigned char>(std::toupper(static_cast<int>(code)));
  }
  const CaseRange& wide = kFullWidthLetters932;
  const std::uint32_t last_lower = wide.first_lower + (wide.last_upper - wide.first_upper);
  if (page.number == 932 && code >= wide.first_lower && code <= last_lower) {
    return code - wide.first_lower + wide.first_upper;
  }
  return code;
}

// Hands out the codes of a text's characters one by one; 0 for ever at a terminator.
class Reader {
 public:
  Reader(const CodePage& page, TextSpan text) noexcept
      : m_page(page), m_next(text.begin), m_end(text.end) {}

  bool AtEnd() const noexcept { return m_end != nullptr ? m_next == m_end : *m_next == '\0'; }

  std::uint32_t Next() noexcept {
    const auto byte = static_cast<unsigned char>(*m_next);
    if (byte < 0x80) {
      ++m_next;
      return byte;
    }
    const std::size_t length = LengthOnPage(m_page, m_next, m_end);
    const std::uint32_t code = CodeOf(m_next, length);
    m_next += length;
    return code;
  }

 private:
  const CodePage& m_page;
  const char* m_next;
  const char* m_end;
};

template <class Fold>
int Compare(Reader a, Reader b, Fold fold) noexcept {
  while (!a.AtEnd() && !b.AtEnd()) {
    const std::uint32_t x = fold(a.Next());
    const std::uint32_t y = fold(b.Next());
    if (x != y) return x < y ? -1 : 1;
  }
  return static_cast<int>(b.AtEnd()) - static_cast<int>(a.AtEnd());
}

constexpr std::uint64_t kEachByte = 0x0101010101010101;

// Eight ASCII characters with their letters in lower case.
std::uint64_t LowerAscii(std::uint64_t bytes) noexcept {
  const std::uint64_t from_a = bytes + (0x80 - 'A') * kEachByte;
  const std::uint64_t past_z = bytes + (0x7F - 'Z') * kEachByte;
  return bytes | ((from_a ^ past_z) & 0x80 * kEachByte) >> 2;
}

std::uint64_t LoadBytes(const char* text) noexcept {
  std::uint64_t bytes;
  std::memcpy(&bytes, text, sizeof bytes);
  return bytes;
}

// How many bytes at the front of both texts are the same ASCII characters but for case, counted in
// steps of eight.
std::size_t SameAsciiFront(TextSpan a, TextSpan b) noexcept {
  std::size_t at = 0;
  const auto size = static_cast<std::size_t>(std::min(a.end - a.begin, b.end - b.begin));
  for (; size - at >= 8; at += 8) {
    const std::uint64_t x = LoadBytes(a.begin + at);
    const std::uint64_t y = LoadBytes(b.begin + at);
    if (((x | y) & 0x80 * kEachByte) != 0 || LowerAscii(x) != LowerAscii(y)) break;
  }
  return at;
}

template <class Map>
void MapCharacters(char* text, std::size_t length, Map map) noexcept {
  const CodePage& page = Page();
  const char* end = text + length;
  while (text != end) {
    const std::size_t size = LengthOnPage(page, text, end);
    std::uint32_t code = map(page, CodeOf(text, size));
    for (std::size_t i = size; i > 0; --i, code >>= 8) text[i - 1] = static_cast<char>(code);
    text += size;
  }
}

}  // namespace

bool SetCodePage(int number) noexcept {
  const CodePage* page = FindPage(number);
  if (page == nullptr) return false;
  current_page.store(page, std::memory_order_relaxed);
  return true;
}

bool SetCodePageOfEnvironment() noexcept {
  return SetCodePage(PageOfEnvironment());
}

int CodePageNumber() noexcept {
  return Page().number;
}

CodePageKind CurrentCodePageKind() noexcept {
  return Page().kind;
}

bool IsLeadByte(unsigned char byte) noexcept {
  return Page().Is(static_cast<char>(byte), kLead);
}

bool StandsAlone(char byte) noexcept {
  return !Page().Is(byte, kLead | kTrail);
}

std::size_t LongCharacterLength(const char* c) noexcept {
  return LengthOnPage(Page(), c, nullptr);
}

std::size_t LongCharacterLength(const char* c, const char* end) noexcept {
  return LengthOnPage(Page(), c, end);
}

std::size_t CharacterStart(std::string_view text, std::size_t at, std::size_t known) noexcept {
  const CodePage& page = Page();
  if (at <= known || at >= text.size() || !page.Is(text[at], kTrail)) return at;
  const char* end = text.data() + text.size();
  for (std::size_t begin = BeginningBefore(page, text, at, known);;) {
    const std::size_t next = begin + LengthOnPage(page, text.data() + begin, end);
    if (next > at) return begin;
    begin = next;
  }
}

std::size_t FindLongText(std::string_view text, std::string_view wanted,
                         std::size_t from) noexcept {
  if (wanted.empty()) return from <= text.size() ? from : std::string_view::npos;
  std::size_t hit = text.find(wanted, from);
  if (CurrentCodePageKind() == CodePageKind::kSingleByte) return hit;

  // A hit counts only where it begins and ends between characters.
  std::size_t known = from;
  while (hit != std::string_view::npos) {
    known = CharacterStart(text, hit, known);
    const std::size_t end = hit + wanted.size();
    if (known == hit && CharacterStart(text, end, hit) == end) return hit;
    hit = text.find(wanted, hit + 1);
  }
  return hit;
}

std::size_t CharacterAtOrAfter(std::string_view text, std::size_t at) noexcept {
  if (at >= text.size()) return text.size();
  const std::size_t start = CharacterStart(text, at);
  if (start == at) return at;
  return start + CharacterLength(text.data() + start, text.data() + text.size());
}

std::size_t FindLastCharacter(std::string_view text, char wanted) noexcept {
  std::size_t last = std::string_view::npos;
  TextScan scan(text, {&wanted, 1});
  for (std::size_t at; (at = scan.Next()) != std::string_view::npos;) last = at;
  return last;
}

int CompareText(TextSpan a, TextSpan b) noexcept {
  const CodePage& page = Page();
  return Compare(Reader(page, a), Reader(page, b), [](std::uint32_t code) { return code; });
}

int CompareTextNoCase(TextSpan a, TextSpan b) noexcept {
  if (a.end != nullptr && b.end != nullptr) {
    const std::size_t same = SameAsciiFront(a, b);
    a.begin += same;
    b.begin += same;
  }
  const CodePage& page = Page();
  return Compare(Reader(page, a), Reader(page, b),
                 [&page](std::uint32_t code) { return Lower(page, code); });
}

void MakeLowerCase(char* text, std::size_t length) noexcept {
  MapCharacters(text, length, Lower);
}
void MakeUpperCase(char* text, std::size_t length) noexcept {
  MapCharacters(text, length, Upper);
}

std::size_t WholeCharactersWithin(std::string_view text, std::size_t limit) noexcept {
  if (text.size() <= limit) return text.size();
  const char* end = text.data() + text.size();
  std::size_t at = 0;
  for (;;) {
    const std::size_t next = at + CharacterLength(text.data() + at, end);
    if (next > limit) return at;
    at = next;
  }
}

}  // namespace tesselkit::platform
