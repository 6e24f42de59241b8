// Taking a path apart into its directory and its last component.
//
// The separator is AdEnvironment::Slash(), the backslash; a slash and the colon of a drive letter
// are ordinary characters, and so is a backslash that is part of a longer character of the code
// page. Null counts as "". Results are new texts of the caller's; nothing fails. The functions may
// be called from any thread.
//
//   AdDirname("C:\\data\\list.txt")   "C:\\data\\"
//   AdBasename("C:\\data\\list.txt")  "list.txt"
#pragma once

#include "tesselkit/platform/cstring.h"
#include "tesselkit/platform/export.h"

// What follows the last separator: the whole path when there is none, "" when it ends with one.
TESSELKIT_API CString AdBasename(const char* path);

// What goes up to the last separator and includes it; "" when there is none.
TESSELKIT_API CString AdDirname(const char* path);
