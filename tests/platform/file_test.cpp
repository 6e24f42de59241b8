#include "tesselkit/platform/file.h"

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/stat.h>

#include <algorithm>
#include <atomic>
#include <barrier>
#include <csignal>
#include <memory>
#include <random>
#include <thread>
#include <vector>

#include "tests/support/code_page.h"
#include "tests/support/failures.h"
#include "tests/support/files.h"
#include "tests/support/host_faults.h"
#include "tests/support/process.h"

namespace {

using test::Child;
using test::FailureOf;
using test::FileFailure;
using test::InChild;
using test::kInUse;
using test::ReadBytes;
using test::TempDirectory;
using test::WriteBytes;

FileFailure OpenFailure(const std::string& path, UINT flags) {
  CFile file;
  CFileException error;
  if (file.Open(path.c_str(), flags, &error)) return {};
  EXPECT_EQ(error.m_strFileName, path.c_str());
  EXPECT_EQ(file.m_hFile, +CFile::hFileNull);
  return {error.m_cause, error.m_lOsError};
}

TEST(File, OpeningMakesEmptiesOrKeeps) {
  const struct {
    int line;
    const char* name;
    UINT flags;
    FileFailure failure;
    const char* after;
  } kRows[] = {
      // line   name       flags                                     failure  content afterwards
      {__LINE__, "old", CFile::modeRead, {}, "old bytes"},
      {__LINE__, "old", CFile::modeReadWrite, {}, "old bytes"},
      {__LINE__, "old", CFile::modeCreate | CFile::modeWrite, {}, ""},
      {__LINE__, "old", CFile::modeCreate | CFile::modeRead, {}, ""},
      {__LINE__,
       "old",
       CFile::modeCreate | CFile::modeRead | CFile::modeNoTruncate,
       {},
       "old bytes"},
      {__LINE__, "new", CFile::modeRead, test::kMissing, "(missing)"},
      {__LINE__, "new", CFile::modeCreate | CFile::modeWrite, {}, ""},
      {__LINE__, "new", CFile::modeCreate | CFile::modeRead | CFile::modeNoTruncate, {}, ""},
      {__LINE__, "directory", CFile::modeRead, test::kIsDirectory, nullptr},
      {__LINE__, "old/below", CFile::modeRead, {CFileException::badPath, ENOTDIR}, nullptr},
      {__LINE__, "none/below", CFile::modeCreate, test::kMissing, nullptr},
  };
  for (const auto& row : kRows) {
    SCOPED_TRACE(row.line);
    const TempDirectory directory;
    WriteBytes(directory / "old", "old bytes");
    mkdir((directory / "directory").c_str(), 0700);
    EXPECT_EQ(OpenFailure(directory / row.name, row.flags), row.failure);
    EXPECT_EQ(FailureOf([&] { CFile((directory / row.name).c_str(), row.flags); }), row.failure);
    if (row.after != nullptr) {
      EXPECT_EQ(ReadBytes(directory / row.name), row.after);
    }
  }
  EXPECT_EQ(OpenFailure("", CFile::modeRead), test::kMissing);
  CFile file;
  EXPECT_FALSE(file.Open(nullptr, CFile::modeRead));
}

TEST(File, RefusesWhatNoCallerCanMean) {
  const TempDirectory directory;
  CFile file((directory / "f").c_str(), CFile::modeCreate | CFile::modeReadWrite);
  const auto invalid = [](auto statement) {
    try {
      statement();
    } catch (CInvalidArgException* exception) {
      exception->Delete();
      return true;
    }
    return false;
  };
  EXPECT_TRUE(invalid([&] { file.Open((directory / "g").c_str(), CFile::modeCreate); }));
  EXPECT_EQ(ReadBytes(directory / "g"), "(missing)");
  EXPECT_TRUE(invalid([&] { file.Seek(0, 3); }));
  EXPECT_TRUE(invalid([&] { CFile((directory / "f").c_str(), 3u); }));
  EXPECT_EQ(FailureOf([&] { file.Seek(-1, CFile::begin); }),
            (FileFailure{CFileException::badSeek, EINVAL}));
  EXPECT_EQ(FailureOf([&] { file.SetLength(~0ull); }),
            (FileFailure{CFileException::badSeek, EINVAL}));
}

TEST(File, EveryUseOfAClosedFileFails) {
  CFile file;
  char c = 'c';
  const FileFailure closed = {CFileException::invalidFile, EBADF};
  EXPECT_EQ(FailureOf([&] { file.Read(&c, 1); }), closed);
  EXPECT_EQ(FailureOf([&] { file.Write(&c, 1); }), closed);
  EXPECT_EQ(FailureOf([&] { file.SeekToBegin(); }), closed);
  EXPECT_EQ(FailureOf([&] { file.GetPosition(); }), closed);
  EXPECT_EQ(FailureOf([&] { file.GetLength(); }), closed);
  EXPECT_EQ(FailureOf([&] { file.SetLength(0); }), closed);
  CStdioFile text;
  CString line;
  EXPECT_EQ(FailureOf([&] { text.ReadString(line); }), closed);
  EXPECT_EQ(FailureOf([&] { text.WriteString("x"); }), closed);
  file.Close();
  text.Close();
}

// Two openers and what each of them does and denies.
constexpr UINT kAccess[] = {CFile::modeRead, CFile::modeWrite, CFile::modeReadWrite};
constexpr UINT kShare[] = {CFile::shareCompat, CFile::shareExclusive, CFile::shareDenyWrite,
                           CFile::shareDenyRead, CFile::shareDenyNone};

bool Denies(UINT holder, UINT other) {
  const UINT share = holder & 0x70;
  const bool reads = (other & 3) != CFile::modeWrite;
  const bool writes = (other & 3) != CFile::modeRead;
  return share == CFile::shareCompat || share == CFile::shareExclusive ||
         (share == CFile::shareDenyRead && reads) || (share == CFile::shareDenyWrite && writes);
}

// How many second openers fare otherwise than the flags say.
int WrongSecondOpeners(const std::string& path, UINT first) {
  int wrong = 0;
  for (const UINT access : kAccess) {
    for (const UINT share : kShare) {
      const UINT second = access | share;
      const bool refused = Denies(first, second) || Denies(second, first);
      if (OpenFailure(path, second) != (refused ? kInUse : FileFailure{})) ++wrong;
    }
  }
  return wrong;
}

TEST(FileSharing, EveryPairOfOpenersInOneProcessAndInTwo) {
  const TempDirectory directory;
  const std::string path = directory / "shared";
  WriteBytes(path, "bytes");
  for (const UINT access : kAccess) {
    for (const UINT share : kShare) {
      SCOPED_TRACE(access | share);
      CFile first(path.c_str(), access | share);
      EXPECT_EQ(WrongSecondOpeners(path, access | share), 0);
      EXPECT_EQ(InChild([&] { return WrongSecondOpeners(path, access | share); }), 0);
      // Refused and closed openers have taken nothing of the hold away.
      EXPECT_EQ(WrongSecondOpeners(path, access | share), 0);
      first.Close();
      EXPECT_EQ(OpenFailure(path, CFile::modeReadWrite), FileFailure{});
    }
  }
}

TEST(FileSharing, SeveralReadersBesideOneAnotherAndNoWriter) {
  const TempDirectory directory;
  const std::string path = directory / "shared";
  WriteBytes(path, "bytes");
  CFile first(path.c_str(), CFile::modeRead | CFile::shareDenyWrite);
  CFile second(path.c_str(), CFile::modeRead | CFile::shareDenyWrite);
  first.Close();
  EXPECT_EQ(OpenFailure(path, CFile::modeWrite | CFile::shareDenyNone), kInUse);
  second.Close();
  EXPECT_EQ(OpenFailure(path, CFile::modeWrite | CFile::shareDenyNone), FileFailure{});
}

TEST(FileSharing, AFileThatCannotBeHadIsNotEmptied) {
  const TempDirectory directory;
  const std::string path = directory / "held";
  WriteBytes(path, "bytes of its holder");
  const CFile holder(path.c_str(), CFile::modeRead);
  EXPECT_EQ(OpenFailure(path, CFile::modeCreate | CFile::modeWrite), kInUse);
  EXPECT_EQ(InChild([&] {
              return OpenFailure(path, CFile::modeCreate | CFile::modeRead) == kInUse ? 0 : 1;
            }),
            0);
  EXPECT_EQ(ReadBytes(path), "bytes of its holder");
}

TEST(FileSharing, AFileThatMayOnlyBeReadIsHeldAlike) {
  const TempDirectory directory;
  const std::string path = directory / "read only";
  WriteBytes(path, "bytes");
  chmod(path.c_str(), 0444);
  chmod(directory.Path().c_str(), 0755);
  const auto as_nobody = [&] {
    if (getuid() == 0 && setuid(65534) != 0) return 1;
    const FileFailure forbidden = {CFileException::accessDenied, EACCES};
    if (OpenFailure(path, CFile::modeWrite) != forbidden) return 2;
    const CFile holder(path.c_str(), CFile::modeRead);
    const UINT reader = CFile::modeRead | CFile::shareDenyNone;
    if (OpenFailure(path, reader) != kInUse) return 3;
    return InChild([&] { return OpenFailure(path, reader) == kInUse ? 0 : 4; });
  };
  EXPECT_EQ(InChild(as_nobody), 0);
}

TEST(FileSharing, OtherDescriptorsMayBeClosed) {
  const TempDirectory directory;
  const std::string path = directory / "held";
  CFile holder(path.c_str(), CFile::modeCreate | CFile::modeReadWrite);
  close(open(path.c_str(), O_RDWR));
  ReadBytes(path);
  EXPECT_EQ(OpenFailure(path, CFile::modeRead), kInUse);
  EXPECT_EQ(InChild([&] { return OpenFailure(path, CFile::modeRead) == kInUse ? 0 : 1; }), 0);
}

TEST(FileSharing, ExactlyOneOfManyThreadsGetsTheFile) {
  const TempDirectory directory;
  const std::string path = directory / "wanted";
  WriteBytes(path, "");
  constexpr int kThreads = 8;
  constexpr int kRounds = 100;
  std::atomic<int> winners = 0;
  std::barrier step(kThreads);
  std::vector<std::thread> threads;
  for (int i = 0; i < kThreads; ++i) {
    threads.emplace_back([&] {
      for (int round = 0; round < kRounds; ++round) {
        CFile file;
        step.arrive_and_wait();
        if (file.Open(path.c_str(), CFile::modeReadWrite)) ++winners;
        step.arrive_and_wait();
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(winners, kRounds);
}

TEST(FileSharing, AHoldEndsWithItsProcess) {
  const TempDirectory directory;
  const std::string path = directory / "held";
  WriteBytes(path, "");
  for (const UINT share : {CFile::shareExclusive, CFile::shareDenyRead}) {
    test::Signal held;
    Child holder([&] {
      CFile file(path.c_str(), CFile::modeWrite | share);
      held.Send();
      pause();
      return 0;
    });
    held.Wait();
    EXPECT_EQ(OpenFailure(path, CFile::modeRead | CFile::shareDenyNone), kInUse);
    holder.Kill();
    EXPECT_EQ(holder.Code(), -SIGKILL);
    EXPECT_EQ(OpenFailure(path, CFile::modeRead | CFile::shareDenyNone), FileFailure{});
  }
}

TEST(FileSharing, AForkedProcessNeitherEndsNorProlongsTheHold) {
  const TempDirectory directory;
  const std::string path = directory / "held";
  for (const UINT share : {CFile::shareExclusive, CFile::shareDenyRead}) {
    auto file = std::make_unique<CStdioFile>(path.c_str(),
                                             CFile::modeCreate | CFile::modeReadWrite | share);
    file->WriteString("once\n");
    EXPECT_EQ(InChild([&] {
                file.reset();
                return OpenFailure(path, CFile::modeRead | CFile::shareDenyNone) == kInUse ? 0 : 1;
              }),
              0);
    EXPECT_EQ(OpenFailure(path, CFile::modeRead | CFile::shareDenyNone), kInUse);

    test::Signal closed;
    Child child([&] {
      closed.Wait();
      return OpenFailure(path, CFile::modeReadWrite) == FileFailure{} ? 0 : 1;
    });
    file->Close();
    EXPECT_EQ(OpenFailure(path, CFile::modeReadWrite), FileFailure{});
    closed.Send();
    EXPECT_EQ(child.Code(), 0);
    EXPECT_EQ(ReadBytes(path), "once\r\n");
  }
}

TEST(FileSharing, DevicesAreForEverybody) {
  const CFile first("/dev/null", CFile::modeCreate | CFile::modeWrite);
  EXPECT_EQ(OpenFailure("\\dev\\null", CFile::modeCreate | CFile::modeWrite), FileFailure{});
}

TEST(File, RenamesAndRemovesWhatNobodyHolds) {
  const TempDirectory directory;
  const std::string a = directory / "a";
  const std::string b = directory.Path() + "\\b";
  WriteBytes(a, "a's");
  WriteBytes(directory / "taken", "bytes");
  {
    const CFile holder(a.c_str(), CFile::modeRead | CFile::shareDenyNone);
    EXPECT_EQ(FailureOf([&] { CFile::Remove(a.c_str()); }), kInUse);
    EXPECT_EQ(FailureOf([&] { CFile::Rename(a.c_str(), b.c_str()); }), kInUse);
  }
  EXPECT_EQ(FailureOf([&] { CFile::Rename(a.c_str(), (directory / "taken").c_str()); }),
            (FileFailure{CFileException::accessDenied, EEXIST}));
  CFile::Rename(a.c_str(), b.c_str());
  EXPECT_EQ(ReadBytes(directory / "b"), "a's");
  CFile::Remove(b.c_str());
  EXPECT_EQ(ReadBytes(directory / "b"), "(missing)");
  EXPECT_EQ(FailureOf([&] { CFile::Remove(b.c_str()); }), test::kMissing);
  EXPECT_EQ(FailureOf([&] { CFile::Rename(b.c_str(), a.c_str()); }), test::kMissing);
  EXPECT_EQ(FailureOf([&] { CFile::Remove(directory.Path().c_str()); }), test::kIsDirectory);
}

TEST(File, NamesAreTakenApartByCharacters) {
  // Below the directory "d"; a katakana and a hanzi whose trail byte is a backslash.
  const struct {
    int line;
    int page;
    const char* name;
    const char* on_host;
    const char* last;
  } kRows[] = {
      // line   page  name              on the host      last component
      {__LINE__, 0, "d\\plain", "d/plain", "plain"},
      {__LINE__, 0, "d\\e/both\\", "d/e/both/", ""},
      {__LINE__, 932, "d\\\x83\x5C", "d/\x83\x5C", "\x83\x5C"},
      {__LINE__, 949, "d\\\x83\x5C", "d/\x83/", ""},
      {__LINE__, 950, "d/\xA5\x5C.txt", "d/\xA5\x5C.txt", "\xA5\x5C.txt"},
      {__LINE__, 65001, "d\\\xC3\xA9\\x", "d/\xC3\xA9/x", "x"},
      {__LINE__, 65001, "d\\\xC3\\x", "d/\xC3/x", "x"},
      {__LINE__, 932, "d\\\x83", "d/\x83", "\x83"},
  };
  for (const auto& row : kRows) {
    SCOPED_TRACE(row.line);
    const test::CodePage page(row.page);
    const TempDirectory directory;
    std::filesystem::create_directories(
        std::filesystem::path(directory / row.on_host).parent_path());
    const std::string name = directory.Path() + "\\" + row.name;
    CFile file;
    const bool opened = file.Open(name.c_str(), CFile::modeCreate | CFile::modeWrite) != FALSE;
    EXPECT_EQ(opened, *row.last != '\0');
    EXPECT_EQ(ReadBytes(directory / row.on_host), opened ? "" : "(missing)");
    file.SetFilePath(name.c_str());
    EXPECT_EQ(file.GetFileName(), row.last);
  }
}

TEST(File, ARelativeNameIsKeptFromTheRoot) {
  const TempDirectory directory;
  const auto elsewhere = [&] {
    if (chdir(directory.Path().c_str()) != 0) return 1;
    const std::string here = std::filesystem::current_path();
    const CFile file("name", CFile::modeCreate | CFile::modeWrite);
    if (chdir("/") != 0) return 2;
    return file.GetFilePath() == (here + "/name").c_str() && file.GetFileName() == "name" ? 0 : 3;
  };
  EXPECT_EQ(InChild(elsewhere), 0);
}

// A file in memory, as a file of bytes should behave.
struct ByteModel {
  std::string bytes;
  std::size_t position = 0;

  std::string Read(std::size_t count) {
    const std::string read = position < bytes.size() ? bytes.substr(position, count) : "";
    position += read.size();
    return read;
  }
  void Write(const std::string& text) {
    if (text.empty()) return;
    bytes.resize(std::max(bytes.size(), position + text.size()));
    bytes.replace(position, text.size(), text);
    position += text.size();
  }
  void SetLength(std::size_t length) {
    bytes.resize(length);
    position = length;
  }
  void Seek(long long offset, UINT from) {
    const std::size_t base = from == CFile::begin ? 0
                             : from == CFile::end ? bytes.size()
                                                  : position;
    position = base + static_cast<std::size_t>(offset);
  }
};

std::string Taken(CFile& file, UINT count) {
  std::string bytes(count, '?');
  bytes.resize(file.Read(bytes.data(), count));
  return bytes;
}

// One random step on both; the step's name when they differ afterwards.
std::string Differs(CFile& file, ByteModel& model, std::mt19937& random) {
  const auto up_to = [&](unsigned limit) { return static_cast<UINT>(random() % (limit + 1)); };
  // Now and then more than a block's worth.
  const UINT size = up_to(20) == 0 ? 60000 + up_to(20000) : up_to(300);
  std::string step;
  switch (up_to(5)) {
    case 0:
    case 1:
      if (Taken(file, size) != model.Read(size)) return "read";
      step = "position after reading";
      break;
    case 2: {
      const std::string text(size, static_cast<char>(random()));
      file.Write(text.data(), size);
      model.Write(text);
      step = "write";
      break;
    }
    case 3: {
      const UINT from = up_to(2);
      const auto low = from == CFile::begin ? 0
                       : from == CFile::end ? -static_cast<long long>(model.bytes.size())
                                            : -static_cast<long long>(model.position);
      const long long offset = low + up_to(static_cast<unsigned>(model.bytes.size()) + 100);
      model.Seek(offset, from);
      if (file.Seek(offset, from) != static_cast<long long>(model.position)) return "seek";
      step = "position after seeking";
      break;
    }
    case 4:
      if (up_to(10) == 0) {
        file.SetLength(size);
        model.SetLength(size);
      }
      step = "length";
      break;
    default:
      file.Flush();
      step = "flush";
  }
  const bool same = file.GetPosition() == model.position && file.GetLength() == model.bytes.size();
  return same ? "" : step;
}

// Ends at the beginning of the file. Returns what the file should have in it.
std::string TakeSteps(CFile& file, unsigned seed, int steps) {
  std::mt19937 random(seed);
  ByteModel model;
  for (int i = 0; i < steps && !testing::Test::HasFailure(); ++i) {
    EXPECT_EQ(Differs(file, model, random), "") << "seed " << seed << ", step " << i;
  }
  file.SeekToBegin();
  return model.bytes;
}

template <class File>
void CompareWithModel(const test::HostFaults& faults, unsigned seed, int steps) {
  const TempDirectory directory;
  const std::string path = directory / "bytes";
  File file(path.c_str(), CFile::modeCreate | CFile::modeReadWrite | CFile::typeBinary);
  std::string expected;
  {
    const test::FaultyHost host(faults);
    expected = TakeSteps(file, seed, steps);
    file.Close();
  }
  EXPECT_TRUE(ReadBytes(path) == expected) << "seed " << seed;
}

TEST(File, RandomStepsGoAsInAModel) {
  for (unsigned seed = 0; seed < 20; ++seed) {
    CMemFile memory(16);
    const std::string expected = TakeSteps(memory, seed, 400);
    EXPECT_TRUE(Taken(memory, static_cast<UINT>(expected.size()) + 1) == expected);
    CompareWithModel<CFile>({}, seed, 400);
    CompareWithModel<CStdioFile>({}, seed, 400);
    CompareWithModel<CFile>({.most = 1000, .interrupted = true}, seed, 100);
    CompareWithModel<CStdioFile>({.most = 1000, .interrupted = true}, seed, 100);
  }
}

TEST(File, AFullDiskKeepsWhatFitted) {
  const TempDirectory directory;
  const std::string path = directory / "bounded";
  const auto fill = [&] {
    signal(SIGXFSZ, SIG_IGN);
    const rlimit limit = {100, 100};
    setrlimit(RLIMIT_FSIZE, &limit);
    CFile file(path.c_str(), CFile::modeCreate | CFile::modeWrite);
    const std::string bytes(150, 'x');
    const FileFailure failure = FailureOf([&] { file.Write(bytes.data(), 150); });
    return failure == FileFailure{CFileException::diskFull, EFBIG} ? 0 : 1;
  };
  EXPECT_EQ(InChild(fill), 0);
  EXPECT_EQ(ReadBytes(path), std::string(100, 'x'));

  CFile full("/dev/full", CFile::modeWrite);
  EXPECT_EQ(FailureOf([&] { full.Write("x", 1); }), test::kDiskFull);
}

TEST(File, HostErrorsKeepTheirCauseAndTheFileIsClosed) {
  // Nothing is mapped at address 0.
  CFile memory("/proc/self/mem", CFile::modeRead);
  char c;
  EXPECT_EQ(FailureOf([&] { memory.Read(&c, 1); }), test::kDeviceFails);

  const TempDirectory directory;
  CFile file((directory / "f").c_str(), CFile::modeCreate | CFile::modeWrite);
  const int descriptor = file.m_hFile;
  const test::FaultyHost host({.good_closes = 0, .error = EIO});
  EXPECT_EQ(FailureOf([&] { file.Close(); }), test::kDeviceFails);
  EXPECT_EQ(file.m_hFile, +CFile::hFileNull);
  EXPECT_EQ(fcntl(descriptor, F_GETFD), -1);
  EXPECT_EQ(FailureOf([&] { file.Close(); }), FileFailure{});
}

TEST(File, ADescriptorOfTheCallersStaysOpen) {
  int ends[2];
  ASSERT_EQ(pipe2(ends, O_CLOEXEC), 0);
  {
    CFile writer(ends[1]);
    writer.Write("ab", 2);
  }
  CFile(ends[1]).Write("c", 1);
  CFile(ends[1]).Close();
  CFile reader(ends[0]);
  EXPECT_EQ(Taken(reader, 10), "abc");
  reader.Close();
  EXPECT_EQ(fcntl(ends[0], F_GETFD), -1);
}

}  // namespace
