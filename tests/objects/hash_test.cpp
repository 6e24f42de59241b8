#include "tesselkit/objects/hash_functions.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <random>

#include "tesselkit/encoding/adcrypt.h"
#include "tesselkit/objects/adobject.h"
#include "tesselkit/objects/prime_modulus.h"

namespace {

// A long means 32 bits, also where it has more.
static_assert(AdHashLong(-1) == 4294967295UL);
static_assert(AdHashLong(-2147483647L - 1) == 2147483648UL);
static_assert(AdHashLong(2147483647L) == 2147483647UL);
static_assert(AdHashUlong(0) == 0);
static_assert(AdHashUlong(4294967295UL) == 4294967295UL);
#ifdef __LP64__
static_assert(AdHashLong(0x7FFFFFFF00000005L) == 5);
static_assert(AdHashUlong(0x1234567800000005UL) == 0x1234567800000005UL);
#endif

constexpr unsigned long kPrimes[] = {137,      419,       1259,      3779,      11351,   34057,
                                     102181,   306563,    919691,    2759087,   8277271, 24831827,
                                     74495489, 223486481, 670459477, 2011378459};

bool IsPrime(unsigned long n) {
  for (unsigned long divisor = 2; divisor * divisor <= n; ++divisor) {
    if (n % divisor == 0) return false;
  }
  return true;
}

TEST(HashPrimes, LeadFromEachToTheNext) {
  EXPECT_EQ(AdMaxHashPrime(), 2011378459UL);
  unsigned long below = 0;
  for (const unsigned long prime : kPrimes) {
    EXPECT_TRUE(IsPrime(prime)) << prime;
    EXPECT_EQ(AdNextHashPrime(below), prime);
    EXPECT_EQ(AdNextHashPrime(prime), prime);
    below = prime + 1;
  }
  for (const unsigned long beyond : {2011378460UL, 4294967295UL, ~0UL}) {
    EXPECT_EQ(AdNextHashPrime(beyond), 2011378459UL) << beyond;
  }
}

TEST(HashFunctions, TakeTheWholePointer) {
  EXPECT_EQ(AdHashObject(nullptr), 0UL);
  CObject* object = AdObject::CreateObject();
  EXPECT_EQ(AdHashObject(static_cast<AdObject*>(object)), reinterpret_cast<std::uintptr_t>(object));
  delete object;
}

TEST(HashFunctions, OfTextsAreTheDigestUpToTheFirstNul) {
  const char* const kTexts[] = {
      "", "a", "b", "ab", "ba", "\x81\x5C\xFF", "Tesselkit 100% 'quoted'"};
  for (const char* text : kTexts) {
    const unsigned long digest = AdEncodeChars(text, static_cast<long>(std::strlen(text)));
    EXPECT_EQ(AdHashLPCTSTR(text), digest) << text;
    EXPECT_EQ(AdHashString(text), digest) << text;
    EXPECT_LE(digest, 4294967295UL) << text;
  }
  EXPECT_EQ(AdHashString(CString("ab\0cd", 5)), AdHashLPCTSTR("ab"));
  EXPECT_NE(AdHashLPCTSTR("ab"), AdHashLPCTSTR("ba"));
}

TEST(PrimeModulus, IsTheRemainderOfADivision) {
  std::mt19937_64 random(20000210);
  for (const std::uint64_t prime : kPrimes) {
    const tesselkit::objects::PrimeModulus modulus(prime);
    const auto check = [&](std::uint64_t number) {
      ASSERT_EQ(modulus.Of(number), number % prime) << number << " modulo " << prime;
    };
    const std::uint64_t kBorders[] = {0,
                                      prime,
                                      std::uint64_t{1} << 32,
                                      (std::uint64_t{1} << 32) / prime * prime,
                                      std::uint64_t{1} << 63,
                                      ~std::uint64_t{0} / prime * prime};
    for (const std::uint64_t border : kBorders) {
      for (const std::uint64_t near : {border - 1, border, border + 1}) check(near);
    }
    for (int i = 0; i < 20000; ++i) {
      const std::uint64_t number = random();
      check(number);
      check(number >> 32);
      check(number / prime * prime);
      check(number / prime * prime - 1);
    }
  }
}

}  // namespace
