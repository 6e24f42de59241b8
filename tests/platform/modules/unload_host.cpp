// A program that does not link the library itself: loads it, sees its strings come, unloads it,
// sees them go. Ends with the number of the line at which something was not so, or 0.
#include <dlfcn.h>

#include "tesselkit/platform/cstring.h"
#include "tesselkit/platform/module.h"

#define REQUIRE(condition) \
  if (!(condition)) return __LINE__

static int LoadAndUnload(const char* path) {
  CString text = "left over";
  REQUIRE(!text.LoadString(18017) && text == "" && GetModuleHandleA("tesselkit") == nullptr);
  void* library = dlopen(path, RTLD_NOW | RTLD_LOCAL);
  REQUIRE(library != nullptr && GetModuleHandleA("tesselkit") == library);
  REQUIRE(text.LoadString(18017) && text == "Tarnwell Core");

  // It leaves the chain of another state as well.
  AFX_MODULE_STATE state;
  AFX_MANAGE_STATE(&state);
  void* join = dlsym(library, "_Z18TesselkitStateInitP16AFX_MODULE_STATE");
  REQUIRE(!text.LoadString(18017) && join != nullptr);
  reinterpret_cast<void (*)(AFX_MODULE_STATE*)>(join)(nullptr);
  REQUIRE(text.LoadString(18017));
  dlclose(library);
  REQUIRE(dlopen(path, RTLD_LAZY | RTLD_NOLOAD) == nullptr);
  REQUIRE(!text.LoadString(18017) && GetModuleHandleA("tesselkit") == nullptr);
  return 0;
}

int main(int, char** arguments) {
  for (int time = 0; time < 3; ++time) {
    if (const int line = LoadAndUnload(arguments[1])) return line;
  }
  return 0;
}
