#include "tesselkit/util/adutil_predicates.h"

#include <cstring>
#include <string_view>

#include "tesselkit/failure/condition.h"
#include "tesselkit/platform/code_page.h"
#include "tesselkit/platform/mbstring.h"
#include "tesselkit/util/adutil_core.h"

using namespace tesselkit;

namespace {

constexpr char kSourceName[] = "adutil";

const char* OrEmpty(const char* s) {
  return s != nullptr ? s : "";
}

int IsInArray(const char* s, const CStringArray& array, int (*is_equal)(const char*, const char*)) {
  for (int i = 0; i < array.GetSize(); ++i) {
    if (is_equal(array[i], s)) return 1;
  }
  return 0;
}

}  // namespace

// Texts whose bytes are the same have the same characters, and the other way round.
int AdIsEqual(const char* a, const char* b) {
  return std::strcmp(OrEmpty(a), OrEmpty(b)) == 0 ? 1 : 0;
}

int AdIsUnequal(const char* a, const char* b) {
  return AdIsEqual(a, b) ? 0 : 1;
}

// A letter takes as many bytes in the other case.
int AdIsEqualNoCase(const char* a, const char* b) {
  const std::string_view x = OrEmpty(a);
  const std::string_view y = OrEmpty(b);
  return x.size() == y.size() && platform::CompareTextNoCase(x, y) == 0 ? 1 : 0;
}

int AdIsUnequalNoCase(const char* a, const char* b) {
  return AdIsEqualNoCase(a, b) ? 0 : 1;
}

int AdOccursIn(const char* a_char, const char* chars) {
  AD_CHECK(a_char != 0);
  AD_CHECK(!AdIsCharNul(a_char));
  if (AdIsEmpty(chars)) return 0;
  for (const char* c = chars; *c != '\0'; c = _mbsinc(c)) {
    if (AdIsSameChar(a_char, c)) return 1;
  }
  return 0;
}

long AdNumberOfLetters(const char* s) {
  long letters = 0;
  for (const char* c = OrEmpty(s); *c != '\0'; c = _mbsinc(c)) ++letters;
  return letters;
}

long AdNumberOfTCHARS(const char* s) {
  return AdIsEmpty(s) ? 0 : static_cast<long>(std::strlen(s)) + 1;
}

void AdSafeStrcpy(const char* const source, char* const destination,
                  long destination_size_in_tchars) {
  AD_CHECK(source != 0);
  AD_CHECK(destination != 0);
  AD_CHECK(destination_size_in_tchars >= 1, AD_VALUE(destination_size_in_tchars));
  const char* from = source;
  char* to = destination;
  auto room = static_cast<std::size_t>(destination_size_in_tchars - 1);
  // The source's own NUL is copied like any character when it fits, and ends the copy.
  for (bool at_nul = false; !at_nul; from = _mbsinc(from)) {
    const std::size_t length = _mbclen(from);
    if (length > room) break;
    _mbccpy(to, from);
    to += length;
    room -= length;
    at_nul = *from == '\0';
  }
  *to = '\0';
}

int AdIsStringInArray(const char* s, CStringArray& array) {
  return IsInArray(s, array, AdIsEqual);
}

int AdIsStringInArrayNoCase(const char* s, CStringArray& array) {
  return IsInArray(s, array, AdIsEqualNoCase);
}
