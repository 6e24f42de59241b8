#include "tesselkit/encoding/admimeutil.h"

#include <new>
#include <optional>
#include <random>
#include <vector>

#include "tesselkit/encoding/base64_kernels.h"
#include "tesselkit/platform/exceptions.h"
#include "tests/support/base64_model.h"
#include "tests/support/failures.h"
#include "tests/support/traced_test.h"

namespace {
bool refuse_memory = false;
}

void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
  if (refuse_memory) return nullptr;
  try {
    return ::operator new(size);
  } catch (const std::bad_alloc&) {
    return nullptr;
  }
}

namespace {

using tesselkit::encoding::Base64Kernel;

// Every test runs with each kernel that the processor has.
class Base64 : public test::TracedTest, public testing::WithParamInterface<const Base64Kernel*> {
 protected:
  Base64() {
    tesselkit::encoding::SetBase64Kernel(*GetParam());
    m_codec.Initialize();
  }
  ~Base64() override {
    m_codec.Finalize();
    tesselkit::encoding::SetBase64Kernel(*tesselkit::encoding::UsableBase64Kernels().front());
  }

  // The bytes are given in memory that ends with them.
  std::string Encode(const std::string& bytes, long line_length) {
    std::vector<char> exact(bytes.begin(), bytes.end());
    exact.shrink_to_fit();
    const auto length = static_cast<long>(exact.size());
    return std::string(m_codec.EncodeBase64(exact.data(), length, line_length).View());
  }

  // What can be had after decoding, told apart from what was in the buffer before; nothing when
  // the text is refused.
  std::optional<std::string> Decode(const std::string& text) {
    CString copy{std::string_view(text)};
    long length = 0;
    try {
      length = m_codec.DecodeBase64(copy);
    } catch (PaMsgException* exception) {
      const test::ThrownMessage thrown = test::TakeMessage(exception);
      EXPECT_EQ(thrown.id, 18019);
      EXPECT_EQ(thrown.text, test::ConditionText("0", "admimeutil"));
      EXPECT_EQ(TakeTraces().size(), 1u);
      return std::nullopt;
    }
    EXPECT_EQ(copy.View(), text);
    const std::string bytes = Results(text.size());
    EXPECT_EQ(bytes.size(), static_cast<std::size_t>(length));
    return bytes;
  }

  // What GetDecodedResults writes, which is found by writing over two different grounds.
  std::string Results(std::size_t most) {
    std::string a(most, 'a'), b(most, 'b');
    m_codec.GetDecodedResults(a.data());
    m_codec.GetDecodedResults(b.data());
    std::size_t size = most;
    while (size > 0 && a[size - 1] != b[size - 1]) --size;
    EXPECT_EQ(a.substr(0, size), b.substr(0, size));
    return a.substr(0, size);
  }

  void ExpectAsModel(const std::string& text) {
    const test::ModelDecoded expected = test::ModelDecode(text);
    const std::optional<std::string> bytes = Decode(text);
    ASSERT_EQ(bytes.has_value(), expected.is_valid) << text;
    ASSERT_EQ(bytes.value_or(Results(text.size())), expected.bytes) << text;
  }

