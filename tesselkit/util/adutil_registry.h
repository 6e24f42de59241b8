// One registry value, or the names of a key's subkeys, in one call.
//
// A path is that of a key below its root, with backslashes between the names. Root 0 stands for
// HKEY_CURRENT_USER and then HKEY_LOCAL_MACHINE: what the user has set goes before what holds for
// the machine. Each call opens and closes for itself. All functions may be called from any thread.
#pragma once

#include "tesselkit/platform/collections.h"
#include "tesselkit/platform/cstring.h"
#include "tesselkit/platform/export.h"
#include "tesselkit/platform/registry.h"

// Writes a text for the current user and then for the machine, making the keys that are missing.
// When the first fails, the second is not tried. Throws message 18057 (PaMsgException*) whatever
// the failure was.
TESSELKIT_API void AdSetRegistryValue(const char* path, const char* name, const char* value);

// The same below `root` alone.
TESSELKIT_API void AdSetRegistryValue(const char* path, const char* name, const char* value,
                                      HKEY root);

// Reads a text, or a number as its decimal text, of up to 2048 bytes: 1, or 0 and an empty `value`.
// `root` is HKEY_CURRENT_USER, HKEY_LOCAL_MACHINE or 0; below others nothing is found. Never
// throws.
TESSELKIT_API int AdLookupRegistryValue(const char* path, const char* name, CString& value,
                                        HKEY root = nullptr);

// The same, but what is not found throws message 18056 (PaMsgException*).
TESSELKIT_API CString AdGetRegistryValue(const char* path, const char* name, HKEY root = nullptr);

// Adds the names of the key's subkeys to `keys`, below the first of the two roots that has the key.
// 1, also when it has none, or 0 when there is no such key. Never throws.
TESSELKIT_API int AdLookupRegistrySubKeys(const char* path, CStringArray& keys);
