#include "tesselkit/util/adutil_location.h"

#include <sys/stat.h>

#include <chrono>

#include "tesselkit/platform/file.h"
#include "tesselkit/platform/file_attributes.h"
#include "tesselkit/platform/host.h"
#include "tests/support/code_page.h"
#include "tests/support/failures.h"
#include "tests/support/files.h"
#include "tests/support/process.h"

namespace {

using test::TempDirectory;
using test::WriteBytes;

// "$" stands for the temporary directory in the rows below.
std::string Expanded(const TempDirectory& directory, std::string text) {
  for (std::size_t at; (at = text.find('$')) != std::string::npos;) {
    text.replace(at, 1, directory.Path());
  }
  return text;
}

TEST(Location, FindsTheFirstOfTheList) {
  const TempDirectory directory;
  for (const char* name : {"a", "b", "a/only a is a directory", "a/both", "b/both dir", "a/ "}) {
    mkdir((directory / name).c_str(), 0700);
  }
  for (const char* name :
       {"b/both", "b/only b", "b/pipe", "a/file", "b/file", "a/both dir", "a/ /x"}) {
    WriteBytes(directory / name, "");
  }
  ASSERT_EQ(mkfifo((directory / "a/pipe").c_str(), 0600), 0);
  const struct {
    int line;
    CString (*locate)(const char*, const char*);
    const char* list;
    const char* name;
    const char* found;
  } kRows[] = {
      // line   function     list               name       what is found
      {__LINE__, AdLocateFile, "$/a;$/b", "only b", "$/b\\only b"},
      {__LINE__, AdLocateFile, "$/a;$/b", "file", "$/a\\file"},
      {__LINE__, AdLocateFile, "$\\b;$\\a", "file", "$\\b\\file"},
      {__LINE__, AdLocateFile, "$/a;;$/b", "only b", ""},
      {__LINE__, AdLocateFile, ";$/b", "only b", ""},
      {__LINE__, AdLocateFile, "$/a;$/b;", "only b", "$/b\\only b"},
      {__LINE__, AdLocateFile, "$/b\\", "file", "$/b\\\\file"},
      {__LINE__, AdLocateFile, " $/b", "file", ""},
      {__LINE__, AdLocateFile, "$/a/ ", "x", "$/a/ \\x"},
      {__LINE__, AdLocateFile, "$", "b\\file", "$\\b\\file"},
      {__LINE__, AdLocateFile, "$/a", "", ""},
      {__LINE__, AdLocateFile, "$/a", nullptr, ""},
      {__LINE__, AdLocateFile, nullptr, "file", ""},
      // A named pipe would have to be waited for.
      {__LINE__, AdLocateFile, "$/a;$/b", "pipe", "$/b\\pipe"},
      {__LINE__, AdLocateFile, "$/a", "pipe", ""},
      // A directory is no file, and the other way round.
      {__LINE__, AdLocateFile, "$/a;$/b", "both", "$/b\\both"},
      {__LINE__, AdLocateDir, "$/a;$/b", "both dir", "$/b\\both dir"},
      {__LINE__, AdLocateDir, "$/b;$/a", "only a is a directory", "$/a\\only a is a directory"},
      {__LINE__, AdLocateDir, nullptr, nullptr, ""},
  };
  for (const auto& row : kRows) {
    SCOPED_TRACE(row.line);
    const std::string list = Expanded(directory, row.list != nullptr ? row.list : "");
    const CString found = row.locate(row.list != nullptr ? list.c_str() : nullptr, row.name);
    EXPECT_EQ(found, Expanded(directory, row.found).c_str());
  }
}

TEST(Location, PassesOverWhatCannotBeReadAndIsInNobodysWay) {
  const TempDirectory directory;
  mkdir((directory / "a").c_str(), 0755);
  mkdir((directory / "b").c_str(), 0755);
  chmod(directory.Path().c_str(), 0755);
  WriteBytes(directory / "a/file", "");
  WriteBytes(directory / "b/file", "");
  const std::string list = directory / "a;" + directory / "b";
  const CString in_a = (directory / "a\\file").c_str();
  const CString in_b = (directory / "b\\file").c_str();
  {
    const CFile reader(in_a, CFile::modeRead | CFile::shareDenyWrite);
    EXPECT_EQ(AdLocateFile(list.c_str(), "file"), in_a);
  }
  {
    const CFile holder(in_a, CFile::modeRead);
    EXPECT_EQ(AdLocateFile(list.c_str(), "file"), in_b);
  }
  chmod((directory / "a/file").c_str(), 0);
  const auto as_nobody = [&] {
    if (getuid() == 0 && setuid(65534) != 0) return 1;
    return AdLocateFile(list.c_str(), "file") == in_b ? 0 : 2;
  };
  EXPECT_EQ(test::InChild(as_nobody), 0);
}

TEST(Location, NamesMayHoldBackslashesAsTrailBytes) {
  const test::CodePage page(932);
  const TempDirectory directory;
  mkdir((directory / "\x83\x5C").c_str(), 0700);
  WriteBytes(directory / "\x83\x5C/\x95\x5C.txt", "");
  const CString list = (directory / "\x83\x5C").c_str();
  EXPECT_EQ(AdLocateFile(list, "\x95\x5C.txt"), list + "\\\x95\x5C.txt");
  EXPECT_EQ(AdLocateDir(directory.Path().c_str(), "\x83\x5C"),
            (directory.Path() + "\\\x83\x5C").c_str());
}

TEST(Location, AttributesTellDirectoriesAndReadOnlyFiles) {
  const TempDirectory directory;
  WriteBytes(directory / "file", "");
  EXPECT_EQ(GetFileAttributesA((directory / "file").c_str()), FILE_ATTRIBUTE_NORMAL);
  chmod((directory / "file").c_str(), 0444);
  EXPECT_EQ(GetFileAttributesA((directory / "file").c_str()), FILE_ATTRIBUTE_READONLY);
  EXPECT_EQ(GetFileAttributesA((directory.Path() + "\\").c_str()), FILE_ATTRIBUTE_DIRECTORY);
  EXPECT_EQ(GetFileAttributesA((directory / "none").c_str()), INVALID_FILE_ATTRIBUTES);
  EXPECT_EQ(GetFileAttributesA(nullptr), INVALID_FILE_ATTRIBUTES);
}

long long HostMilliseconds() {
  const auto now = std::chrono::system_clock::now().time_since_epoch();
  return std::chrono::floor<std::chrono::milliseconds>(now).count();
}

TEST(Host, SecondsAndMillisecondsComeFromOneReading) {
  long long before = HostMilliseconds();
  for (int i = 0; i < 2000; ++i) {
    long seconds = -1;
    long milliseconds = -1;
    AdGetCurrentTime(seconds, milliseconds);
    const long long after = HostMilliseconds();
    ASSERT_TRUE(milliseconds >= 0 && milliseconds <= 999) << milliseconds;
    const long long now = seconds * 1000LL + milliseconds;
    ASSERT_TRUE(before <= now && now <= after) << before << " " << now << " " << after;
    before = now;
  }
}

TEST(Host, TheTimeZoneIsTheLocalOne) {
  const auto in_zone = [](const char* zone, int minutes) {
    return test::InChild([&] {
      setenv("TZ", zone, 1);
      tzset();
      _timeb now;
      _ftime(&now);
      return now.timezone == minutes && now.dstflag == 0 ? 0 : 1;
    });
  };
  EXPECT_EQ(in_zone("UTC0", 0), 0);
  EXPECT_EQ(in_zone("XXX5:30", 330), 0);
  EXPECT_EQ(in_zone("XXX-9", -540), 0);
}

}  // namespace
