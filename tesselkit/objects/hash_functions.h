// The hash functions of the product's tables, and the numbers of bins that a table may have: a
// series of primes, each about three times the one before. All are reentrant and allocate nothing.
//
// A `long` stands for 32 bits, so hashes of numbers and texts lie in 0 to 4294967295. Two results
// can be wider on machines whose `unsigned long` is: AdHashObject gives the whole pointer, and
// AdHashUlong the whole of a number that a caller made wider.
#pragma once

#include <cstdint>

#include "tesselkit/platform/cstring.h"
#include "tesselkit/platform/export.h"

class AdObject;

// The address; 0 for null.
TESSELKIT_API inline unsigned long AdHashObject(AdObject* object) {
  return reinterpret_cast<std::uintptr_t>(object);
}

// The low 32 bits as an unsigned number: AdHashLong(-1) is 4294967295.
TESSELKIT_API constexpr unsigned long AdHashLong(long value) {
  return static_cast<std::uint32_t>(value);
}

// The value itself.
TESSELKIT_API constexpr unsigned long AdHashUlong(unsigned long value) {
  return value;
}

// The digest (AdEncodeChars) of the bytes before the first NUL. Equal texts have equal hashes; the
// case of letters counts. The second one's argument must not be null.
TESSELKIT_API unsigned long AdHashString(const CString& text);
TESSELKIT_API unsigned long AdHashLPCTSTR(const char* text);

// The first prime of the series 137, 419, 1259, ... 2011378459 that is at least `n`; the last one
// when there is none.
TESSELKIT_API unsigned long AdNextHashPrime(unsigned long n);

// The last prime of the series: 2011378459.
TESSELKIT_API unsigned long AdMaxHashPrime();
