#include "tesselkit/platform/mem_file.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>
#include <random>
#include <string>

#include "tests/support/archive_bytes.h"
#include "tests/support/platform_failure.h"

namespace {

using test::ContentOf;
using test::FailureOf;

// The same random operations on a file in memory and on one of the host.
TEST(MemFile, BehavesAsAFileOfTheHost) {
  std::string name = testing::TempDir() + "mem_file_test_XXXXXX";
  CFile host(mkstemp(name.data()));
  unlink(name.c_str());
  CMemFile memory(16);
  std::mt19937 random(21);
  for (int step = 0; step < 20'000; ++step) {
    SCOPED_TRACE(step);
    char bytes[64];
    char more[64];
    const UINT count = random() % sizeof bytes;
    switch (random() % 5) {
      case 0:
        for (char& byte : bytes) byte = static_cast<char>(random());
        host.Write(bytes, count);
        memory.Write(bytes, count);
        break;
      case 1: {
        const UINT got = host.Read(bytes, count);
        ASSERT_EQ(memory.Read(more, count), got);
        ASSERT_EQ(std::string(more, got), std::string(bytes, got));
        break;
      }
      case 2: {
        const auto offset = static_cast<long long>(random() % 600) - 300;
        const UINT from = random() % 3;
        const auto seek = [&](CFile& file) { return FailureOf([&] { file.Seek(offset, from); }); };
        ASSERT_EQ(seek(memory), seek(host));
        break;
      }
      case 3:
        if (random() % 10 == 0) {
          const unsigned length = random() % 500;
          host.SetLength(length);
          memory.SetLength(length);
        }
        break;
      default:
        ASSERT_EQ(memory.GetLength(), host.GetLength());
    }
    ASSERT_EQ(memory.GetPosition(), host.GetPosition());
  }
  host.Close();
}

TEST(MemFile, AttachedMemoryOfFixedSize) {
  BYTE memory[] = {'a', 'b', 'c'};
  CMemFile file(memory, sizeof memory);
  EXPECT_EQ(ContentOf(file), "abc");
  file.Seek(2, CFile::begin);
  EXPECT_EQ(FailureOf([&] { file.Write("xy", 2); }), "file diskFull ");
  EXPECT_EQ(FailureOf([&] { file.SetLength(4); }), "file diskFull ");
  EXPECT_EQ(FailureOf([&] { file.Attach(memory, 1); }), "CInvalidArgException");
  EXPECT_EQ(FailureOf([&] { file.Seek(0, 3); }), "file badSeek ");
  EXPECT_EQ(file.GetPosition(), 2U);
  file.Write("x", 1);
  EXPECT_EQ(file.Detach(), memory);
  EXPECT_EQ(std::string(memory, memory + 3), "abx");
  EXPECT_EQ(file.GetLength(), 0U);
}

TEST(MemFile, AttachedMemoryThatGrows) {
  CMemFile file(static_cast<BYTE*>(std::malloc(2)), 2, 8);
  EXPECT_EQ(file.GetLength(), 0U);
  file.Write("grown", 5);
  EXPECT_EQ(ContentOf(file), "grown");
  std::free(file.Detach());
  file.Write("anew", 4);
  EXPECT_EQ(ContentOf(file), "anew");
  file.Close();
  EXPECT_EQ(ContentOf(file), "");
}

TEST(MemFile, MemoryRunsOut) {
  CMemFile file;
  file.Write("kept", 4);
  EXPECT_EQ(FailureOf([&] { file.SetLength(1ULL << 62); }), "CMemoryException");
  EXPECT_EQ(FailureOf([&] { file.SetLength(~0ULL); }), "CMemoryException");
  EXPECT_EQ(ContentOf(file), "kept");
}

}  // namespace
