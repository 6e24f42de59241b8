#include "tesselkit/platform/stdio_file.h"

#include <algorithm>
#include <random>
#include <vector>

#include "tests/support/failures.h"
#include "tests/support/files.h"
#include "tests/support/host_faults.h"
#include "tests/support/line_model.h"

namespace {

using test::FailureOf;
using test::FileFailure;
using test::ReadBytes;
using test::TempDirectory;
using test::WriteBytes;

constexpr UINT kRead = CFile::modeRead | CFile::typeText;
constexpr UINT kCreate = CFile::modeCreate | CFile::modeWrite | CFile::typeText;

// All of a file by one of the ways to read it, as the text that it has in memory.
using Reader = std::string (*)(CStdioFile& file);

std::string ByString(CStdioFile& file) {
  std::string text;
  for (CString line; file.ReadString(line);) text += std::string(line.View()) + '\n';
  return text;
}

std::string ByView(CStdioFile& file) {
  std::string text;
  for (std::string_view line; file.NextLine(line);) text += std::string(line) + '\n';
  return text;
}

// The pieces are told apart by filling the buffer first: NUL bytes do not end them.
template <UINT size>
std::string ByBuffer(CStdioFile& file) {
  std::string text;
  char buffer[size + 1];
  for (;;) {
    std::fill(buffer, buffer + size + 1, 'x');
    if (file.ReadString(buffer, size) == nullptr) return text;
    char* end = buffer + size;
    while (end[-1] != '\0') --end;
    text.append(buffer, end - 1);
  }
}

template <UINT size>
std::string ByRead(CStdioFile& file) {
  std::string text;
  char buffer[size];
  for (UINT count; (count = file.Read(buffer, size)) > 0;) text.append(buffer, count);
  return text;
}

// What the line readers give: a last line end whether the file has one or not.
std::string WithLastLineEnd(std::string text) {
  if (!text.empty() && text.back() != '\n') text += '\n';
  return text;
}

void ExpectReadAlike(const std::string& path, const std::string& bytes, UINT flags) {
  const std::string memory = (flags & CFile::typeBinary) != 0 ? bytes : test::InMemory(bytes);
  const struct {
    int line;
    Reader reader;
    std::string expected;
  } kRows[] = {
      {__LINE__, ByString, WithLastLineEnd(memory)},
      {__LINE__, ByView, WithLastLineEnd(memory)},
      {__LINE__, ByBuffer<2>, memory},
      {__LINE__, ByBuffer<7>, memory},
      {__LINE__, ByBuffer<100000>, memory},
      {__LINE__, ByRead<1>, memory},
      {__LINE__, ByRead<5>, memory},
      {__LINE__, ByRead<100000>, memory},
  };
  WriteBytes(path, bytes);
  for (const auto& row : kRows) {
    SCOPED_TRACE(row.line);
    CStdioFile file(path.c_str(), flags);
    // Long texts would drown the report.
    EXPECT_TRUE(row.reader(file) == row.expected) << testing::PrintToString(bytes.substr(0, 40));
    EXPECT_EQ(file.GetPosition(), bytes.size());
  }
}

std::string RandomBytes(std::mt19937& random, std::size_t most) {
  constexpr std::string_view kBytes("ab\r\r\n\n\0\x81\x1A", 9);
  std::string bytes(random() % (most + 1), '\0');
  for (char& c : bytes) c = kBytes[random() % kBytes.size()];
  return bytes;
}

TEST(StdioFile, EveryShortTextReadsAsInTheModel) {
  const TempDirectory directory;
  const std::string path = directory / "text";
  std::mt19937 random(3);
  for (int i = 0; i < 500; ++i) ExpectReadAlike(path, RandomBytes(random, 12), kRead);
  for (int i = 0; i < 50; ++i) {
    ExpectReadAlike(path, RandomBytes(random, 12), CFile::modeRead | CFile::typeBinary);
  }
}

TEST(StdioFile, LineEndsAtTheBordersOfBlocks) {
  const TempDirectory directory;
  const std::string path = directory / "text";
  for (const std::size_t block : {65536u, 131072u}) {
    for (std::size_t length = block - 3; length <= block + 2; ++length) {
      for (const char* end : {"\r\n", "\n", "\r", "\r\r\n", "\r\rx\n", ""}) {
        ExpectReadAlike(path, std::string(length, 'x') + end, kRead);
        ExpectReadAlike(path, "short\r\n" + std::string(length, 'x') + end + "\ny", kRead);
      }
    }
  }
}

TEST(StdioFile, ShortAndInterruptedReadsChangeNothing) {
  const TempDirectory directory;
  const std::string path = directory / "text";
  std::mt19937 random(4);
  for (int i = 0; i < 200; ++i) {
    const std::string bytes = RandomBytes(random, 40);
    WriteBytes(path, bytes);
    CStdioFile file(path.c_str(), kRead);
    const test::FaultyHost host({.most = 1 + random() % 3, .interrupted = true});
    EXPECT_EQ(ByString(file), WithLastLineEnd(test::InMemory(bytes)));
  }
}

TEST(StdioFile, WritesEveryTextAsInTheModel) {
  const TempDirectory directory;
  const std::string path = directory / "text";
  std::mt19937 random(5);
  for (int i = 0; i < 300; ++i) {
    const bool binary = i % 5 == 0;
    std::string memory;
    CStdioFile file(path.c_str(), kCreate | (binary ? CFile::typeBinary : 0u));
    // Beginning one byte before a border now and then.
    if (i % 3 == 0) memory.assign(65534 + random() % 4, 'x');
    file.Write(memory.data(), static_cast<UINT>(memory.size()));
    for (unsigned piece = random() % 4; piece > 0; --piece) {
      const std::string text = RandomBytes(random, 10);
      const bool as_line = random() % 2 == 0;
      if (as_line) file.WriteLine(text);
      if (!as_line) file.WriteString(text.c_str());
      memory += as_line ? text + '\n' : std::string(text.c_str());
    }
    file.WriteString(nullptr);
    const std::string expected = binary ? memory : test::OnDisk(memory);
    EXPECT_EQ(file.GetLength(), expected.size());
    EXPECT_EQ(file.GetPosition(), expected.size());
    file.Close();
    EXPECT_TRUE(ReadBytes(path) == expected) << "round " << i;
  }
}

TEST(StdioFile, TurnsFromReadingToWritingAndBackInPlace) {
  const TempDirectory directory;
  const std::string path = directory / "text";
  WriteBytes(path, "one\r\ntwo\r\nthree\r\n");
  CStdioFile file(path.c_str(), CFile::modeReadWrite | CFile::typeText);
  CString line;
  EXPECT_TRUE(file.ReadString(line));
  file.WriteString("2\n");
  EXPECT_EQ(file.GetPosition(), 8u);
  EXPECT_TRUE(file.ReadString(line));
  EXPECT_EQ(line, "");
  EXPECT_EQ(file.Seek(-2, CFile::current), 8);
  EXPECT_TRUE(file.ReadString(line));
  file.SeekToEnd();
  file.WriteString("four");
  file.SeekToBegin();
  EXPECT_EQ(ByString(file), "one\n2\n\nthree\nfour\n");
  char c = '?';
  EXPECT_EQ(file.ReadString(&c, 0), nullptr);
  EXPECT_EQ(c, '?');
  EXPECT_EQ(file.ReadString(&c, 1), nullptr);
  EXPECT_EQ(c, '\0');
}

TEST(StdioFile, TheErrorOfTheLastFlushIsClosesOwn) {
  CStdioFile file("/dev/full", CFile::modeWrite);
  file.WriteString("bytes");
  const int descriptor = file.m_hFile;
  EXPECT_EQ(FailureOf([&] { file.Close(); }), test::kDiskFull);
  EXPECT_EQ(file.m_hFile, +CFile::hFileNull);
  // The number is free again, and the object can be used.
  EXPECT_TRUE(file.Open("/dev/full", CFile::modeWrite));
  EXPECT_EQ(file.m_hFile, descriptor);
  file.WriteString("bytes");
  EXPECT_EQ(FailureOf([&] { file.Flush(); }), test::kDiskFull);
  EXPECT_EQ(FailureOf([&] { file.Close(); }), FileFailure{});

  EXPECT_TRUE(file.Open("/dev/full", CFile::modeWrite));
  file.WriteString("bytes");
  file.Abort();
  EXPECT_EQ(file.m_hFile, +CFile::hFileNull);
  CStdioFile("/dev/full", CFile::modeWrite).WriteString("its destructor says nothing");
}

TEST(StdioFile, WhatCouldNotBeWrittenIsNotWrittenLater) {
  const TempDirectory directory;
  const std::string path = directory / "text";
  CStdioFile file(path.c_str(), kCreate);
  {
    const test::FaultyHost host({.good_writes = 1, .error = ENOSPC, .most = 3});
    file.WriteString("abcdef");
    EXPECT_EQ(FailureOf([&] { file.Flush(); }), test::kDiskFull);
  }
  EXPECT_EQ(file.GetPosition(), 3u);
  file.WriteString("z");
  file.Close();
  EXPECT_EQ(ReadBytes(path), "abcz");
}

TEST(StdioFile, AReadErrorLeavesTheLineEmptyAndCanBePassed) {
  const TempDirectory directory;
  const std::string path = directory / "text";
  WriteBytes(path, "first\r\nsecond\r\n");
  CStdioFile file(path.c_str(), kRead);
  CString line;
  {
    const test::FaultyHost host({.good_reads = 1, .error = EIO, .most = 10});
    EXPECT_TRUE(file.ReadString(line));
    EXPECT_EQ(FailureOf([&] { file.ReadString(line); }), test::kDeviceFails);
    EXPECT_EQ(line, "");
  }
  EXPECT_TRUE(file.ReadString(line));
  EXPECT_EQ(line, "second");
  EXPECT_FALSE(file.ReadString(line));
  EXPECT_EQ(line, "");
}

}  // namespace
