#include "tesselkit/util/text_file.h"

#include <sys/resource.h>
#include <sys/stat.h>
#include <csignal>
#include <random>
#include <vector>

#include "tesselkit/platform/file.h"
#include "tests/support/code_page.h"
#include "tests/support/failures.h"
#include "tests/support/files.h"
#include "tests/support/host_faults.h"
#include "tests/support/line_model.h"
#include "tests/support/process.h"
#include "tests/support/texts.h"

namespace {

using test::FailureOf;
using test::FileFailure;
using test::Fill;
using test::kInUse;
using test::ReadBytes;
using test::TempDirectory;
using test::Texts;
using test::TextsOf;
using test::WriteBytes;

Texts Read(const std::string& path) {
  CStringArray lines;
  AdGetTextFile(path.c_str(), lines);
  return TextsOf(lines);
}

void Write(const std::string& path, const Texts& texts, int flag = 0) {
  CStringArray lines;
  Fill(lines, texts);
  AdWriteTextFile(path.c_str(), lines, flag);
}

TEST(TextFile, ReadsLines) {
  const std::string kNul("a\0b", 3);
  const struct {
    int line;
    std::string bytes;
    Texts lines;
  } kRows[] = {
      // line   bytes                     lines
      {__LINE__, "", {}},
      {__LINE__, "a\r\n\r\nb", {"a", "", "b"}},
      {__LINE__, "\n\r\n\n", {"", "", ""}},
      {__LINE__, "a\nb\r\nc\rd", {"a", "b", "c\rd"}},
      {__LINE__, "a\r\r\nb\r", {"a\r", "b\r"}},
      {__LINE__, kNul + "\r\n" + kNul, {kNul, kNul}},
      {__LINE__, "a\x1A\r\nb", {"a\x1A", "b"}},
      {__LINE__, "\x81\r\n\x81\n", {"\x81", "\x81"}},
  };
  const TempDirectory directory;
  const std::string path = directory / "text";
  for (const int number : test::kCodePages) {
    const test::CodePage page(number);
    for (const auto& row : kRows) {
      SCOPED_TRACE(row.line);
      WriteBytes(path, row.bytes);
      EXPECT_EQ(Read(path), row.lines);
    }
  }
}

TEST(TextFile, WritesLines) {
  const struct {
    int line;
    Texts lines;
    std::string bytes;
  } kRows[] = {
      // line   lines                 bytes
      {__LINE__, {}, ""},
      {__LINE__, {"a", "", "b"}, "a\r\n\r\nb\r\n"},
      {__LINE__, {"a\nb"}, "a\r\nb\r\n"},
      {__LINE__, {"a\r", "b\r\n"}, "a\r\r\nb\r\r\n\r\n"},
      {__LINE__, {"%s%n%", "\"\\"}, "%s%n%\r\n\"\\\r\n"},
      {__LINE__, {"\x83\x5C"}, "\x83\x5C\r\n"},
  };
  const TempDirectory directory;
  for (const auto& row : kRows) {
    SCOPED_TRACE(row.line);
    for (const int flag : {0, 1, -1}) {
      const std::string path = directory / "text";
      WriteBytes(path, "what stood here before is longer than all of the rows above");
      Write(path, row.lines, flag);
      EXPECT_EQ(ReadBytes(path), row.bytes);
      const std::string fresh = directory / "fresh" + std::to_string(row.line + flag);
      Write(fresh, row.lines, flag);
      EXPECT_EQ(ReadBytes(fresh), row.bytes);
    }
  }
}

// Lines of any length and bytes, also where they lie across the borders of blocks and where the
// array has to grow past what the beginning of the file promised.
TEST(TextFile, RandomFilesGoAsInTheModelAndBack) {
  const TempDirectory directory;
  const std::string path = directory / "text";
  std::mt19937 random(11);
  const auto up_to = [&](std::size_t limit) { return random() % (limit + 1); };
  constexpr std::string_view kBytes("ab\0\x81%\r", 6);
  for (int round = 0; round < 60; ++round) {
    const std::size_t count = up_to(round % 4 == 0 ? 5000 : 20);
    std::string bytes;
    for (std::size_t i = 0; i < count; ++i) {
      std::string line(up_to(up_to(40) == 0 ? 3000 : i < 600 ? 60 : 1), 'x');
      for (char& c : line) c = kBytes[up_to(kBytes.size() - 1)];
      bytes += line + (up_to(1) == 0 ? "\r\n" : "\n");
    }
    if (up_to(3) == 0) bytes += std::string(up_to(200000), 'z');
    WriteBytes(path, bytes);
    const Texts lines = Read(path);
    ASSERT_TRUE(lines == test::Lines(test::InMemory(bytes))) << "round " << round;

    std::string memory;
    for (const std::string& line : lines) memory += line + '\n';
    Write(path, lines);
    ASSERT_TRUE(ReadBytes(path) == test::OnDisk(memory)) << "round " << round;
    // What was written reads back but for carriage returns that ended up before a line feed.
    ASSERT_TRUE(Read(path) == lines) << "round " << round;
  }
}

TEST(TextFile, WhatCannotBeOpenedLeavesNoLines) {
  const TempDirectory directory;
  const struct {
    int line;
    std::string path;
    FileFailure failure;
  } kRows[] = {
      {__LINE__, directory / "none/file", test::kMissing},
      {__LINE__, directory.Path(), test::kIsDirectory},
      {__LINE__, "/proc/self/mem", test::kDeviceFails},
  };
  for (const auto& row : kRows) {
    SCOPED_TRACE(row.line);
    CStringArray lines;
    Fill(lines, {"kept", "or not"});
    EXPECT_EQ(FailureOf([&] { AdWriteTextFile(row.path.c_str(), lines, 0); }), row.failure);
    EXPECT_EQ(TextsOf(lines), (Texts{"kept", "or not"}));
    EXPECT_EQ(FailureOf([&] { AdGetTextFile(row.path.c_str(), lines); }), row.failure);
    EXPECT_EQ(TextsOf(lines), Texts());
  }
}

TEST(TextFile, AFileInUseIsLeftAlone) {
  const TempDirectory directory;
  const std::string path = directory / "text";
  WriteBytes(path, "its\r\n");
  CStringArray lines;
  const CFile holder(path.c_str(), CFile::modeRead | CFile::shareDenyNone);
  EXPECT_EQ(FailureOf([&] { AdGetTextFile(path.c_str(), lines); }), kInUse);
  EXPECT_EQ(FailureOf([&] { AdWriteTextFile(path.c_str(), lines, 0); }), kInUse);
  EXPECT_EQ(test::InChild([&] {
              const auto write = [&] { AdWriteTextFile(path.c_str(), lines, 0); };
              return FailureOf(write) == kInUse ? 0 : 1;
            }),
            0);
  EXPECT_EQ(ReadBytes(path), "its\r\n");
}

TEST(TextFile, APipeIsReadToItsEnd) {
  const TempDirectory directory;
  const std::string path = directory / "pipe";
  ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);
  const Texts texts(2000, "a line");
  test::Child writer([&] {
    Write(path, texts);
    return 0;
  });
  EXPECT_EQ(Read(path), texts);
  EXPECT_EQ(writer.Code(), 0);
}

