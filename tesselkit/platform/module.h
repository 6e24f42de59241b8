// Loaded modules, the process's resource chain, and module states.
//
// A module is the program or a shared object that is loaded; its handle is good while it stays
// loaded. A module state says whose resources a thread uses: those of its resource module first,
// then those of the extension modules in its chain, the newest first.
// Chains may be used, and modules join and leave them, from any thread at any time. The fields of
// a module state are the caller's to guard.
#pragma once

#include <memory>

#include "tesselkit/platform/command_target.h"
#include "tesselkit/platform/export.h"
#include "tesselkit/platform/types.h"

class CDynLinkLibrary;
class COleObjectFactory;

namespace tesselkit::platform {

class StringIndex;

// The module that holds `address`; null when none does.
TESSELKIT_API HINSTANCE ModuleOfAddress(const void* address);

// The program itself.
TESSELKIT_API HINSTANCE ProgramModule();

}  // namespace tesselkit::platform

// The loaded module of that name: its path, or its file name without directory, and that without
// its "lib" and its ending or the end of it if so wished ("libsales.so.2", "libsales.so",
// "libsales" and "sales" are one). A module with exactly that file name goes before others. A null
// name gives the program. Null when no such module is loaded; nothing is ever loaded.
TESSELKIT_API HMODULE GetModuleHandleA(const char* name);

// What a library keeps of itself as an extension module.
struct AFX_EXTENSION_MODULE {
  BOOL bInitialized;
  HMODULE hModule;
  HMODULE hResource;  // where its resources are: itself, or a module that stands in for it
  CRuntimeClass* pFirstSharedClass;        // these two are the caller's; classes here are found
  COleObjectFactory* pFirstSharedFactory;  // in one list for the whole process
};

class TESSELKIT_API AFX_MODULE_STATE {
 public:
  AFX_MODULE_STATE();
  ~AFX_MODULE_STATE();  // ends the chain's entries
  AFX_MODULE_STATE(const AFX_MODULE_STATE&) = delete;
  AFX_MODULE_STATE& operator=(const AFX_MODULE_STATE&) = delete;

  const char* m_lpszCurrentAppName = nullptr;
  HINSTANCE m_hCurrentInstanceHandle = nullptr;
  HINSTANCE m_hCurrentResourceHandle = nullptr;

 private:
  friend class CDynLinkLibrary;
  friend class ResourceChain;

  CDynLinkLibrary* m_first_library = nullptr;  // the chain, the newest first
  AFX_MODULE_STATE* m_next_state = nullptr;
};

// The state of the calling thread: the last one it set, or else the process's, whose instance and
// resource module is the program.
TESSELKIT_API AFX_MODULE_STATE* AfxGetModuleState();

// Sets it; null stands for the process's. Returns the one before.
TESSELKIT_API AFX_MODULE_STATE* AfxSetModuleState(AFX_MODULE_STATE* state);

// Sets the state for the length of a scope.
class TESSELKIT_API AFX_MAINTAIN_STATE2 {
 public:
  explicit AFX_MAINTAIN_STATE2(AFX_MODULE_STATE* state) : m_before(AfxSetModuleState(state)) {}
  ~AFX_MAINTAIN_STATE2() { AfxSetModuleState(m_before); }
  AFX_MAINTAIN_STATE2(const AFX_MAINTAIN_STATE2&) = delete;
  AFX_MAINTAIN_STATE2& operator=(const AFX_MAINTAIN_STATE2&) = delete;

 private:
  AFX_MODULE_STATE* m_before;
};

#define AFX_MANAGE_STATE(state) AFX_MAINTAIN_STATE2 maintained_module_state(state);

// The calling thread's state, read and set.
TESSELKIT_API HINSTANCE AfxGetInstanceHandle();
TESSELKIT_API HINSTANCE AfxGetResourceHandle();
TESSELKIT_API void AfxSetResourceHandle(HINSTANCE module);
TESSELKIT_API const char* AfxGetAppName();

// Fills the record of a module that has just been loaded. Does nothing to a filled one. Returns
// TRUE.
TESSELKIT_API BOOL AfxInitExtensionModule(AFX_EXTENSION_MODULE& record, HMODULE module);

// Takes a module that is about to be unloaded out of every chain, and clears its record. With
// `all` TRUE every extension module is taken out.
TESSELKIT_API void AfxTermExtensionModule(AFX_EXTENSION_MODULE& record, BOOL all = FALSE);

// An entry of a resource chain. Made with `new`, it joins the front of the chain of the calling
// thread's module state and belongs to it from then on. `system` entries are searched last.
class TESSELKIT_API CDynLinkLibrary : public CCmdTarget {
  DECLARE_DYNAMIC(CDynLinkLibrary)

 public:
  explicit CDynLinkLibrary(AFX_EXTENSION_MODULE& record, BOOL system = FALSE);
  ~CDynLinkLibrary() override;

  HMODULE m_hModule;
  HMODULE m_hResource;
  BOOL m_bSystem;

 private:
  friend class ResourceChain;

  AFX_MODULE_STATE* m_state;  // whose chain it is in, or null
  CDynLinkLibrary* m_next = nullptr;
  std::shared_ptr<const tesselkit::platform::StringIndex> m_strings;
};
