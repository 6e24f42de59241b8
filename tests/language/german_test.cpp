// The language module of the examples against the library's own table: a translation that lost an
// id, a placeholder or a conversion shows only when the failure it tells of happens.
#include <dlfcn.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <iterator>
#include <regex>
#include <stdexcept>
#include <string>
#include <vector>

#include "tesselkit/platform/string_table.h"

namespace {

using tesselkit::platform::StringTable;
using tesselkit::platform::StringTableEntry;

constexpr StringTableEntry kOriginals[] = {
#define TESSELKIT_MESSAGE(id, name, text) {id, text},
#include "tesselkit/resources/message_table.inc"
#undef TESSELKIT_MESSAGE
};

constexpr unsigned kCharacterSets[] = {18037, 18038, 18062};

const StringTable& German() {
  void* module = dlopen(TESSELKIT_GERMAN_MODULE, RTLD_NOW | RTLD_LOCAL);
  void* table = module != nullptr ? dlsym(module, "tesselkit_string_table") : nullptr;
  if (table == nullptr) throw std::runtime_error(dlerror());
  return *reinterpret_cast<const StringTable* (*)()>(table)();
}

std::vector<std::string> MatchesOf(const std::string& text, const char* pattern) {
  const std::regex regex(pattern);
  std::vector<std::string> matches;
  for (std::sregex_iterator match(text.begin(), text.end(), regex), end; match != end; ++match) {
    matches.push_back(match->str());
  }
  return matches;
}

// Each once: a translation may need a value twice, or in another place.
std::vector<std::string> PlaceholdersOf(const std::string& text) {
  std::vector<std::string> names = MatchesOf(text, "%[a-z][a-z0-9_]*%");
  std::sort(names.begin(), names.end());
  names.erase(std::unique(names.begin(), names.end()), names.end());
  return names;
}

// What a printf takes from the argument list, in order.
std::vector<std::string> ConversionsOf(const std::string& text) {
  const std::string rest = std::regex_replace(text, std::regex("%[a-z][a-z0-9_]*%"), "");
  return MatchesOf(rest, "%[-+ #0-9.]*[a-zA-Z%]");
}

TEST(German, HasTheIdsOfTheOriginalInTheirOrder) {
  const StringTable& german = German();
  ASSERT_EQ(german.count, std::size(kOriginals));
  for (std::size_t i = 0; i < german.count; ++i) {
    EXPECT_EQ(german.entries[i].id, kOriginals[i].id);
  }
}

TEST(German, KeepsWhatIsFilledIn) {
  const StringTable& german = German();
  ASSERT_EQ(german.count, std::size(kOriginals));
  for (std::size_t i = 0; i < german.count; ++i) {
    SCOPED_TRACE(kOriginals[i].id);
    const std::string text = german.entries[i].text;
    if (std::count(std::begin(kCharacterSets), std::end(kCharacterSets), kOriginals[i].id) > 0) {
      EXPECT_EQ(text, kOriginals[i].text);
      continue;
    }
    EXPECT_FALSE(text.empty());
    EXPECT_EQ(PlaceholdersOf(text), PlaceholdersOf(kOriginals[i].text));
    EXPECT_EQ(ConversionsOf(text), ConversionsOf(kOriginals[i].text));
  }
}

}  // namespace