TEST(TextFile, ThePathMayBeOneOfTheLines) {
  const TempDirectory directory;
  CStringArray lines;
  lines.Add((directory / "text").c_str());
  AdWriteTextFile(lines[0], lines, 0);
  AdGetTextFile(lines[0], lines);
  EXPECT_EQ(TextsOf(lines), Texts{directory / "text"});
}

TEST(TextFile, AReadErrorKeepsTheLinesReadSoFar) {
  const TempDirectory directory;
  const std::string path = directory / "text";
  WriteBytes(path, "first\r\nsecond\r\nthird\r\n");
  CStringArray lines;
  {
    const test::FaultyHost host({.good_reads = 2, .error = EIO, .most = 10});
    EXPECT_EQ(FailureOf([&] { AdGetTextFile(path.c_str(), lines); }), test::kDeviceFails);
  }
  EXPECT_EQ(TextsOf(lines), (Texts{"first", "second"}));
  // Closed: the file can be had again.
  EXPECT_EQ(Read(path), (Texts{"first", "second", "third"}));
}

TEST(TextFile, AFullDiskLeavesWhatWasWrittenAndNothingOld) {
  const TempDirectory directory;
  const std::string path = directory / "text";
  const Texts texts(20000, "0123456789");
  std::string whole;
  for (const std::string& text : texts) whole += text + "\r\n";
  const struct {
    int line;
    std::size_t old_length;
    int good_writes;
    std::size_t kept;
  } kRows[] = {{__LINE__, 1000000, 0, 0},
               {__LINE__, 1000000, 1, 1000},
               {__LINE__, 1000000, 100, 65536 + 34000},
               {__LINE__, 239000, 198 + 1, 3 * 65536 + 1000}};  // in the last block
  for (const auto& row : kRows) {
    SCOPED_TRACE(row.line);
    WriteBytes(path, std::string(row.old_length, 'o'));
    {
      const test::FaultyHost host({.good_writes = row.good_writes, .error = ENOSPC, .most = 1000});
      EXPECT_EQ(FailureOf([&] { Write(path, texts); }), test::kDiskFull);
    }
    EXPECT_TRUE(ReadBytes(path) == whole.substr(0, row.kept));
    EXPECT_EQ(FailureOf([&] { CFile(path.c_str(), CFile::modeRead); }), FileFailure{});
  }

  const auto in_little_room = [&] {
    signal(SIGXFSZ, SIG_IGN);
    const rlimit limit = {5000, 5000};
    setrlimit(RLIMIT_FSIZE, &limit);
    const FileFailure failure = FailureOf([&] { Write(directory / "small", texts); });
    return failure == FileFailure{CFileException::diskFull, EFBIG} ? 0 : 1;
  };
  EXPECT_EQ(test::InChild(in_little_room), 0);
  EXPECT_TRUE(ReadBytes(directory / "small") == whole.substr(0, 5000));
}

TEST(TextFile, ErrorsOfTheEndAreNotLost) {
  const TempDirectory directory;
  const std::string path = directory / "text";
  EXPECT_EQ(FailureOf([&] { Write("/dev/full", {"few bytes, written by the last flush"}); }),
            test::kDiskFull);
  Write("/dev/null", {"as many", "as one likes"});
  {
    const test::FaultyHost host({.good_closes = 0, .error = EIO});
    EXPECT_EQ(FailureOf([&] { Write(path, {"line"}); }), test::kDeviceFails);
  }
  EXPECT_EQ(ReadBytes(path), "line\r\n");
  EXPECT_EQ(FailureOf([&] { CFile(path.c_str(), CFile::modeRead); }), FileFailure{});
}

}  // namespace
