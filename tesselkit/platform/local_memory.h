// Memory that one function hands out and its caller gives back.
// All functions may be called from any thread.
#pragma once

#include <cstddef>

#include "tesselkit/platform/export.h"
#include "tesselkit/platform/types.h"

using HLOCAL = void*;

constexpr UINT LMEM_FIXED = 0x0000;
constexpr UINT LMEM_ZEROINIT = 0x0040;
constexpr UINT LPTR = LMEM_FIXED | LMEM_ZEROINIT;

// `bytes` of memory, filled with zeros when `flags` hold LMEM_ZEROINIT; null when there is none.
// To be given back with LocalFree.
TESSELKIT_API HLOCAL LocalAlloc(UINT flags, std::size_t bytes);

// Gives memory back that LocalAlloc or FormatMessageA handed out. Null is fine. Returns null.
TESSELKIT_API HLOCAL LocalFree(HLOCAL memory);
