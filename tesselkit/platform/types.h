// The platform's basic types. A LONG and a DWORD have 32 bits on every machine; handles are
// pointers to types that nobody defines, so that they cannot be mixed up.
#pragma once

#include <cstdint>

using BOOL = int;
using BYTE = unsigned char;
using WORD = std::uint16_t;
using DWORD = std::uint32_t;
using LONG = std::int32_t;
using ULONG = std::uint32_t;
using UINT = unsigned int;
using HRESULT = std::int32_t;

using TCHAR = char;
using LPSTR = char*;
using LPCSTR = const char*;
using LPTSTR = char*;
using LPCTSTR = const char*;
using LPVOID = void*;
using LPCVOID = const void*;
using HANDLE = void*;

// UTF-16. A BSTR knows its length and is made and ended by the functions of automation.h.
using OLECHAR = char16_t;
using LPOLESTR = OLECHAR*;
using BSTR = OLECHAR*;

// A loaded module: the program, a shared library or a language module.
struct HINSTANCE__;
using HINSTANCE = HINSTANCE__*;
using HMODULE = HINSTANCE;

// A registry key.
struct HKEY__;
using HKEY = HKEY__*;

// A place in a collection; null stands for "no more".
struct POSITION__;
using POSITION = POSITION__*;

#ifndef TRUE
#define TRUE 1
#define FALSE 0
#endif
