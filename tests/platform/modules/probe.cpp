// Shows what a process of its own sees of its environment.
//   probe pages     the code page at start, after a change, and after going back to the locale's
//   probe texts     the core name, whether message 18044 is there, and the resource module's name
//   probe fixup     whether TesselkitStateFixup leaves a state alone while no host is known
#include <link.h>

#include <cstdio>
#include <cstring>

#include "tesselkit/failure/adresource.h"
#include "tesselkit/failure/startup.h"
#include "tesselkit/platform/mbstring.h"
#include "tesselkit/siblings/language_resources.h"

int main(int, char** arguments) {
  if (std::strcmp(arguments[1], "pages") == 0) {
    const int first = _getmbcp();
    _setmbcp(932);
    const int second = _getmbcp();
    _setmbcp(_MB_CP_LOCALE);
    std::printf("%d %d %d\n", first, second, _getmbcp());
  } else if (std::strcmp(arguments[1], "texts") == 0) {
    CString text;
    const int has_other = AdLookupStringResource(18044, text);
    const auto* module = reinterpret_cast<const link_map*>(
        TWResourceDLL::LoadResourceDLL(GetModuleHandleA("tesselkit")));
    const char* name = module != nullptr ? std::strrchr(module->l_name, '/') + 1 : "none";
    std::printf("%s, %d, %s\n", AdGetCoreName().View().data(), has_other, name);
  } else {
    AFX_MODULE_STATE state;
    TesselkitStateFixup(&state);
    std::printf("%d\n", state.m_hCurrentResourceHandle == nullptr &&
                            state.m_hCurrentInstanceHandle == nullptr &&
                            state.m_lpszCurrentAppName == nullptr);
  }
  return 0;
}
