#include "tesselkit/platform/string_table.h"

#include <dlfcn.h>
#include <link.h>

#include <algorithm>
#include <cstring>
#include <map>
#include <mutex>
#include <vector>

#include "tesselkit/platform/code_page.h"
#include "tesselkit/platform/module.h"
#include "tesselkit/platform/module_chain.h"

namespace tesselkit::platform {

class StringIndex {
 public:
  explicit StringIndex(const StringTable& table) {
    m_rows.reserve(table.count);
    for (std::size_t i = 0; i < table.count; ++i) {
      const StringTableEntry& entry = table.entries[i];
      if (entry.text != nullptr) m_rows.push_back({entry.id, entry.text});
    }
    std::stable_sort(m_rows.begin(), m_rows.end(),
                     [](const Row& a, const Row& b) { return a.id < b.id; });
  }

  std::string_view Find(UINT id) const noexcept {
    const auto row =
        std::lower_bound(m_rows.begin(), m_rows.end(), id,
                         [](const Row& each, UINT wanted) { return each.id < wanted; });
    return row != m_rows.end() && row->id == id ? row->text : std::string_view();
  }

 private:
  struct Row {
    UINT id;
    std::string_view text;
  };

  std::vector<Row> m_rows;
};

namespace {

// How often a module has been unloaded in this process: what was remembered of a handle holds
// only as long as this stands still.
unsigned long long UnloadCount() {
  unsigned long long count = 0;
  dl_iterate_phdr(
      [](dl_phdr_info* info, std::size_t, void* out) {
        *static_cast<unsigned long long*>(out) = info->dlpi_subs;
        return 1;
      },
      &count);
  return count;
}

// A look-up in a module finds the symbols of the modules it links as well; only its own counts.
// The module is opened for it, since the host searches only what was opened.
const StringTable* OwnTable(HINSTANCE module) {
  const char* path = reinterpret_cast<const link_map*>(module)->l_name;
  void* opened = dlopen(*path != '\0' ? path : nullptr, RTLD_LAZY | RTLD_NOLOAD);
  if (opened == nullptr) return nullptr;
  void* symbol = dlsym(opened, "tesselkit_string_table");
  const bool is_own = symbol != nullptr && ModuleOfAddress(symbol) == module;
  dlclose(opened);
  return is_own ? reinterpret_cast<const StringTable* (*)()>(symbol)() : nullptr;
}

std::shared_ptr<const StringIndex> MakeIndex(HINSTANCE module) {
  const StringTable* table = OwnTable(module);
  return table != nullptr ? std::make_shared<const StringIndex>(*table) : nullptr;
}

struct KnownIndex {
  unsigned long long unload_count;
  std::shared_ptr<const StringIndex> index;
};

struct KnownIndexes {
  std::mutex mutex;
  std::map<HINSTANCE, KnownIndex> of_module;
};

}  // namespace

std::shared_ptr<const StringIndex> IndexOfModule(HINSTANCE module) {
  if (module == nullptr) return nullptr;
  static KnownIndexes& known = *new KnownIndexes;
  const unsigned long long unload_count = UnloadCount();
  const std::lock_guard lock(known.mutex);
  auto [at, is_new] = known.of_module.try_emplace(module);
  if (is_new || at->second.unload_count != unload_count) {
    at->second = {unload_count, MakeIndex(module)};
  }
  return at->second.index;
}

std::string_view FindString(const StringIndex& index, UINT id) noexcept {
  return index.Find(id);
}

std::string_view FindStringOfModule(HINSTANCE module, UINT id) {
  // The program stays loaded, so its table needs no second look.
  static const auto& of_program =
      *new std::shared_ptr<const StringIndex>(IndexOfModule(ProgramModule()));
  if (module == ProgramModule()) {
    return of_program != nullptr ? of_program->Find(id) : std::string_view();
  }
  const auto index = IndexOfModule(module);
  return index != nullptr ? index->Find(id) : std::string_view();
}

bool HasStringTable(HINSTANCE module) {
  return IndexOfModule(module) != nullptr;
}

StringResource::StringResource(UINT id) {
  ChainMutex().lock_shared();
  try {
    m_text = FindStringInChain(id);
  } catch (...) {
    ChainMutex().unlock_shared();
    throw;
  }
}

StringResource::~StringResource() {
  ChainMutex().unlock_shared();
}

}  // namespace tesselkit::platform

int LoadStringA(HINSTANCE module, UINT id, char* buffer, int size) {
  using namespace tesselkit::platform;
  if (buffer == nullptr || size <= 0) return 0;
  const std::string_view text =
      FindStringOfModule(module != nullptr ? module : ProgramModule(), id);
  const std::size_t length = WholeCharactersWithin(text, static_cast<std::size_t>(size) - 1);
  std::memcpy(buffer, text.data(), length);
  buffer[length] = '\0';
  return static_cast<int>(length);
}
