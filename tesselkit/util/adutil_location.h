// Where a file or a directory lies along a list of directories, and questions about the host.
//
// A directory list is directory names separated by semicolons. It ends at its first empty element;
// what stands behind that is never looked at. Elements are taken as they stand, blanks and quotes
// included. What is found is the element, a backslash and the name; an element that ends in a
// backslash gives two in a row:
//
//   AdLocateFile("first;second\\", "settings.txt")    "second\\\\settings.txt"
//
// Null texts count as empty ones. All functions may be called from any thread.
#pragma once

#include "tesselkit/platform/cstring.h"
#include "tesselkit/platform/export.h"

// The path of the first directory's file of that name that can be opened for reading, or an empty
// text. A directory of that name is passed over, and so are a named pipe and a file that another
// opener has for itself. Exceptions other than the file layer's pass to the caller.
TESSELKIT_API CString AdLocateFile(const char* directories, const char* fileName);

// The path of the first directory's subdirectory of that name, or an empty text. A file of that
// name is passed over.
TESSELKIT_API CString AdLocateDir(const char* directories, const char* dirName);

// 1 when the host is of the NT family, its major version 4 or lower, and its product suite lists
// "Terminal Server", else 0.
TESSELKIT_API int AdIsTerminalServicesEnabled();

// The time as whole seconds since 1970-01-01 00:00:00 UTC and the milliseconds within that second,
// 0 to 999, from one reading of the clock. The seconds need more than 32 bits from 2038 on.
TESSELKIT_API void AdGetCurrentTime(long& seconds, long& milliseconds);
