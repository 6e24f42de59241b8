#include "tesselkit/platform/module.h"

#include <dlfcn.h>
#include <link.h>

#include <algorithm>
#include <mutex>
#include <string>
#include <string_view>

#include "tesselkit/platform/module_chain.h"
#include "tesselkit/platform/string_table.h"

using namespace tesselkit::platform;

IMPLEMENT_DYNAMIC(CDynLinkLibrary, CCmdTarget)

// The chains of all module states. None of this is ever destroyed: modules leave their chain also
// at the very end of the process.
class ResourceChain {
 public:
  static std::shared_mutex& Mutex() {
    static std::shared_mutex& mutex = *new std::shared_mutex;
    return mutex;
  }

  static void AddState(AFX_MODULE_STATE* state) {
    const std::lock_guard lock(Mutex());
    States().push_back(state);
  }

  static void RemoveState(AFX_MODULE_STATE* state) {
    std::vector<CDynLinkLibrary*> entries;
    {
      const std::lock_guard lock(Mutex());
      std::erase(States(), state);
      entries.swap(state->m_chain);
      for (CDynLinkLibrary* entry : entries) entry->m_state = nullptr;
    }
    for (CDynLinkLibrary* entry : entries) delete entry;
  }

  static void Join(CDynLinkLibrary* entry) {
    const std::lock_guard lock(Mutex());
    entry->m_state->m_chain.push_back(entry);
  }

  static void Leave(CDynLinkLibrary* entry) {
    const std::lock_guard lock(Mutex());
    if (entry->m_state != nullptr) std::erase(entry->m_state->m_chain, entry);
  }

  // Ends the entries of `module`, or of every module when it is null, in all chains.
  static void RemoveModule(HMODULE module) {
    std::vector<CDynLinkLibrary*> gone;
    {
      const std::lock_guard lock(Mutex());
      for (AFX_MODULE_STATE* state : States()) {
        std::erase_if(state->m_chain, [&](CDynLinkLibrary* entry) {
          if (module != nullptr && entry->m_hModule != module) return false;
          entry->m_state = nullptr;
          gone.push_back(entry);
          return true;
        });
      }
    }
    for (CDynLinkLibrary* entry : gone) delete entry;
  }

  static std::string_view FindString(const AFX_MODULE_STATE& state, UINT id) {
    for (const BOOL system : {FALSE, TRUE}) {
      for (auto entry = state.m_chain.rbegin(); entry != state.m_chain.rend(); ++entry) {
        if ((*entry)->m_bSystem != system || (*entry)->m_strings == nullptr) continue;
        const std::string_view text = tesselkit::platform::FindString(*(*entry)->m_strings, id);
        if (!text.empty()) return text;
      }
    }
    return {};
  }

 private:
  static std::vector<AFX_MODULE_STATE*>& States() {
    static auto& states = *new std::vector<AFX_MODULE_STATE*>;
    return states;
  }
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

std::string_view FileName(std::string_view path) {
  return path.substr(path.rfind('/') + 1);
}

// "libsales.so.2" without its "lib" and its ending.
std::string_view BareName(std::string_view file_name) {
  if (file_name.starts_with("lib")) file_name.remove_prefix(3);
  const std::size_t ending = file_name.find(".so");
  return file_name.substr(0, ending);
}

bool IsNamed(std::string_view path, std::string_view name) {
  if (name.find('/') != std::string_view::npos) return path == name;
  const std::string_view file = FileName(path);
  return file == name || BareName(file) == BareName(name);
}

struct ModuleSearch {
  std::string_view name;
  std::string path;
};

int CompareModule(dl_phdr_info* info, std::size_t, void* data) {
  auto& search = *static_cast<ModuleSearch*>(data);
  if (info->dlpi_name == nullptr || *info->dlpi_name == '\0') return 0;
  if (!IsNamed(info->dlpi_name, search.name)) return 0;
  search.path = info->dlpi_name;
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
  static const HINSTANCE program = [] {
    void* handle = dlopen(nullptr, RTLD_LAZY);
    if (handle != nullptr) dlclose(handle);
    return HandleOf(handle);
  }();
  return program;
}

HMODULE GetModuleHandleA(const char* name) {
  if (name == nullptr) return ProgramModule();
  ModuleSearch search{name, {}};
  if (dl_iterate_phdr(CompareModule, &search) == 0) return nullptr;
  void* handle = dlopen(search.path.c_str(), RTLD_LAZY | RTLD_NOLOAD);
  if (handle != nullptr) dlclose(handle);
  return HandleOf(handle);
}

std::shared_mutex& tesselkit::platform::ChainMutex() {
  return ResourceChain::Mutex();
}

std::string_view tesselkit::platform::FindStringInChain(UINT id) {
  const AFX_MODULE_STATE& state = *AfxGetModuleState();
  const std::string_view text = FindStringOfModule(state.m_hCurrentResourceHandle, id);
  if (!text.empty()) return text;
  return ResourceChain::FindString(state, id);
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
  ResourceChain::RemoveModule(all ? nullptr : record.hModule);
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
