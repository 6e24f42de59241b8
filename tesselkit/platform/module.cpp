#include "tesselkit/platform/module.h"

#include <dlfcn.h>
#include <limits.h>
#include <link.h>
#include <pthread.h>
#include <unistd.h>

#include <cstring>
#include <mutex>
#include <string_view>
#include <utility>

#include "tesselkit/platform/allocator.h"
#include "tesselkit/platform/module_chain.h"
#include "tesselkit/platform/string_table.h"

using namespace tesselkit::platform;

IMPLEMENT_DYNAMIC(CDynLinkLibrary, CCmdTarget)

static pthread_rwlock_t chain_lock = PTHREAD_RWLOCK_WRITER_NONRECURSIVE_INITIALIZER_NP;

void ChainLock::lock() noexcept {
  pthread_rwlock_wrlock(&chain_lock);
}
void ChainLock::lock_shared() noexcept {
  pthread_rwlock_rdlock(&chain_lock);
}
void ChainLock::unlock() noexcept {
  pthread_rwlock_unlock(&chain_lock);
}
void ChainLock::unlock_shared() noexcept {
  pthread_rwlock_unlock(&chain_lock);
}

// The chains of all module states. None of this is ever destroyed: modules leave their chain also
// at the very end of the process.
class ResourceChain {
 public:
  static ChainLock& Mutex() { return mutex; }

  static void AddState(AFX_MODULE_STATE* state) {
    const std::lock_guard lock(Mutex());
    state->m_next_state = first_state;
    first_state = state;
  }

  static void RemoveState(AFX_MODULE_STATE* state) {
    CDynLinkLibrary* gone = nullptr;
    {
      const std::lock_guard lock(Mutex());
      AFX_MODULE_STATE** link = &first_state;
      while (*link != state) link = &(*link)->m_next_state;
      *link = state->m_next_state;
      const auto all = [](const CDynLinkLibrary&) { return true; };
      gone = TakeOut(*state, all, gone);
    }
    End(gone);
  }

  static void Join(CDynLinkLibrary* entry) {
    const std::lock_guard lock(Mutex());
    entry->m_next = entry->m_state->m_first_library;
    entry->m_state->m_first_library = entry;
  }

  static void Leave(CDynLinkLibrary* leaving) {
    const std::lock_guard lock(Mutex());
    if (leaving->m_state == nullptr) return;
    const auto is_leaving = [&](const CDynLinkLibrary& entry) { return &entry == leaving; };
    TakeOut(*leaving->m_state, is_leaving, nullptr);
  }

  // Ends the entries that `matches` accepts, in all chains.
  template <class Matches>
  static void Remove(Matches matches) {
    CDynLinkLibrary* gone = nullptr;
    {
      const std::lock_guard lock(Mutex());
      for (AFX_MODULE_STATE* state = first_state; state != nullptr; state = state->m_next_state) {
        gone = TakeOut(*state, matches, gone);
      }
    }
    End(gone);
  }

  static std::string_view FindString(const AFX_MODULE_STATE& state, UINT id) noexcept {
    for (const BOOL system : {FALSE, TRUE}) {
      for (const auto* entry = state.m_first_library; entry != nullptr; entry = entry->m_next) {
        if (entry->m_bSystem != system || entry->m_strings == nullptr) continue;
        const std::string_view text = tesselkit::platform::FindString(*entry->m_strings, id);
        if (!text.empty()) return text;
      }
    }
    return {};
  }

 private:
  // Moves entries from a chain to the front of the list `gone`. Returns that list.
  template <class Matches>
  static CDynLinkLibrary* TakeOut(AFX_MODULE_STATE& state, Matches matches,
                                  CDynLinkLibrary* gone) noexcept {
    for (CDynLinkLibrary** link = &state.m_first_library; *link != nullptr;) {
      CDynLinkLibrary* entry = *link;
      if (!matches(*entry)) {
        link = &entry->m_next;
        continue;
      }
      *link = entry->m_next;
      entry->m_state = nullptr;
      entry->m_next = gone;
      gone = entry;
    }
    return gone;
  }

  // Not under the lock: destructors of derived classes may look for strings.
  static void End(CDynLinkLibrary* gone) {
    while (gone != nullptr) delete std::exchange(gone, gone->m_next);
  }

  static constinit inline ChainLock mutex;
  static constinit inline AFX_MODULE_STATE* first_state = nullptr;
};

