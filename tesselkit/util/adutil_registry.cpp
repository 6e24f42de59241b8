#include "tesselkit/util/adutil_registry.h"

#include <utility>

#include "tesselkit/failure/adexcept.h"
#include "tesselkit/system/adregistry.h"
#include "tesselkit/util/swallow.h"

using tesselkit::util::Succeeds;

namespace {

constexpr char kSourceName[] = "adutil";

const HKEY kRoots[] = {HKEY_CURRENT_USER, HKEY_LOCAL_MACHINE};

// Opens the key at `path` and calls `work` with it.
template <class Work>
bool WithKey(HKEY root, const char* path, int is_read_only, Work work) {
  return Succeeds([&] {
    AdRegistry registry;
    registry.Initialize();
    registry.SetPath(root, path, is_read_only);
    work(registry);
    registry.Finalize();
  });
}

}  // namespace

void AdSetRegistryValue(const char* path, const char* name, const char* value) {
  for (const HKEY root : kRoots) AdSetRegistryValue(path, name, value, root);
}

void AdSetRegistryValue(const char* path, const char* name, const char* value, HKEY root) {
  const bool is_written = WithKey(
      root, path, 0, [&](AdRegistry& registry) { registry.SetValue(name, CString(value), 1); });
  if (is_written) return;
  PaMessage message(18057);
  message.SetParam("reg", path);
  message.SetParam("name", name);
  message.SetParam("value", value);
  AdThrowMsgExcept(message, "", kSourceName, __LINE__);
}

// The texts that are given may be `value`'s own.
int AdLookupRegistryValue(const char* path, const char* name, CString& value, HKEY root) {
  CString text;
  int found = 0;
  for (const HKEY tried : kRoots) {
    if (found || (root != nullptr && root != tried)) continue;
    WithKey(tried, path, 1, [&](AdRegistry& registry) { found = registry.GetValue(name, text); });
  }
  value = std::move(text);
  return found;
}

CString AdGetRegistryValue(const char* path, const char* name, HKEY root) {
  CString value;
  if (AdLookupRegistryValue(path, name, value, root)) return value;
  PaMessage message(18056);
  message.SetParam("reg", path);
  message.SetParam("name", name);
  AdThrowMsgExcept(message, "lookup_okay", kSourceName, __LINE__);
}

int AdLookupRegistrySubKeys(const char* path, CStringArray& keys) {
  unsigned long index = 0;
  bool is_found = false;
  for (const HKEY root : kRoots) {
    is_found = is_found || WithKey(root, path, 1, [&](AdRegistry& registry) {
                 CString name;
                 for (; registry.EnumerateKeys(index, name); ++index) keys.Add(name);
               });
  }
  return is_found ? 1 : 0;
}
