#include "tesselkit/platform/mem_file.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

#include "tests/support/archive_bytes.h"
#include "tests/support/platform_failure.h"

namespace {

using test::ContentOf;
using test::FailureOf;

TEST(MemFile, AttachedMemoryOfFixedSize) {
  BYTE memory[] = {'a', 'b', 'c'};
  CMemFile file(memory, sizeof memory);
  EXPECT_EQ(ContentOf(file), "abc");
  file.Seek(2, CFile::begin);
  EXPECT_EQ(FailureOf([&] { file.Write("xy", 2); }), "file diskFull ");
  EXPECT_EQ(FailureOf([&] { file.SetLength(4); }), "file diskFull ");
  EXPECT_EQ(FailureOf([&] { file.Attach(memory, 1); }), "CInvalidArgException");
  EXPECT_EQ(FailureOf([&] { file.Seek(0, 3); }), "file badSeek ");
  EXPECT_EQ(FailureOf([&] { file.Seek(-1, CFile::begin); }), "file badSeek ");
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
