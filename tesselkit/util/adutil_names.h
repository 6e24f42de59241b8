// Whether a text may be the name of one of the product's things, or a login.
//
// Lengths are in letters, characters of the code page; a null name has none. Each check returns 1
// when the name is good, with `reason` empty, and 0 with the full text of one message in `reason`:
// 18036 when the length is out of range, which is tested first, or what the check below says.
// `name` must not lie inside `reason`. A bad name never throws; message 18018 (PaMsgException*) is
// thrown when the string resources lack a set of characters. The functions may be called from any
// thread.
#pragma once

#include "tesselkit/platform/cstring.h"
#include "tesselkit/platform/export.h"

// 1 to 25 letters, none of them of string resource 18062, the punctuation except "-" and "_";
// otherwise message 18063. The resource is read at every call.
TESSELKIT_API int AdIsValidIdentifier(const char* name, CString& reason);
TESSELKIT_API int AdIsValidIdentifier(const char* name);

// 1 to 25 letters, the first of string resource 18037, an ASCII letter, the others of 18038, which
// has digits and "_" as well; otherwise message 18039 or 18040. The two resources are read once.
TESSELKIT_API int AdIsValidIdentifierAscii(const char* name, CString& reason);

// The same with 1 to 30 letters.
TESSELKIT_API int AdIsValidLogin(const char* name, CString& reason);
