#include "tesselkit/encoding/adcrypt.h"

#include <cstdint>
#include <random>

#include "tesselkit/encoding/adcrypt_tables.h"
#include "tesselkit/encoding/scrambling.h"
#include "tests/support/failures.h"
#include "tests/support/traced_test.h"

namespace {

using tesselkit::encoding::kDigestWords;
using tesselkit::encoding::kScramblingPad;
using tesselkit::encoding::ScramblingKernel;

constexpr char kDigits[] = "0123456789abcdef";

class Crypt : public test::TracedTest {};

// With each kernel that the processor has.
class Scrambling : public Crypt, public testing::WithParamInterface<const ScramblingKernel*> {
 protected:
  Scrambling() {
    if (IsUsable()) tesselkit::encoding::SetScramblingKernel(*GetParam());
  }
  ~Scrambling() override { tesselkit::encoding::SetScramblingKernel(BestKernel()); }

  static const ScramblingKernel& BestKernel() {
    const ScramblingKernel* wide = tesselkit::encoding::Avx2ScramblingKernel();
    return wide != nullptr ? *wide : tesselkit::encoding::PlainScramblingKernel();
  }
  bool IsUsable() const { return GetParam() != nullptr; }
  void SetUp() override {
    if (!IsUsable()) GTEST_SKIP() << "the processor has no such instructions";
  }
};

INSTANTIATE_TEST_SUITE_P(Kernels, Scrambling,
                         testing::Values(&tesselkit::encoding::PlainScramblingKernel(),
                                         tesselkit::encoding::Avx2ScramblingKernel()),
                         [](const auto& info) {
                           return std::string(info.param != nullptr ? info.param->name : "none");
                         });

// The formulas, one byte at a time.
unsigned long ModelDigest(const std::string& bytes) {
  std::uint32_t sum = kDigestWords[bytes.size() % 2048];
  for (std::size_t i = 0; i < bytes.size(); ++i) {
    sum += kDigestWords[(static_cast<unsigned char>(bytes[i]) + i) % 2048];
  }
  return sum;
}

std::string ModelScrambled(const std::string& text) {
  std::string digits;
  for (std::size_t i = 0; i <= text.size(); ++i) {
    const auto byte = static_cast<unsigned char>(text.c_str()[i] ^ kScramblingPad[i % 2560]);
    digits += kDigits[byte % 16];
    digits += kDigits[byte / 16];
  }
  return digits;
}

std::string ModelUnscrambled(const std::string& digits) {
  std::string text;
  for (std::size_t i = 0; i < digits.size() / 2; ++i) {
    const int value = static_cast<int>(std::string(kDigits).find(digits[2 * i]) +
                                       16 * std::string(kDigits).find(digits[2 * i + 1]));
    text += static_cast<char>(value ^ kScramblingPad[i % 2560]);
  }
  return text.substr(0, text.find('\0'));
}

unsigned long Digest(const std::string& bytes) {
  return AdEncodeChars(bytes.data(), static_cast<long>(bytes.size()));
}

std::string RandomBytes(std::mt19937& random, std::size_t size, int lowest) {
  std::uniform_int_distribution<int> byte(lowest, 255);
  std::string bytes;
  while (bytes.size() < size) bytes += static_cast<char>(byte(random));
  return bytes;
}

std::string Counted(std::size_t size, int step) {
  std::string bytes;
  for (std::size_t i = 0; i < size; ++i) bytes += static_cast<char>(i * step);
  return bytes;
}

// What a text of every length that matters to blocks of 8 and 16 bytes, to the table and to the
// pad needs.
std::vector<std::size_t> LengthsOfInterest() {
  std::vector<std::size_t> lengths;
  for (std::size_t length = 1; length <= 70; ++length) lengths.push_back(length);
  for (const std::size_t edge : {2048u, 2560u, 4096u, 5120u}) {
    for (std::size_t length = edge - 20; length <= edge + 20; ++length) lengths.push_back(length);
  }
  return lengths;
}

// Computed once by a script that shares nothing with the library but the file of constants. Stored
// digests depend on them: a row may be added, never changed.
TEST_F(Crypt, DigestsNeverChange) {
  const struct {
    int line;
    std::string bytes;
    unsigned long digest;
  } rows[] = {
      {__LINE__, "", 0x93baeb80},
      {__LINE__, "a", 0x5f32e853},
      {__LINE__, "abc", 0xf5ef9d66},
      {__LINE__, "\xff", 0xfdb43fb5},
      {__LINE__, Counted(256, 1), 0x7567176c},
      {__LINE__, std::string(2048, '\xff'), 0x1e6f7f75},
      {__LINE__, std::string(2049, 'x'), 0xd5f52ff2},
      {__LINE__, Counted(5000, 7), 0x5679f55a},
  };
  for (const auto& row : rows) {
    EXPECT_EQ(Digest(row.bytes), row.digest) << "row at line " << row.line;
  }
}

TEST_F(Crypt, DigestOfEveryShortTextAndOfManyLengthsIsTheFormulas) {
  for (int first = 0; first < 256; ++first) {
    const std::string one(1, static_cast<char>(first));
    ASSERT_EQ(Digest(one), ModelDigest(one)) << first;
    for (int second = 0; second < 256; ++second) {
      const std::string two = one + static_cast<char>(second);
      ASSERT_EQ(Digest(two), ModelDigest(two)) << first << ' ' << second;
    }
  }
  std::mt19937 random(1);
  for (const std::size_t length : LengthsOfInterest()) {
    const std::string bytes = RandomBytes(random, length, 0);
    ASSERT_EQ(Digest(bytes), ModelDigest(bytes)) << length;
  }
  for (const long none : {0L, -1L}) EXPECT_EQ(AdEncodeChars(nullptr, none), kDigestWords[0]);
}

TEST_F(Crypt, PasswordDigestIsThatOfTheJoinedTexts) {
  const struct {
    int line;
    const char* username;
    const char* password;
    const char* digest;
  } rows[] = {
      {__LINE__, "administrator", "secret", "31b0f1c3"},
      {__LINE__, "administratorsec", "ret", "31b0f1c3"},
      {__LINE__, "administrator", "", "0e69a9a9"},
      {__LINE__, "administrator", nullptr, "0e69a9a9"},
      {__LINE__, "Administrator", nullptr, "83794602"},
      {__LINE__, "user", "3266", "00016de6"},
      {__LINE__, "a", "%s%n", "5ca235cd"},  // nothing in a text is taken for a format
  };
  for (const auto& row : rows) {
    EXPECT_EQ(AdEncryptPassword(row.username, row.password), row.digest)
        << "row at line " << row.line;
  }
}

// As for the digests: a saved login depends on these.
TEST_P(Scrambling, ScrambledTextsNeverChange) {
  const struct {
    int line;
    const char* text;
    const char* digits;
  } rows[] = {
      {__LINE__, "a", "f285"},
      {__LINE__, "abc", "f2a3e027"},
      {__LINE__, "secret password", "d3d3e0003504242233b21263536192c4"},
      {__LINE__, "secret password 1", "d3d3e0003504242233b21263536192c6b654"},
      {__LINE__, "0123456789abcdef", "e796f51420104556a6163332930082a2a5"},
      {__LINE__, "\x81\x40\xff\xfe", "fc8129c863"},
  };
  for (const auto& row : rows) {
    EXPECT_EQ(AdEncryptStringReversibly(row.text), row.digits) << "row at line " << row.line;
    EXPECT_EQ(AdDecryptString(row.digits), row.text) << "row at line " << row.line;
  }
}

void ExpectRoundTrip(const std::string& text) {
  const CString digits = AdEncryptStringReversibly(text.c_str());
  ASSERT_EQ(digits.View(), ModelScrambled(text));
  ASSERT_EQ(AdIsReversiblyEncryptedString(digits), 1);
  ASSERT_EQ(AdDecryptString(digits).View(), text);
}

TEST_P(Scrambling, EveryShortTextAndManyLengthsComeBack) {
  for (int first = 1; first < 256; ++first) {
    ExpectRoundTrip(std::string(1, static_cast<char>(first)));
    for (int second = 1; second < 256; ++second) {
      ExpectRoundTrip({static_cast<char>(first), static_cast<char>(second)});
    }
  }
  std::mt19937 random(2);
  for (const std::size_t length : LengthsOfInterest()) {
    ExpectRoundTrip(RandomBytes(random, length, 1));
  }
}

TEST_P(Scrambling, ForeignDigitsGiveTheTextBeforeTheirFirstNul) {
  EXPECT_EQ(AdDecryptString("f2"), "a");  // no NUL at all
  EXPECT_EQ(AdDecryptString("e4"), "");   // the NUL comes first
  EXPECT_EQ(AdDecryptString("e4f2"), "");
  std::mt19937 random(3);
  std::uniform_int_distribution<int> digit(0, 15);
  for (std::size_t length = 2; length < 1400; length += 2) {
    std::string digits;
    while (digits.size() < length) digits += kDigits[digit(random)];
    ASSERT_EQ(AdDecryptString(digits.c_str()).View(), ModelUnscrambled(digits)) << digits;
  }
}

TEST_P(Scrambling, OnlyAnEvenNumberOfLowerCaseDigitsCanBeUnscrambled) {
  EXPECT_EQ(AdIsReversiblyEncryptedString(nullptr), 0);
  EXPECT_EQ(AdIsReversiblyEncryptedString(""), 0);
  for (std::size_t length = 1; length <= 70; ++length) {
    const std::string digits(length, '0');
    ASSERT_EQ(AdIsReversiblyEncryptedString(digits.c_str()), length % 2 == 0 ? 1 : 0) << length;
    if (length % 2 != 0) continue;
    for (int byte = 1; byte < 256; ++byte) {
      const bool is_digit = std::string(kDigits).find(static_cast<char>(byte)) < 16;
      std::string changed = digits;
      changed[length * byte / 256] = static_cast<char>(byte);
      ASSERT_EQ(AdIsReversiblyEncryptedString(changed.c_str()), is_digit ? 1 : 0) << changed;
    }
  }
}

TEST_F(Crypt, BrokenArgumentsAreConditionFailures) {
  const struct {
    int line;
    CString (*call)();
    const char* condition;
  } rows[] = {
      {__LINE__, [] { return AdEncryptPassword(nullptr, "x"); }, "AdIsNonEmpty(username)"},
      {__LINE__, [] { return AdEncryptPassword("", "x"); }, "AdIsNonEmpty(username)"},
      {__LINE__, [] { return AdEncryptStringReversibly(nullptr); }, "AdIsNonEmpty(the_string)"},
      {__LINE__, [] { return AdEncryptStringReversibly(""); }, "AdIsNonEmpty(the_string)"},
      {__LINE__, [] { return AdDecryptString(nullptr); }, "AdIsNonEmpty(reversible_str)"},
      {__LINE__, [] { return AdDecryptString(""); }, "AdIsNonEmpty(reversible_str)"},
      {__LINE__, [] { return AdDecryptString("F2"); },
       "AdIsReversiblyEncryptedString(reversible_str)"},
      {__LINE__, [] { return AdDecryptString("f2a"); },
       "AdIsReversiblyEncryptedString(reversible_str)"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(testing::Message() << "row at line " << row.line);
    const test::ThrownMessage thrown = test::Catch(row.call);
    EXPECT_EQ(thrown.id, 18019);
    EXPECT_EQ(thrown.text, test::ConditionText(row.condition, "adcrypt"));
    EXPECT_EQ(TakeTraces().size(), 1u);
  }
}

}  // namespace
