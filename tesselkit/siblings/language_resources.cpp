#include "tesselkit/siblings/language_resources.h"

#include <dlfcn.h>
#include <link.h>

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "tesselkit/platform/string_table.h"

namespace {

// Closes the module when this library is unloaded.
class LoadedModule {
 public:
  LoadedModule() = default;
  explicit LoadedModule(const std::string& path)
      : m_handle(dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL)) {}
  LoadedModule(LoadedModule&& other) noexcept : m_handle(std::exchange(other.m_handle, nullptr)) {}
  LoadedModule& operator=(LoadedModule&& other) noexcept {
    std::swap(m_handle, other.m_handle);
    return *this;
  }
  ~LoadedModule() {
    if (m_handle != nullptr) dlclose(m_handle);
  }

  HINSTANCE Handle() const { return static_cast<HINSTANCE>(m_handle); }

 private:
  void* m_handle = nullptr;
};

// What an environment variable is set to; empty when it is not, and for a program that runs with
// rights that its caller has not: the values name files to load.
std::string_view Setting(const char* variable) {
  const char* value = secure_getenv(variable);
  return value != nullptr ? value : std::string_view();
}

std::string_view MessageLocale() {
  for (const char* variable : {"LC_ALL", "LC_MESSAGES", "LANG"}) {
    const std::string_view locale = Setting(variable);
    if (!locale.empty()) return locale;
  }
  return {};
}

bool IsPlainC(std::string_view locale) {
  return locale == "C" || locale == "POSIX";
}

// The entries of the user's list of languages, the most wanted first.
std::string_view LanguageList() {
  const std::string_view locale = MessageLocale();
  if (IsPlainC(locale)) return {};
  const std::string_view list = Setting("LANGUAGE");
  return list.empty() ? locale : list;
}

// An entry such as "de_DE.UTF-8@euro" without what follows the territory; empty when it is not of
// that form, so that no entry leads out of the directory.
std::string_view LanguageAndTerritory(std::string_view entry) {
  const std::string_view name = entry.substr(0, entry.find_first_of(".@"));
  const bool plain = std::all_of(name.begin(), name.end(),
                                 [](unsigned char c) { return std::isalnum(c) != 0 || c == '_'; });
  return plain ? name : std::string_view();
}

// The names after "tesselkit_" to try, in order. An entry "C" wants the library's own texts.
std::vector<std::string> WantedNames() {
  std::vector<std::string> names;
  std::string_view list = LanguageList();
  while (!list.empty()) {
    const std::size_t end = list.find(':');
    const std::string_view name = LanguageAndTerritory(list.substr(0, end));
    list = end == std::string_view::npos ? std::string_view() : list.substr(end + 1);
    if (IsPlainC(name)) break;
    const std::size_t territory = name.find('_');
    if (name.empty() || territory == 0) continue;
    names.emplace_back(name);
    if (territory != std::string_view::npos) names.emplace_back(name.substr(0, territory));
  }
  return names;
}

std::string DirectoryOf(HINSTANCE library) {
  link_map* map = nullptr;
  if (library == nullptr || dlinfo(library, RTLD_DI_LINKMAP, &map) != 0) return ".";
  const std::string_view path = map->l_name;
  const std::size_t slash = path.rfind('/');
  return slash == std::string_view::npos ? "." : std::string(path.substr(0, slash));
}

std::string LanguageDirectory(HINSTANCE library) {
  const std::string_view directory = Setting("TESSELKIT_LANGUAGE_DIR");
  return directory.empty() ? DirectoryOf(library) + "/tesselkit/language" : std::string(directory);
}

LoadedModule FindModule(HINSTANCE library) {
  for (const std::string& name : WantedNames()) {
    LoadedModule module(LanguageDirectory(library) + "/tesselkit_" + name + ".so");
    if (module.Handle() != nullptr && tesselkit::platform::HasStringTable(module.Handle())) {
      return module;
    }
  }
  return {};
}

}  // namespace

HINSTANCE TWResourceDLL::LoadResourceDLL(HINSTANCE library) {
  static std::vector<LoadedModule> modules;
  LoadedModule module = FindModule(library);
  const HINSTANCE handle = module.Handle();
  if (handle != nullptr) modules.push_back(std::move(module));
  return handle;
}
