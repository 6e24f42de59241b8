#include "tesselkit/platform/string_table.h"

#include <dlfcn.h>
#include <link.h>

#include <algorithm>
#include <atomic>
#include <functional>
#include <map>
#include <mutex>
#include <utility>
#include <vector>

#include "tesselkit/platform/allocator.h"
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

  std::vector<Row, Allocator<Row>> m_rows;
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

using IndexPointer = std::shared_ptr<const StringIndex>;

IndexPointer MakeIndex(HINSTANCE module) {
  const StringTable* table = OwnTable(module);
  if (table == nullptr) return nullptr;
  return std::allocate_shared<StringIndex>(Allocator<StringIndex>(), *table);
}

struct KnownIndex {
  unsigned long long unload_count = 0;
  IndexPointer index;
};

using KnownEntry = std::pair<const HINSTANCE, KnownIndex>;

struct KnownIndexes {
  std::mutex mutex;
  std::map<HINSTANCE, KnownIndex, std::less<>, Allocator<KnownEntry>> of_module;
  std::atomic<bool> has_program = false;
  IndexPointer of_program;
};

// Never destroyed: modules are looked at until the very end of the process. None of the functions
// below asks the loader while it holds the mutex, since a module that is being loaded or unloaded
// comes here with the loader's lock held.
KnownIndexes& known = *new KnownIndexes;

// The program is never unloaded, so its index is good for ever.
const IndexPointer& IndexOfProgram() {
  if (!known.has_program.load(std::memory_order_acquire)) {
    IndexPointer made = MakeIndex(ProgramModule());
    const std::lock_guard lock(known.mutex);
    if (!known.has_program.load(std::memory_order_relaxed)) {
      known.of_program = std::move(made);
      known.has_program.store(true, std::memory_order_release);
    }
  }
  return known.of_program;
}

bool FindKnown(HINSTANCE module, unsigned long long unload_count, IndexPointer& index) {
  const std::lock_guard lock(known.mutex);
  const auto found = known.of_module.find(module);
  if (found == known.of_module.end() || found->second.unload_count != unload_count) return false;
  index = found->second.index;
  return true;
}

void Remember(HINSTANCE module, const KnownIndex& made) {
  const std::lock_guard lock(known.mutex);
  std::erase_if(known.of_module, [&](const KnownEntry& entry) {
    return entry.second.unload_count != made.unload_count;
  });
  known.of_module.insert_or_assign(module, made);
}

}  // namespace

std::shared_ptr<const StringIndex> IndexOfModule(HINSTANCE module) {
  if (module == nullptr) return nullptr;
  if (module == ProgramModule()) return IndexOfProgram();
  KnownIndex wanted{UnloadCount(), nullptr};
  if (!FindKnown(module, wanted.unload_count, wanted.index)) {
    wanted.index = MakeIndex(module);
    Remember(module, wanted);
  }
  return wanted.index;
}

std::string_view FindString(const StringIndex& index, UINT id) noexcept {
  return index.Find(id);
}

std::string_view FindStringOfModule(HINSTANCE module, UINT id) {
  if (module == ProgramModule()) {
    const IndexPointer& index = IndexOfProgram();
    return index != nullptr ? index->Find(id) : std::string_view();
  }
  const IndexPointer index = IndexOfModule(module);
  return index != nullptr ? index->Find(id) : std::string_view();
}

bool HasStringTable(HINSTANCE module) {
  return IndexOfModule(module) != nullptr;
}

StringResource::StringResource(UINT id) : m_text(FindStringOfModule(AfxGetResourceHandle(), id)) {
  ChainMutex().lock_shared();
  if (m_text.empty()) m_text = FindStringInChain(id);
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
  text.copy(buffer, length);
  buffer[length] = '\0';
  return static_cast<int>(length);
}
