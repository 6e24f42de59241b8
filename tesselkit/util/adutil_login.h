// The product's saved logins: who works with which database, kept for the current user.
//
// A login has a name of its own. It is kept below the product's key of HKEY_CURRENT_USER, a subkey
// for each field; a field that is empty has none. The password is scrambled (adcrypt.h), which
// keeps it from being read in passing and from nobody who looks for it. The functions never throw,
// and may be called from any thread.
#pragma once

#include "tesselkit/platform/cstring.h"
#include "tesselkit/platform/export.h"

// Reads the login `entryName` into the other four. 0 and nothing changed when there is none; 0 and
// the password empty, the fields behind it as they were, when its password is not a scrambled one;
// else 1. Fields of 100 bytes and more, and passwords of 49 and more, are read as empty.
TESSELKIT_API int GetTWLoginInfo(CString& entryName, CString& userName, CString& password,
                                 CString& dbName, CString& dbSetName);

// Saves a login. 0 when its key cannot be made or memory runs out; a field that cannot be written
// is not reported. Changes none of its arguments.
TESSELKIT_API int SaveTWLoginInfo(CString& entryName, CString& userName, CString& password,
                                  CString& dbName, CString& dbSetName);
