// The registry: trees of named keys, each with named values, kept in two files ("hives").
//
// HKEY_CURRENT_USER lives in the user hive, every other predefined key in the machine hive. The
// files are named by the environment's TESSELKIT_REGISTRY_USER and TESSELKIT_REGISTRY_MACHINE, read
// at the first use; by default $XDG_DATA_HOME/tesselkit/registry/user.hive (or below
// ~/.local/share) and /var/lib/tesselkit/registry/machine.hive. A hive that is not there is an
// empty one, and the first write makes it.
//
// Every function returns a status, ERROR_SUCCESS or another of status_codes.h, and never throws.
// What a failed call would have handed out stays as it was, unless said otherwise below.
//
// Names keep their case and are compared without it, by characters of the code page. A path is a
// list of key names separated by backslashes; empty components are skipped, and a null or empty
// path is the key itself. Limits: 255 bytes for a key's name, 16383 for a value's, 512 levels. The
// unnamed value has the empty name; null stands for it.
//
// A handle opened with a mask of access rights does no more than they allow: ERROR_ACCESS_DENIED.
// Closed or made-up handles give ERROR_INVALID_HANDLE, one to a key that has been deleted meanwhile
// ERROR_KEY_DELETED. A hive that the process may only read gives ERROR_ACCESS_DENIED to writers, a
// file that is no hive or is damaged ERROR_BADDB (and is not written to), a full disk
// ERROR_DISK_FULL. A failed write changes nothing.
//
// A hive's file must not be moved, replaced or removed while a process uses it.
//
// Processes, and threads of one process, may use the registry at once: a write is seen by whoever
// asks after it has returned, and survives the death of every process; RegFlushKey makes it survive
// a power cut. Writers wait for each other. A handle may be used by several threads. After a fork
// both processes go on with their handles.
#pragma once

#include <cstdint>

#include "tesselkit/platform/export.h"
#include "tesselkit/platform/status_codes.h"
#include "tesselkit/platform/types.h"

using REGSAM = DWORD;
using PHKEY = HKEY*;
using LPDWORD = DWORD*;
using PLONG = LONG*;
using LPBYTE = BYTE*;

// Hundreds of nanoseconds since 1601-01-01.
struct FILETIME {
  DWORD dwLowDateTime;
  DWORD dwHighDateTime;
};

inline const HKEY HKEY_CLASSES_ROOT = reinterpret_cast<HKEY>(std::uintptr_t{0x80000000});
inline const HKEY HKEY_CURRENT_USER = reinterpret_cast<HKEY>(std::uintptr_t{0x80000001});
inline const HKEY HKEY_LOCAL_MACHINE = reinterpret_cast<HKEY>(std::uintptr_t{0x80000002});
inline const HKEY HKEY_USERS = reinterpret_cast<HKEY>(std::uintptr_t{0x80000003});
inline const HKEY HKEY_PERFORMANCE_DATA = reinterpret_cast<HKEY>(std::uintptr_t{0x80000004});
inline const HKEY HKEY_CURRENT_CONFIG = reinterpret_cast<HKEY>(std::uintptr_t{0x80000005});
inline const HKEY HKEY_DYN_DATA = reinterpret_cast<HKEY>(std::uintptr_t{0x80000006});

constexpr REGSAM KEY_QUERY_VALUE = 0x0001;
constexpr REGSAM KEY_SET_VALUE = 0x0002;
constexpr REGSAM KEY_CREATE_SUB_KEY = 0x0004;
constexpr REGSAM KEY_ENUMERATE_SUB_KEYS = 0x0008;
constexpr REGSAM KEY_NOTIFY = 0x0010;
constexpr REGSAM KEY_READ = 0x20019;
constexpr REGSAM KEY_WRITE = 0x20006;
constexpr REGSAM KEY_EXECUTE = KEY_READ;
constexpr REGSAM KEY_ALL_ACCESS = 0xF003F;
constexpr REGSAM MAXIMUM_ALLOWED = 0x2000000;  // all that the hive allows this process

constexpr DWORD REG_OPTION_NON_VOLATILE = 0;
constexpr DWORD REG_CREATED_NEW_KEY = 1;
constexpr DWORD REG_OPENED_EXISTING_KEY = 2;

constexpr DWORD REG_NONE = 0;
constexpr DWORD REG_SZ = 1;
constexpr DWORD REG_EXPAND_SZ = 2;
constexpr DWORD REG_BINARY = 3;
constexpr DWORD REG_DWORD = 4;
constexpr DWORD REG_DWORD_BIG_ENDIAN = 5;
constexpr DWORD REG_LINK = 6;
constexpr DWORD REG_MULTI_SZ = 7;