  AdMimeUtil m_codec;
};

INSTANTIATE_TEST_SUITE_P(Kernels, Base64,
                         testing::ValuesIn(tesselkit::encoding::UsableBase64Kernels().begin(),
                                           tesselkit::encoding::UsableBase64Kernels().end()),
                         [](const auto& info) { return std::string(info.param->name); });

std::string RandomBytes(std::mt19937& random, std::size_t size) {
  std::string bytes;
  while (bytes.size() < size) bytes += static_cast<char>(random());
  return bytes;
}

std::string RandomCharacters(std::mt19937& random, std::size_t size) {
  std::string text;
  while (text.size() < size) text += test::kAlphabet[random() % 64];
  return text;
}

std::string Filled(std::string bytes) {
  do bytes += '\0';
  while (bytes.size() % 3 != 0);
  return bytes;
}

TEST_P(Base64, TheFraming) {
  const struct {
    int line;
    std::string bytes;
    long line_length;
    std::string text;
  } rows[] = {
      {__LINE__, "", 76, "AAAA="},
      {__LINE__, "a", 76, "YQAA="},
      {__LINE__, "ab", 76, "YWIA="},
      {__LINE__, "abc", 76, "YWJj="},
      {__LINE__, "abcd", 4, "YWJj\nZAAA="},
      {__LINE__, "abcdefabcdefabcd", 8, "YWJjZGVm\nYWJjZGVm\nYWJjZAAA="},
      {__LINE__, "abcdefabcdef", 6, "YWJjZGVmYWJjZGVm="},
      {__LINE__, "\xfb\xff\xbf", 76, "+/+/="},
  };
  for (const auto& row : rows) {
    EXPECT_EQ(Encode(row.bytes, row.line_length), row.text) << "row at line " << row.line;
    const std::string filled =
        row.bytes.size() % 3 == 0 && !row.bytes.empty() ? row.bytes : Filled(row.bytes);
    EXPECT_EQ(Decode(row.text), filled) << "row at line " << row.line;
  }
  EXPECT_EQ(m_codec.EncodeBase64(nullptr, 0, 76), "AAAA=");
  EXPECT_EQ(m_codec.EncodeBase64(nullptr, 5, 76), "AAAA=");
  char bytes[] = "abc";
  EXPECT_EQ(m_codec.EncodeBase64(bytes, -1, 76), "AAAA=");
}

TEST_P(Base64, EveryLengthWithEveryLineLength) {
  std::mt19937 random(4);
  for (std::size_t length = 0; length <= 300; ++length) {
    const std::string bytes = RandomBytes(random, length);
    for (long line_length = -4; line_length <= 100; ++line_length) {
      const std::string text = Encode(bytes, line_length);
      ASSERT_EQ(text, test::ModelEncoded(bytes, line_length)) << length << ' ' << line_length;
      if (line_length % 4 == 0) {
        ASSERT_NO_FATAL_FAILURE(ExpectAsModel(text));
      }
    }
  }
}

TEST_P(Base64, LongTexts) {
  std::mt19937 random(5);
  for (const std::size_t length : {49151u, 49152u, 49153u, 200000u}) {
    const std::string bytes = RandomBytes(random, length);
    for (const long line_length : {4L, 64L, 76L, 1000L, 60000L, 2147483647L}) {
      const std::string text = Encode(bytes, line_length);
      ASSERT_TRUE(text == test::ModelEncoded(bytes, line_length)) << length << ' ' << line_length;
      const std::optional<std::string> decoded = Decode(text);
      ASSERT_TRUE(decoded && decoded->substr(0, length) == bytes) << length << ' ' << line_length;
    }
  }
}

// Texts as nobody writes them: line feeds anywhere, more than one, lines that change their length,
// a stray byte or an "=" somewhere.
TEST_P(Base64, IrregularTexts) {
  std::mt19937 random(6);
  for (int round = 0; round < 3000; ++round) {
    std::string text;
    for (unsigned lines = random() % 6; lines > 0; --lines) {
      const std::size_t length = round % 2 == 0 ? random() % 50 * 4 : random() % 200;
      for (unsigned equal = random() % 4 + 1; equal > 0; --equal) {
        text += RandomCharacters(random, length) + std::string(random() % 8 == 0 ? 2 : 1, '\n');
      }
    }
    for (unsigned feeds = round % 3 == 0 ? random() % 8 : 0; feeds > 0; --feeds) {
      text.insert(random() % (text.size() + 1), 1, '\n');
    }
    if (round % 4 == 1 && !text.empty()) text[random() % text.size()] = '=';
    if (round % 4 == 2 && !text.empty()) text[random() % text.size()] = static_cast<char>(random());
    ASSERT_NO_FATAL_FAILURE(ExpectAsModel(text));
  }
}

// The kernel itself tells where it stopped.
TEST_P(Base64, EveryStrangeByteAtEveryPlaceStopsTheKernelThere) {
  std::mt19937 random(8);
  for (const std::size_t line : {0u, 40u, 64u, 76u}) {
    std::string text = RandomCharacters(random, 200);
    for (std::size_t at = line; line > 0 && at < text.size(); at += line + 1) text[at] = '\n';
    for (std::size_t at = 0; at < text.size(); ++at) {
      const char before = text[at];
      std::string groups = text.substr(0, at);
      std::erase(groups, '\n');
      groups.resize(groups.size() / 4 * 4);
      const std::string expected = test::ModelDecode(groups).bytes;
      for (int byte = 0; byte < 256; ++byte) {
        const char c = static_cast<char>(byte);
        if (c == '\n' || std::string(test::kAlphabet, 64).find(c) != std::string::npos) continue;
        text[at] = c;
        std::string bytes(text.size() + tesselkit::encoding::kBase64Slack, '\0');
        const auto state = GetParam()->decode(text.data(), text.data() + text.size(), bytes.data());
        ASSERT_EQ(state.stop - text.data(), static_cast<std::ptrdiff_t>(at)) << byte;
        const auto size = static_cast<std::size_t>(state.bytes_end - bytes.data());
        ASSERT_EQ(bytes.substr(0, size), expected) << at << ' ' << byte;
      }
      text[at] = before;
    }
  }
}

TEST_P(Base64, EveryTextOfOneByteAndTheStrangestOfMore) {
  for (int byte = 0; byte < 256; ++byte) {
    ASSERT_NO_FATAL_FAILURE(ExpectAsModel(std::string(1, static_cast<char>(byte))));
    ASSERT_NO_FATAL_FAILURE(ExpectAsModel("YWJj" + std::string(1, static_cast<char>(byte))));
  }
  for (const char* text :
       {"", "\n", "\n\n\n\n\n\n\n\n\n", "=", "\n=", "YWJj\r\n", "YW Jj", "YW\nJj", "YWJj=?*!",
        "YWJjY=", "YWJjYW=", "YWJjYWI=", "YQ==", "====", "Y"}) {
    ASSERT_NO_FATAL_FAILURE(ExpectAsModel(text));
  }
}

// What RFC 4648 itself lists, and what another program wrote.
TEST_P(Base64, TextOfOtherCodecs) {
  std::string bytes;
  for (int i = 0; i < 100; ++i) bytes += static_cast<char>(i * 37 + 11);
  const struct {
    int line;
    const char* text;
    std::string bytes;
  } rows[] = {
      {__LINE__, "", ""},
      {__LINE__, "Zg==", "f"},
      {__LINE__, "Zm8=", "fo"},
      {__LINE__, "Zm9v", "foo"},
      // Python, base64.encodebytes
      {__LINE__,
       "CzBVep/E6Q4zWH2ix+wRNluApcrvFDleg6jN8hc8YYar0PUaP2SJrtP4HUJnjLHW+yBFao+02f4j\n"
       "SG2St9wBJktwlbrfBClOc5i94gcsUXabwOUKL1R5nsPoDTJXfKHG6xA1Wg==\n",
       bytes},
  };
  for (const auto& row : rows) {
    EXPECT_EQ(Decode(row.text), row.bytes) << "row at line " << row.line;
  }
}

// The decoder's work buffer has room for 65536 characters and is emptied before the next group.
TEST_P(Base64, ARefusedTextLeavesWhatWasDecodedInWholeBuffers) {
  std::mt19937 random(9);
  const std::string characters = RandomCharacters(random, 140000);
  for (const std::size_t edge : {0u, 65536u, 131072u}) {
    for (std::size_t at = edge >= 8 ? edge - 8 : 0; at <= edge + 8; ++at) {
      std::string text = characters;
      text[at] = '\r';
      ASSERT_NO_FATAL_FAILURE(ExpectAsModel(text));
      ASSERT_NO_FATAL_FAILURE(ExpectAsModel(characters.substr(0, at)));  // one letter too many
    }
  }
  ASSERT_EQ(Decode("YWJj"), "abc");
}

TEST_P(Base64, AnObjectHoldsNothingBeforeInitializeAndAfterFinalize) {
  CString text = "YWJj";
  AdMimeUtil bare;
  char untouched[] = "xyz";
  bare.GetDecodedResults(untouched);
  EXPECT_STREQ(untouched, "xyz");
  EXPECT_EQ(bare.DecodeBase64(text), 3);  // and destroyed without Finalize
  ASSERT_EQ(Decode("YWJj"), "abc");
  m_codec.Finalize();
  m_codec.GetDecodedResults(untouched);
  m_codec.Initialize();
  m_codec.Initialize();
  m_codec.GetDecodedResults(untouched);
  EXPECT_STREQ(untouched, "xyz");
  EXPECT_EQ(Encode("abc", 76), "YWJj=");
  m_codec.Finalize();
  m_codec.Finalize();
}

TEST_P(Base64, MemoryThatRunsOutIsTheMemoryException) {
  std::string bytes(1000, 'x');
  CString text = m_codec.EncodeBase64(bytes.data(), 1000, 76);
  ASSERT_EQ(Decode("YWJj"), "abc");
  refuse_memory = true;
  EXPECT_THROW(m_codec.EncodeBase64(bytes.data(), 1000, 76), CMemoryException*);
  EXPECT_THROW(m_codec.DecodeBase64(text), CMemoryException*);
  refuse_memory = false;
  EXPECT_EQ(Results(10), "");
  // No text can be that long, whatever memory there is.
  EXPECT_THROW(m_codec.EncodeBase64(bytes.data(), 2147483647, 76), CMemoryException*);
  EXPECT_EQ(m_codec.DecodeBase64(text), 1002);
  EXPECT_EQ(m_codec.EncodeBase64(bytes.data(), 3, 76), "eHh4=");
}

class Steps : public AdMimeUtil {
 public:
  void ExpectTables() {
    EXPECT_EQ(m_pDecoding, nullptr);
    CalcDecoding();
    for (int byte = 0; byte < 256; ++byte) {
      const std::size_t value = std::string(test::kAlphabet).find(static_cast<char>(byte));
      EXPECT_EQ(m_pDecoding[byte], byte != 0 && value < 64 ? value : 255u) << byte;
    }
    for (int value = 0; value < 64; ++value) EXPECT_EQ(EncodeOne(value), test::kAlphabet[value]);
  }

  // More than one work buffer of each kind.
  void Write() {
    for (int i = 0; i < 20000; ++i) {
      EncodeOutput4Bytes(i);
      DecodeOutput3Bytes(i);
    }
    EncodeOutputLastFew('x', 1);
    for (int count = 0; count <= 4; ++count) DecodeOutputLastFew((1 << 6 * count) - 1, count);
    EncodeFlushOutput();
    DecodeFlushOutput();
    DecodeFlushOutput();
  }
};

TEST(Base64Steps, WriteToBuffersOfTheirOwn) {
  Steps steps;
  steps.Initialize();
  steps.ExpectTables();
  steps.Write();
  std::string expected;
  for (int i = 0; i < 20000; ++i) expected += {0, static_cast<char>(i >> 8), static_cast<char>(i)};
  expected += std::string(1 + 2 + 3, '\xff');
  std::string bytes(expected.size() + 1, 'x');
  steps.GetDecodedResults(bytes.data());
  EXPECT_EQ(bytes, expected + 'x');
  char input[] = "abc";
  EXPECT_EQ(steps.EncodeBase64(input, 3, 76), "YWJj=");
  steps.Finalize();
}

}  // namespace
