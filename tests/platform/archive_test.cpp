#include "tesselkit/platform/archive.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <functional>
#include <limits>
#include <random>
#include <stdexcept>
#include <string>
#include <vector>

#include "tesselkit/platform/file.h"
#include "tests/support/archive_bytes.h"
#include "tests/support/huge_text.h"
#include "tests/support/platform_failure.h"

namespace {

using test::Bytes;
using test::ContentOf;
using test::FailureOf;
using test::Hexadecimal;
using test::Load;
using test::LoadFile;
using test::Stored;

// Stores a value and loads the bytes into a variable of its type: the bytes, and "!" behind them
// when the value has not come back.
template <class Value>
std::string Travelled(const Value& value) {
  const std::string bytes = Stored([&](CArchive& archive) { archive << value; });
  Value loaded{};
  Load(bytes, [&](CArchive& archive) { archive >> loaded; });
  return Hexadecimal(bytes) + (loaded == value ? "" : "!");
}

struct Travel {
  int line;
  std::string bytes;
  const char* expected;
};

TEST(Archive, BytesOfValues) {
  const Travel travels[] = {
      {__LINE__, Travelled(BYTE{0xA5}), "A5"},
      {__LINE__, Travelled('\xA5'), "A5"},
      {__LINE__, Travelled(WORD{0xFEDC}), "DC FE"},
      {__LINE__, Travelled(short{-2}), "FE FF"},
      {__LINE__, Travelled(int{-2}), "FE FF FF FF"},
      {__LINE__, Travelled(std::numeric_limits<int>::min()), "00 00 00 80"},
      {__LINE__, Travelled(4294967295U), "FF FF FF FF"},
      {__LINE__, Travelled(DWORD{0xFEDCBA98}), "98 BA DC FE"},
      {__LINE__, Travelled(-2147483648L), "00 00 00 80"},
      {__LINE__, Travelled(-1L), "FF FF FF FF"},
      {__LINE__, Travelled(4294967295UL), "FF FF FF FF"},
      {__LINE__, Travelled(1.5F), "00 00 C0 3F"},
      {__LINE__, Travelled(-0.1), "9A 99 99 99 99 99 B9 BF"},
      {__LINE__, Travelled(CString("a\0b", 3)), "03 61 00 62"},
      {__LINE__, Travelled(CString()), "00"},
  };
  for (const Travel& travel : travels) {
    SCOPED_TRACE(travel.line);
    EXPECT_EQ(travel.bytes, travel.expected);
  }
}

TEST(Archive, TooWideIsRefusedAndNothingIsStored) {
  const std::string bytes = Stored([](CArchive& archive) {
    const char* const refused = "archive genericException store.dat";
    EXPECT_EQ(FailureOf([&] { archive << 2147483648L; }), refused);
    EXPECT_EQ(FailureOf([&] { archive << -2147483649L; }), refused);
    EXPECT_EQ(FailureOf([&] { archive << 4294967296UL; }), refused);
    EXPECT_EQ(FailureOf([&] { archive.WriteCounted({"", 2147483648U}); }), refused);
    archive << BYTE{1};
  });
  EXPECT_EQ(Hexadecimal(bytes), "01");
}

// The layout written down a second time.
std::string Counted(const std::string& text) {
  const std::size_t n = text.size();
  std::string prefix;
  const auto add = [&](std::size_t number, int bytes) {
    for (; bytes > 0; --bytes, number >>= 8) prefix += static_cast<char>(number & 0xFF);
  };
  if (n < 255) {
    add(n, 1);
  } else if (n < 65534) {
    add(255, 1);
    add(n, 2);
  } else {
    add(255, 1);
    add(65535, 2);
    add(n, 4);
  }
  return prefix + text;
}

TEST(Archive, TextsOfEveryPrefix) {
  for (const int buffer_size : {128, 4096, 200'000}) {
    for (const std::size_t length :
         {0, 1, 127, 128, 253, 254, 255, 256, 4096, 65533, 65534, 65535, 65536, 150'000}) {
      SCOPED_TRACE(length);
      std::vector<char> buffer(static_cast<std::size_t>(buffer_size));
      const std::string text(length, 't');
      CMemFile file;
      CArchive storing(&file, CArchive::store, buffer_size, buffer.data());
      storing << BYTE{7} << CString(text) << BYTE{8};
      storing.Close();
      EXPECT_TRUE(ContentOf(file) == '\7' + Counted(text) + '\10');

      file.SeekToBegin();
      CArchive loading(&file, CArchive::load, buffer_size, buffer.data());
      CString loaded("before");
      BYTE before = 0;
      BYTE after = 0;
      loading >> before >> loaded >> after;
      EXPECT_TRUE(loaded.View() == text);
      EXPECT_EQ(before + after, 15);
    }
  }
}

// A reader from which no position can be had, as from a pipe.
class PipeFile : public LoadFile {
 public:
  using LoadFile::LoadFile;
  unsigned long long GetPosition() const override {
    AfxThrowFileException(CFileException::badSeek);
  }
};

long PeakKilobytes() {
  rusage usage{};
  getrusage(RUSAGE_SELF, &usage);
  return usage.ru_maxrss;
}

struct Prefix {
  int line;
  const char* bytes;
  const char* failure;
  const char* in_a_pipe = nullptr;  // when it is another one there
};

TEST(Archive, APrefixIsNotBelieved) {
  const Prefix prefixes[] = {
      {__LINE__, "05 61 62 63 64", "archive endOfFile load.dat"},
      {__LINE__, "05 61 62 63 64 65", ""},
      {__LINE__, "FF", "archive endOfFile load.dat"},
      {__LINE__, "FF 01", "archive endOfFile load.dat"},
      {__LINE__, "FF 01 00 61", ""},  // longer than need be
      {__LINE__, "FF FD FF 61", "archive endOfFile load.dat"},
      {__LINE__, "FF FE FF 01 61", "archive badSchema load.dat"},
      {__LINE__, "FF FF FF 01 00 00", "archive endOfFile load.dat"},
      {__LINE__, "FF FF FF 01 00 00 00 61", ""},
      {__LINE__, "FF FF FF FF FF FF 7F 61", "archive endOfFile load.dat"},
      {__LINE__, "FF FF FF FF FF FF FF 61", "archive endOfFile load.dat",
       "archive genericException load.dat"},
  };
  const long before = PeakKilobytes();
  for (const Prefix& prefix : prefixes) {
    SCOPED_TRACE(prefix.line);
    const auto failure = [&](CFile& file) {
      CArchive archive(&file, CArchive::load);
      CString text("kept");
      const std::string result = FailureOf([&] { archive >> text; });
      EXPECT_TRUE(result.empty() || text == "kept");
      return result;
    };
    LoadFile file(Bytes(prefix.bytes));
    EXPECT_EQ(failure(file), prefix.failure);
    PipeFile pipe(Bytes(prefix.bytes));
    EXPECT_EQ(failure(pipe), prefix.in_a_pipe != nullptr ? prefix.in_a_pipe : prefix.failure);
  }
  EXPECT_LT(PeakKilobytes() - before, 64 * 1024);
}

TEST(Archive, ALongTextOutOfAPipe) {
  const std::string text(1'000'000, 'x');
  PipeFile pipe(Counted(text));
  CArchive archive(&pipe, CArchive::load);
  CString loaded;
  archive >> loaded;
  EXPECT_TRUE(loaded.View() == text);
}

// Pieces of random lengths, in and out, with buffers of random sizes, against one string.
TEST(Archive, RandomPieces) {
  std::mt19937 random(20);
  for (int round = 0; round < 200; ++round) {
    SCOPED_TRACE(round);
    std::vector<char> buffer(128 + random() % 300);
    const auto size = static_cast<int>(buffer.size());
    const UINT longest = round % 2 == 0 ? 40 : 1000;
    std::string model;
    CMemFile file;
    CArchive storing(&file, CArchive::store, size, buffer.data());
    for (int piece = 0; piece < 60; ++piece) {
      std::string bytes(random() % longest, '\0');
      for (char& byte : bytes) byte = static_cast<char>(random());
      storing.Write(bytes.data(), static_cast<UINT>(bytes.size()));
      storing << static_cast<DWORD>(piece);
      model += bytes + Stored([&](CArchive& one) { one << static_cast<DWORD>(piece); });
      if (random() % 20 == 0) storing.Flush();
    }
    storing.Close();
    ASSERT_TRUE(ContentOf(file) == model);

    file.SeekToBegin();
    CArchive loading(&file, CArchive::load, size, buffer.data());
    std::size_t at = 0;
    for (UINT got = 1; got > 0;) {
      std::string bytes(1 + random() % longest, '\0');
      got = loading.Read(bytes.data(), static_cast<UINT>(bytes.size()));
      ASSERT_TRUE(bytes.substr(0, got) == model.substr(at, bytes.size()));
      at += got;
      if (random() % 20 == 0) {
        loading.Flush();
        ASSERT_EQ(file.GetPosition(), at);
      }
    }
    ASSERT_EQ(at, model.size());
  }
}

TEST(Archive, LoadingLeavesTheFileWhereItStopped) {
  LoadFile file("\1\2\3\4");
  for (const BYTE expected : {1, 2, 3, 4}) {
    CArchive archive(&file, CArchive::load);
    BYTE value = 0;
    archive >> value;
    EXPECT_EQ(value, expected);
  }
}

struct Misuse {
  int line;
  std::function<void(CArchive&)> use;
  bool stores;
};

char raw[16];

const Misuse kUses[] = {
    {__LINE__, [](CArchive& archive) { archive << BYTE{1}; }, true},
    {__LINE__, [](CArchive& archive) { archive << 1L; }, true},
    {__LINE__, [](CArchive& archive) { archive << 1L + std::numeric_limits<int>::max(); }, true},
    {__LINE__, [](CArchive& archive) { archive << 1.0; }, true},
    {__LINE__, [](CArchive& archive) { archive << CString(); }, true},
    {__LINE__, [](CArchive& archive) { archive.Write(raw, 1); }, true},
    {__LINE__, [](CArchive& archive) { archive.Write(nullptr, 0); }, true},
    {__LINE__, [](CArchive& archive) { archive.WriteString("a"); }, true},
    {__LINE__, [](CArchive& archive) { archive >> *new (raw) BYTE; }, false},
    {__LINE__, [](CArchive& archive) { archive >> *new (raw) long; }, false},
    {__LINE__, [](CArchive& archive) { archive >> *new (raw) double; }, false},
    {__LINE__,
     [](CArchive& archive) {
       CString text;
       archive >> text;
     },
     false},
    {__LINE__, [](CArchive& archive) { archive.Read(raw, 1); }, false},
    {__LINE__, [](CArchive& archive) { archive.Read(nullptr, 0); }, false},
    {__LINE__, [](CArchive& archive) { archive.ReadString(raw, 1); }, false},
    {__LINE__,
     [](CArchive& archive) {
       CString text;
       archive.ReadString(text);
     },
     false},
};

TEST(Archive, WrongModeAndClosed) {
  for (const Misuse& row : kUses) {
    SCOPED_TRACE(row.line);
    LoadFile file("some bytes that could be loaded");
    CArchive wrong(&file, row.stores ? CArchive::load : CArchive::store);
    EXPECT_EQ(FailureOf([&] { row.use(wrong); }),
              row.stores ? "archive readOnly load.dat" : "archive writeOnly load.dat");

    CArchive closed(&file, row.stores ? CArchive::store : CArchive::load);
    closed.Close();
    closed.Close();
    EXPECT_EQ(closed.GetFile(), nullptr);
    EXPECT_EQ(FailureOf([&] { row.use(closed); }), "archive genericException ");
  }
  EXPECT_EQ(FailureOf([] { CArchive(nullptr, CArchive::load); }), "CInvalidArgException");
}

TEST(Archive, TheLowestBitOfTheModeMeansLoading) {
  CMemFile file;
  for (UINT mode = 0; mode < 8; ++mode) {
    const CArchive archive(&file, mode);
    EXPECT_EQ(archive.IsLoading(), mode % 2 == 1 ? 1 : 0);
    EXPECT_EQ(archive.IsStoring(), mode % 2 == 0 ? 1 : 0);
  }
}

TEST(Archive, EveryValueMeetsTheEndOfTheFile) {
  for (const Misuse& row : kUses) {
    if (row.stores) continue;
    LoadFile file("");
    CArchive archive(&file, CArchive::load);
    const bool throws = row.line < kUses[12].line;
    EXPECT_EQ(FailureOf([&] { row.use(archive); }), throws ? "archive endOfFile load.dat" : "")
        << row.line;
  }
}

// Takes `limit` bytes, as a disk that fills up.
class ShortDisk : public CMemFile {
 public:
  explicit ShortDisk(std::size_t limit) : m_left(limit) { SetFilePath("short.dat"); }
  void Write(const void* bytes, UINT count) override {
    const auto fitting = static_cast<UINT>(std::min<std::size_t>(count, m_left));
    CMemFile::Write(bytes, fitting);
    m_left -= fitting;
    if (fitting < count) AfxThrowFileException(CFileException::diskFull, -1, GetFilePath());
  }

 private:
  std::size_t m_left;
};

TEST(Archive, AFullDiskIsReportedOnceAndNothingComesBehindTheGap) {
  char buffer[128];
  for (std::size_t limit = 0; limit <= 300; limit += 4) {
    SCOPED_TRACE(limit);
    ShortDisk file(limit);
    std::string failure;
    {
      CArchive archive(&file, CArchive::store, sizeof buffer, buffer);
      failure = FailureOf([&] {
        for (int i = 0; i < 75; ++i) archive << i;
        archive.Flush();
      });
      if (!failure.empty()) {
        for (const auto& again : std::initializer_list<std::function<void()>>{
                 [&] { archive << 1; }, [&] { archive.Flush(); }, [&] { archive.Close(); }}) {
          EXPECT_EQ(FailureOf(again), "archive genericException short.dat");
        }
        EXPECT_EQ(archive.GetFile(), nullptr);
        EXPECT_EQ(FailureOf([&] { archive.Close(); }), "");
      }
    }
    EXPECT_EQ(failure, limit < 300 ? "file diskFull short.dat" : "");
    const std::string whole = Stored([](CArchive& archive) {
      for (int i = 0; i < 75; ++i) archive << i;
    });
    EXPECT_EQ(ContentOf(file), whole.substr(0, limit));
  }
}

TEST(Archive, TheDestructorFlushesAndReports) {
  ShortDisk room(4);
  { CArchive(&room, CArchive::store) << 7; }
  EXPECT_EQ(ContentOf(room), std::string("\7\0\0\0", 4));

  ShortDisk full(0);
  EXPECT_EQ(FailureOf([&] { CArchive(&full, CArchive::store) << 7; }), "file diskFull short.dat");
  try {
    CArchive archive(&full, CArchive::store);
    archive << 7;
    throw std::runtime_error("first");
  } catch (const std::runtime_error& error) {
    EXPECT_STREQ(error.what(), "first");
  }

  ShortDisk untouched(100);
  { CArchive(&untouched, CArchive::store | CArchive::bNoFlushOnDelete) << 7; }
  CArchive aborted(&untouched, CArchive::store);
  aborted << 7;
  aborted.Abort();
  EXPECT_EQ(ContentOf(untouched), "");
}

// A reader of few bytes at a time, out of a real pipe.
TEST(Archive, OutOfAPipe) {
  int ends[2];
  ASSERT_EQ(pipe(ends), 0);
  CFile from(ends[0]);
  CFile to(ends[1]);
  CArchive storing(&to, CArchive::store);
  storing << 7 << CString("seven") << 0.5;
  storing.Close();
  to.Close();
  CArchive loading(&from, CArchive::load);
  int number = 0;
  CString text;
  double half = 0;
  loading >> number >> text >> half;
  loading.Close();
  from.Close();
  EXPECT_EQ(number, 7);
  EXPECT_EQ(text, "seven");
  EXPECT_EQ(half, 0.5);
}

TEST(Archive, Lines) {
  const std::string content = "one\r\ntwo\n\n\rfour\r\r\n" + std::string(300, 'x') + "\nlast\r";
  EXPECT_EQ(Stored([&](CArchive& archive) {
              archive.WriteString(nullptr);
              archive.WriteString(content.c_str());
            }),
            content);
  const std::vector<std::string> lines = {"one",   "two", "", "\rfour\r", std::string(300, 'x'),
                                          "last\r"};
  LoadFile file(content);
  char buffer[128];
  CArchive archive(&file, CArchive::load, sizeof buffer, buffer);
  CString line;
  std::vector<std::string> found;
  while (archive.ReadString(line)) found.emplace_back(line.View());
  EXPECT_EQ(found, lines);
  EXPECT_EQ(line, "");

  file.SeekToBegin();
  CArchive pieces(&file, CArchive::load, sizeof buffer, buffer);
  char text[9];
  EXPECT_STREQ(pieces.ReadString(text, 7), "one");
  EXPECT_STREQ(pieces.ReadString(text, 2), "tw");
  EXPECT_STREQ(pieces.ReadString(text, 7), "o");
  EXPECT_STREQ(pieces.ReadString(text, 7), "");
  EXPECT_STREQ(pieces.ReadString(text, 8), "\rfour\r");
  EXPECT_STREQ(pieces.ReadString(text, 7), "xxxxxxx");
}

#ifndef __SANITIZE_THREAD__  // it keeps a record of every byte that is read
TEST(Archive, ATextOfFourGibibytesIsRefused) {
  const test::HugeText text((std::size_t{4} << 30) + (64 << 10));
  EXPECT_EQ(Stored([&](CArchive& archive) {
              EXPECT_EQ(FailureOf([&] { archive.WriteString(text); }),
                        "archive genericException store.dat");
            }),
            "");
}
#endif

}  // namespace
