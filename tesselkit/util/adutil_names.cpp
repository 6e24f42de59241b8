#include "tesselkit/util/adutil_names.h"

#include <cstdint>

#include "tesselkit/failure/adresource.h"
#include "tesselkit/failure/message_text.h"
#include "tesselkit/platform/mbstring.h"
#include "tesselkit/platform/string_table.h"
#include "tesselkit/resources/message_ids.h"
#include "tesselkit/util/adutil_core.h"
#include "tesselkit/util/adutil_predicates.h"

using namespace tesselkit;
using failure::SetMessageText;

namespace {

constexpr long kMinLetters = 1;
constexpr long kMaxIdentifierLetters = 25;
constexpr long kMaxLoginLetters = 30;

// A set of characters that outlives changes of the code page: one of ASCII characters only, as it
// always is without a language module, is looked up in a table.
class Alphabet {
 public:
  explicit Alphabet(CString text) : m_text(std::move(text)) {
    std::uint64_t low = 0, high = 0;
    for (char c : m_text.View()) {
      m_is_ascii = m_is_ascii && IsAscii(c);
      (c < 64 ? low : high) |= std::uint64_t{1} << (c & 63);
    }
    m_low = low;
    m_high = high;
  }

  const CString& Text() const { return m_text; }

  // Whether the character at `c`, which is not the NUL, is in the set.
  bool Holds(const char* c) const {
    if (!m_is_ascii) return AdOccursIn(c, m_text) != 0;
    return IsAscii(*c) && ((*c < 64 ? m_low : m_high) >> (*c & 63) & 1) != 0;
  }

 private:
  static bool IsAscii(char c) { return static_cast<unsigned char>(c) < 0x80; }

  CString m_text;
  bool m_is_ascii = true;
  std::uint64_t m_low;  // a bit for each ASCII character below 64, and for the others
  std::uint64_t m_high;
};

struct Alphabets {
  Alphabet first{AdGetStringResource(message_id::kFirstAlphabet)};
  Alphabet following{AdGetStringResource(message_id::kFollowingAlphabet)};
};

const Alphabets& LoadedAlphabets() {
  static const Alphabets alphabets;
  return alphabets;
}

// The following answer whether a name passes, and otherwise set the reason.

bool HasGoodLength(const char* name, long max_letters, CString& reason) {
  const long letters = AdNumberOfLetters(name);
  if (letters >= kMinLetters && letters <= max_letters) return true;
  SetMessageText(reason, message_id::kNameLength,
                 {{"actual_len", AdStr(letters).View()},
                  {"min_len", AdStr(kMinLetters).View()},
                  {"max_len", AdStr(max_letters).View()}});
  return false;
}

bool HasNoneOf(const Alphabet& forbidden, const char* name, CString& reason) {
  for (const char* c = name; *c != '\0'; c = _mbsinc(c)) {
    if (!forbidden.Holds(c)) continue;
    SetMessageText(reason, message_id::kForbiddenCharacter, {{"chars", forbidden.Text().View()}});
    return false;
  }
  return true;
}

// The resource is read at every call, but made ready only when it reads otherwise than at the
// first.
bool HasNothingForbidden(const char* name, CString& reason) {
  constexpr int kId = message_id::kForbiddenNameCharacters;
  static const Alphabet usual(AdGetStringResource(kId));
  if (platform::StringResource(kId).Text() == usual.Text().View()) {
    return HasNoneOf(usual, name, reason);
  }
  return HasNoneOf(Alphabet(AdGetStringResource(kId)), name, reason);
}

bool Holds(const Alphabet& alphabet, const char* c, int message, CString& reason) {
  if (alphabet.Holds(c)) return true;
  SetMessageText(reason, message, {{"alphabet", alphabet.Text().View()}});
  return false;
}

bool IsOfAlphabets(const char* name, CString& reason) {
  const auto& [first, following] = LoadedAlphabets();
  if (!Holds(first, name, message_id::kBadFirstCharacter, reason)) return false;
  for (const char* c = _mbsinc(name); *c != '\0'; c = _mbsinc(c)) {
    if (!Holds(following, c, message_id::kBadFollowingCharacter, reason)) return false;
  }
  return true;
}

int IsValid(const char* name, long max_letters, bool (*is_spelled_well)(const char*, CString&),
            CString& reason) {
  reason.Empty();
  return HasGoodLength(name, max_letters, reason) && is_spelled_well(name, reason) ? 1 : 0;
}

}  // namespace

int AdIsValidIdentifier(const char* name, CString& reason) {
  return IsValid(name, kMaxIdentifierLetters, HasNothingForbidden, reason);
}

int AdIsValidIdentifier(const char* name) {
  CString reason;
  return AdIsValidIdentifier(name, reason);
}

int AdIsValidIdentifierAscii(const char* name, CString& reason) {
  return IsValid(name, kMaxIdentifierLetters, IsOfAlphabets, reason);
}

int AdIsValidLogin(const char* name, CString& reason) {
  return IsValid(name, kMaxLoginLetters, IsOfAlphabets, reason);
}
