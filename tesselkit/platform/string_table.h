// String tables: the texts that a module carries, found by number.
//
// A shared object that uses TESSELKIT_EXPORT_STRING_TABLE carries a table. It needs to link
// nothing of this library. Where an id stands twice, the first entry counts.
//
//   static const tesselkit::platform::StringTableEntry entries[] = {{1, "eins"}, {2, "zwei"}};
//   TESSELKIT_EXPORT_STRING_TABLE(entries)
#pragma once

#include <cstddef>
#include <memory>
#include <string_view>

#include "tesselkit/platform/export.h"
#include "tesselkit/platform/types.h"

namespace tesselkit::platform {

struct StringTableEntry {
  unsigned id;
  const char* text;
};

struct StringTable {
  const StringTableEntry* entries;
  std::size_t count;
};

// Whether a loaded module carries a table.
TESSELKIT_API bool HasStringTable(HINSTANCE module);

// A string of the process's resources: of the current module state's resource module, or else of
// the first module in its resource chain that has it. Holds the chain still while it lives, so
// that the text stays; keep it short, and look up, load or unload nothing meanwhile.
class TESSELKIT_API StringResource {
 public:
  explicit StringResource(UINT id);
  ~StringResource();
  StringResource(const StringResource&) = delete;
  StringResource& operator=(const StringResource&) = delete;

  // Whether there is such a string and it is not empty.
  explicit operator bool() const noexcept { return !m_text.empty(); }
  std::string_view Text() const noexcept { return m_text; }

 private:
  std::string_view m_text;
};

class StringIndex;

// The table of a loaded module, ready for look-ups; null when it carries none or is null.
std::shared_ptr<const StringIndex> IndexOfModule(HINSTANCE module);

// The string `id`, or an empty view.
std::string_view FindString(const StringIndex& index, UINT id) noexcept;
std::string_view FindStringOfModule(HINSTANCE module, UINT id);

}  // namespace tesselkit::platform

// Copies string `id` of a loaded module (null: the program) to the `size` bytes at `buffer`, cut
// to whole characters and always terminated. Returns its length there, 0 when there is none.
TESSELKIT_API int LoadStringA(HINSTANCE module, UINT id, char* buffer, int size);

// A module exports a function rather than the table: variables of one name in several modules are
// what address sanitizers take for a breach of the one-definition rule.
#define TESSELKIT_EXPORT_STRING_TABLE(table_entries)                                            \
  extern "C" TESSELKIT_API const ::tesselkit::platform::StringTable* tesselkit_string_table() { \
    static constexpr ::tesselkit::platform::StringTable table = {                               \
        table_entries, sizeof(table_entries) / sizeof(table_entries[0])};                       \
    return &table;                                                                              \
  }
