#include "tesselkit/failure/startup.h"

#include <cstring>

#include "tesselkit/platform/allocator.h"
#include "tesselkit/siblings/language_resources.h"
#include "tesselkit/util/adutil_core.h"

namespace {

AFX_EXTENSION_MODULE extension_module = {};
AFX_MODULE_STATE* host_state = nullptr;

void JoinProcess(HINSTANCE instance) {
  const HINSTANCE language_module = TWResourceDLL::LoadResourceDLL(instance);
  AfxInitExtensionModule(extension_module, instance);
  if (language_module != nullptr) extension_module.hResource = language_module;
  new CDynLinkLibrary(extension_module, FALSE);
}

// Attaches the library when it is loaded and detaches it when it is unloaded. The chain is the
// platform library's, which is loaded before and unloaded after this one.
class Attachment {
 public:
  Attachment() { Enter(DLL_PROCESS_ATTACH); }
  ~Attachment() { Enter(DLL_PROCESS_DETACH); }

  // Does the work of DllMain, which a program may define for itself as well.
  static BOOL Enter(DWORD reason) {
    return Enter(tesselkit::platform::ModuleOfAddress(&extension_module), reason);
  }

  static BOOL Enter(HINSTANCE instance, DWORD reason) {
    if (reason == DLL_PROCESS_ATTACH) JoinProcess(instance);
    if (reason == DLL_PROCESS_DETACH) AfxTermExtensionModule(extension_module, FALSE);
    return TRUE;
  }
} attachment;

}  // namespace

BOOL DllMain(HINSTANCE instance, DWORD reason, LPVOID) {
  return Attachment::Enter(instance, reason);
}

void TesselkitStateInit(AFX_MODULE_STATE* host) {
  host_state = host;
  new CDynLinkLibrary(extension_module, FALSE);
}

void TesselkitStateFixup(AFX_MODULE_STATE* state) {
  if (state == nullptr || state->m_hCurrentResourceHandle != nullptr) return;
  if (host_state == nullptr) return;
  state->m_hCurrentResourceHandle = host_state->m_hCurrentResourceHandle;
  state->m_hCurrentInstanceHandle = host_state->m_hCurrentInstanceHandle;
  if (state->m_lpszCurrentAppName == nullptr && AdIsNonEmpty(host_state->m_lpszCurrentAppName)) {
    state->m_lpszCurrentAppName = strdup(host_state->m_lpszCurrentAppName);
    if (state->m_lpszCurrentAppName == nullptr) AfxThrowMemoryException();
  }
}