namespace {

thread_local AFX_MODULE_STATE* thread_state = nullptr;

AFX_MODULE_STATE& ProcessState() {
  static AFX_MODULE_STATE& state = *[] {
    auto* made = new AFX_MODULE_STATE;
    made->m_hCurrentInstanceHandle = ProgramModule();
    made->m_hCurrentResourceHandle = ProgramModule();
    return made;
  }();
  return state;
}

// A handle is the host's record of the module.
HINSTANCE HandleOf(void* link_map) {
  return static_cast<HINSTANCE>(link_map);
}

// The handle of what is loaded from `path`; null stands for the program.
HINSTANCE HandleOfPath(const char* path) {
  void* handle = dlopen(path, RTLD_LAZY | RTLD_NOLOAD);
  if (handle != nullptr) dlclose(handle);
  return HandleOf(handle);
}

// Both at load, not at first use: the first user may be a thread that another one waits for while
// it holds the loader's lock.
[[gnu::constructor]] void MakeProcessStateAtStart() {
  ProcessState();
}

Text ProgramPath() {
  char path[PATH_MAX];
  const ssize_t length = readlink("/proc/self/exe", path, sizeof path);
  return Text(path, length > 0 ? static_cast<std::size_t>(length) : 0);
}

std::string_view WithoutPrefix(std::string_view file) {
  if (file.starts_with("lib")) file.remove_prefix(3);
  return file;
}

// Where the ".so" of a file name stands that is followed by a version or nothing.
std::size_t EndingOf(std::string_view file) {
  std::size_t at = file.rfind(".so");
  while (at != std::string_view::npos && at + 3 < file.size() && file[at + 3] != '.') {
    at = at > 0 ? file.rfind(".so", at - 1) : std::string_view::npos;
  }
  return at;
}

bool IsFile(std::string_view file, std::string_view name) {
  return file == name;
}

bool IsFileButForEnds(std::string_view file, std::string_view name) {
  file = WithoutPrefix(file);
  name = WithoutPrefix(name);
  if (file == name) return true;
  const std::size_t ending = EndingOf(file);
  if (ending == std::string_view::npos || !file.starts_with(name)) return false;
  return name.size() == ending || (name.size() > ending + 2 && file[name.size()] == '.');
}

struct ModuleSearch {
  std::string_view name;
  bool (*answers)(std::string_view file, std::string_view name);
  Text program;
  Text path;  // what was found; empty for the program
};

int CompareModule(dl_phdr_info* info, std::size_t, void* data) {
  auto& search = *static_cast<ModuleSearch*>(data);
  const bool is_program = *info->dlpi_name == '\0';
  const std::string_view path = is_program ? std::string_view(search.program) : info->dlpi_name;
  if (!search.answers(path.substr(path.rfind('/') + 1), search.name)) return 0;
  if (!is_program) search.path = path;
  return 1;
}

}  // namespace

HINSTANCE tesselkit::platform::ModuleOfAddress(const void* address) {
  Dl_info info;
  void* link_map = nullptr;
  if (dladdr1(address, &info, &link_map, RTLD_DL_LINKMAP) == 0) return nullptr;
  return HandleOf(link_map);
}

HINSTANCE tesselkit::platform::ProgramModule() {
  static const HINSTANCE program = HandleOfPath(nullptr);
  return program;
}

HMODULE GetModuleHandleA(const char* name) {
  if (name == nullptr) return ProgramModule();
  Text program = ProgramPath();
  if (std::strchr(name, '/') != nullptr) {
    return program == name ? ProgramModule() : HandleOfPath(name);
  }
  ModuleSearch search{name, IsFile, std::move(program), {}};
  if (dl_iterate_phdr(CompareModule, &search) == 0) {
    search.answers = IsFileButForEnds;
    if (dl_iterate_phdr(CompareModule, &search) == 0) return nullptr;
  }
  return search.path.empty() ? ProgramModule() : HandleOfPath(search.path.c_str());
}

ChainLock& tesselkit::platform::ChainMutex() {
  return ResourceChain::Mutex();
}

std::string_view tesselkit::platform::FindStringInChain(UINT id) noexcept {
  return ResourceChain::FindString(*AfxGetModuleState(), id);
}

AFX_MODULE_STATE::AFX_MODULE_STATE() {
  ResourceChain::AddState(this);
}

AFX_MODULE_STATE::~AFX_MODULE_STATE() {
  ResourceChain::RemoveState(this);
}

AFX_MODULE_STATE* AfxGetModuleState() {
  return thread_state != nullptr ? thread_state : &ProcessState();
}

AFX_MODULE_STATE* AfxSetModuleState(AFX_MODULE_STATE* state) {
  AFX_MODULE_STATE* before = AfxGetModuleState();
  thread_state = state;
  return before;
}

HINSTANCE AfxGetInstanceHandle() {
  return AfxGetModuleState()->m_hCurrentInstanceHandle;
}

HINSTANCE AfxGetResourceHandle() {
  return AfxGetModuleState()->m_hCurrentResourceHandle;
}

void AfxSetResourceHandle(HINSTANCE module) {
  AfxGetModuleState()->m_hCurrentResourceHandle = module;
}

const char* AfxGetAppName() {
  return AfxGetModuleState()->m_lpszCurrentAppName;
}

BOOL AfxInitExtensionModule(AFX_EXTENSION_MODULE& record, HMODULE module) {
  if (record.bInitialized) return TRUE;
  record.bInitialized = TRUE;
  record.hModule = module;
  record.hResource = module;
  return TRUE;
}

void AfxTermExtensionModule(AFX_EXTENSION_MODULE& record, BOOL all) {
  if (!record.bInitialized) return;
  ResourceChain::Remove(
      [&](const CDynLinkLibrary& entry) { return all || entry.m_hModule == record.hModule; });
  record.bInitialized = FALSE;
  record.hModule = nullptr;
  record.hResource = nullptr;
}

CDynLinkLibrary::CDynLinkLibrary(AFX_EXTENSION_MODULE& record, BOOL system)
    : m_hModule(record.hModule),
      m_hResource(record.hResource),
      m_bSystem(system ? TRUE : FALSE),
      m_state(AfxGetModuleState()),
      m_strings(IndexOfModule(record.hResource)) {
  ResourceChain::Join(this);
}

CDynLinkLibrary::~CDynLinkLibrary() {
  ResourceChain::Leave(this);
}
