// Two small schemes with constants of the library's own: a digest, which stands for a password
// wherever it is kept or compared, and a scrambling of short texts that can be taken back. Neither
// is encryption.
//
// The constants never change, so what was stored by one version is understood by every other.
// Texts are taken as bytes up to their NUL; null counts as the empty text. What is broken is thrown
// as a condition failure (PaMsgException*, message 18019) before anything is computed. Results are
// new texts of the caller's; when memory runs out, CMemoryException* is thrown. The functions may
// be called from any thread.
#pragma once

#include "tesselkit/platform/cstring.h"
#include "tesselkit/platform/export.h"

// The digest of `length` bytes at `data`, NUL bytes included; at most 4294967295 on every machine.
// A length of 0 or less is that of no bytes, for which `data` may be null. Never fails.
TESSELKIT_API unsigned long AdEncodeChars(const char* data, long length);

// The digest of the user name followed directly by the password: eight lower-case hexadecimal
// digits. The user name must not be empty; the password may be.
TESSELKIT_API CString AdEncryptPassword(const char* username, const char* password);

// 1 when `text` can be given to AdDecryptString: not empty, nothing but "0123456789abcdef", and an
// even number of them; otherwise 0. Never fails.
TESSELKIT_API int AdIsReversiblyEncryptedString(const char* text);

// The text scrambled: two lower-case hexadecimal digits for each byte and for its NUL. The same
// text always gives the same digits. It must not be empty.
TESSELKIT_API CString AdEncryptStringReversibly(const char* the_string);

// The text of which AdEncryptStringReversibly made `reversible_str`, which must pass
// AdIsReversiblyEncryptedString. Digits from elsewhere give some text, cut before its first NUL.
TESSELKIT_API CString AdDecryptString(const char* reversible_str);