// Opens the key at `sub_key` below `key` with the rights of `access`. ERROR_FILE_NOT_FOUND when
// there is none. `*result` is null after a failure. RegCloseKey ends the handle.
TESSELKIT_API LONG RegOpenKeyExA(HKEY key, LPCSTR sub_key, DWORD options, REGSAM access,
                                 PHKEY result);
// The same with MAXIMUM_ALLOWED.
TESSELKIT_API LONG RegOpenKeyA(HKEY key, LPCSTR sub_key, PHKEY result);

// Opens the key at `sub_key`, making it and the levels above it when they are missing;
// `*disposition`, unless null, tells which. `class_name` is kept with a key that is made.
// `reserved` must be 0 and `options` REG_OPTION_NON_VOLATILE; `security` is not looked at.
TESSELKIT_API LONG RegCreateKeyExA(HKEY key, LPCSTR sub_key, DWORD reserved, LPCSTR class_name,
                                   DWORD options, REGSAM access, LPVOID security, PHKEY result,
                                   LPDWORD disposition);
TESSELKIT_API LONG RegCreateKeyA(HKEY key, LPCSTR sub_key, PHKEY result);

// A handle for the predefined key `key` of this machine: null, "" or "\\" and the host's name;
// ERROR_BAD_NETPATH for any other. RegCloseKey ends the handle.
TESSELKIT_API LONG RegConnectRegistryA(LPCSTR machine, HKEY key, PHKEY result);

// Ends a handle. Predefined keys stay.
TESSELKIT_API LONG RegCloseKey(HKEY key);

// What the key holds; every pointer may be null. `class_size` is the room for the class and its NUL
// and receives its length without. Lengths are in bytes, without a NUL; of data with all they have.
// No time of the last write is kept: `last_write` receives 0. `security` receives 0.
TESSELKIT_API LONG RegQueryInfoKeyA(HKEY key, LPSTR class_name, LPDWORD class_size,
                                    LPDWORD reserved, LPDWORD sub_keys, LPDWORD longest_sub_key,
                                    LPDWORD longest_class, LPDWORD values,
                                    LPDWORD longest_value_name, LPDWORD longest_data,
                                    LPDWORD security, FILETIME* last_write);

// A value's type and data. `*size` is the room at `data` and receives the data's size, also with
// ERROR_MORE_DATA, when the room does not do, and when `data` is null.
TESSELKIT_API LONG RegQueryValueExA(HKEY key, LPCSTR name, LPDWORD reserved, LPDWORD type,
                                    LPBYTE data, LPDWORD size);
// The text of the unnamed value of the key at `sub_key`, with its NUL; the empty one when it has
// none. ERROR_INVALID_DATA when it is no REG_SZ.
TESSELKIT_API LONG RegQueryValueA(HKEY key, LPCSTR sub_key, LPSTR data, PLONG size);

// Sets a value, or replaces it with its type. Null data must have the size 0.
TESSELKIT_API LONG RegSetValueExA(HKEY key, LPCSTR name, DWORD reserved, DWORD type,
                                  const BYTE* data, DWORD size);
// Sets the unnamed value of the key at `sub_key`, which is made when it is missing, to a text.
// `type` must be REG_SZ; `size` is not looked at. Takes KEY_CREATE_SUB_KEY where the key is
// missing, KEY_SET_VALUE where it is `key` itself.
TESSELKIT_API LONG RegSetValueA(HKEY key, LPCSTR sub_key, DWORD type, LPCSTR data, DWORD size);

// The subkey at `index`, in an order of the store's own. `*name_size` is the room for the name and
// its NUL and receives its length without. ERROR_NO_MORE_ITEMS past the last one.
TESSELKIT_API LONG RegEnumKeyExA(HKEY key, DWORD index, LPSTR name, LPDWORD name_size,
                                 LPDWORD reserved, LPSTR class_name, LPDWORD class_size,
                                 FILETIME* last_write);
// The value at `index`; `type`, `data` and `size` as for RegQueryValueExA.
TESSELKIT_API LONG RegEnumValueA(HKEY key, DWORD index, LPSTR name, LPDWORD name_size,
                                 LPDWORD reserved, LPDWORD type, LPBYTE data, LPDWORD size);

// Deletes the key at `sub_key` with its values. ERROR_ACCESS_DENIED when it has subkeys, and for a
// predefined key. A null `sub_key` gives ERROR_INVALID_PARAMETER, the empty one is `key` itself.
TESSELKIT_API LONG RegDeleteKeyA(HKEY key, LPCSTR sub_key);
TESSELKIT_API LONG RegDeleteValueA(HKEY key, LPCSTR name);

// Returns when all that has been written to the key's hive would survive a power cut.
TESSELKIT_API LONG RegFlushKey(HKEY key);

namespace tesselkit::platform {

// Deletes everything below `key`, whatever its depth, in one step, and leaves the key and its
// values.
TESSELKIT_API LONG DeleteSubkeys(HKEY key);

}  // namespace tesselkit::platform
