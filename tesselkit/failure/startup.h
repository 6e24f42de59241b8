// How the library joins and leaves the process, and how another module shares its host's state.
#pragma once

#include "tesselkit/platform/export.h"
#include "tesselkit/platform/module.h"
#include "tesselkit/platform/types.h"

constexpr DWORD DLL_PROCESS_DETACH = 0;
constexpr DWORD DLL_PROCESS_ATTACH = 1;

// The library's entry point, called when it is loaded and unloaded: joins the resource chain, with
// the module for the user's language in place of its own texts when there is one, and leaves it.
// Other reasons do nothing. Returns TRUE.
extern "C" TESSELKIT_API BOOL DllMain(HINSTANCE instance, DWORD reason, LPVOID reserved);

// Remembers `host` as the host's module state, in place of an earlier one, and adds the library to
// the resource chain of the calling thread's module state. `host` stays the caller's and must live
// as long as TesselkitStateFixup is called.
TESSELKIT_API void TesselkitStateInit(AFX_MODULE_STATE* host);

// Gives `state` the host's resource and instance handles, and a heap copy of the host's application
// name (owned by `state`, to be released with free) when it has none of its own. Does nothing when
// `state` is null or has a resource handle, or when no host is known. Throws CMemoryException*
// when there is no memory for the name; the handles are copied by then.
TESSELKIT_API void TesselkitStateFixup(AFX_MODULE_STATE* state);
