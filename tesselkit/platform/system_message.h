// The system's own texts for status codes and for exception codes.
#pragma once

#include <cstdarg>

#include "tesselkit/platform/export.h"
#include "tesselkit/platform/local_memory.h"
#include "tesselkit/platform/status_codes.h"
#include "tesselkit/platform/types.h"

constexpr DWORD FORMAT_MESSAGE_ALLOCATE_BUFFER = 0x0100;
constexpr DWORD FORMAT_MESSAGE_IGNORE_INSERTS = 0x0200;
constexpr DWORD FORMAT_MESSAGE_FROM_HMODULE = 0x0800;
constexpr DWORD FORMAT_MESSAGE_FROM_SYSTEM = 0x1000;

constexpr WORD LANG_NEUTRAL = 0x00;
constexpr WORD SUBLANG_DEFAULT = 0x01;

constexpr DWORD MAKELANGID(WORD primary, WORD sub) {
  return static_cast<DWORD>(sub) << 10 | primary;
}

// Gives the text of `message_id`, its closing CR LF included, and returns its length in bytes: with
// FORMAT_MESSAGE_FROM_HMODULE of an exception code, with FORMAT_MESSAGE_FROM_SYSTEM of a status
// code, with both of whichever it is. 0 when there is no text for it, or `flags` have neither, or
// the text does not fit, or memory runs out. The host has one table of exception codes, whatever
// module `source` is, and one language; no text holds inserts, so `arguments` are not looked at.
//
// With FORMAT_MESSAGE_ALLOCATE_BUFFER, `buffer` is the address of a pointer that receives the text
// in memory of its own, of at least `size` bytes, which the caller gives back with LocalFree; it
// receives null when there is none. Otherwise `buffer` is where the text and its NUL go, and has
// room for `size` bytes; a null `buffer` gives 0. May be called from any thread.
TESSELKIT_API DWORD FormatMessageA(DWORD flags, LPCVOID source, DWORD message_id, DWORD language,
                                   LPSTR buffer, DWORD size, std::va_list* arguments);
