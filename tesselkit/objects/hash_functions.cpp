#include "tesselkit/objects/hash_functions.h"

#include <algorithm>
#include <cstring>
#include <iterator>

#include "tesselkit/encoding/adcrypt.h"

namespace {

constexpr unsigned long kPrimes[] = {137,      419,       1259,      3779,      11351,   34057,
                                     102181,   306563,    919691,    2759087,   8277271, 24831827,
                                     74495489, 223486481, 670459477, 2011378459};

}  // namespace

unsigned long AdHashString(const CString& text) {
  return AdHashLPCTSTR(text);
}

// The one arrow from here up to the encodings: a text's hash is its digest.
unsigned long AdHashLPCTSTR(const char* text) {
  return AdEncodeChars(text, static_cast<long>(std::strlen(text)));
}

unsigned long AdNextHashPrime(unsigned long n) {
  const unsigned long* found = std::lower_bound(std::begin(kPrimes), std::end(kPrimes), n);
  return found != std::end(kPrimes) ? *found : AdMaxHashPrime();
}

unsigned long AdMaxHashPrime() {
  return *std::prev(std::end(kPrimes));
}
