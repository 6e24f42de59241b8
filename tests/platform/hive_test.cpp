// The registry's files: several processes and threads, damage, rights, full disks, sudden deaths.
#include "tesselkit/platform/hive.h"

#include <sched.h>
#include <sys/mount.h>
#include <sys/resource.h>
#include <sys/stat.h>

#include <atomic>
#include <csignal>
#include <cstring>
#include <filesystem>
#include <functional>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "tesselkit/platform/threads.h"
#include "tests/support/faulty_hive.h"
#include "tests/support/hives.h"
#include "tests/support/process.h"
#include "tests/support/sanitized.h"

namespace {

namespace fs = std::filesystem;

using test::Data;
using test::HiveCall;
using test::Key;
using test::SetData;

class HiveFiles : public testing::Test {
 protected:
  test::Hives m_hives;
};

int Number(HKEY key, const char* name) {
  int number = -1;
  const std::string data = Data(key, name);
  if (data.size() == sizeof number) std::memcpy(&number, data.data(), sizeof number);
  return number;
}

LONG SetNumber(HKEY key, const char* name, int number) {
  return SetData(key, name, {reinterpret_cast<const char*>(&number), sizeof number});
}

unsigned ModeOf(const std::string& path) {
  struct stat state {};
  stat(path.c_str(), &state);
  return state.st_mode & 07777;
}

TEST_F(HiveFiles, HaveTheirModesWhateverTheMask) {
  for (const mode_t mask : {0000, 0077, 0777}) {
    test::Hives hives;
    const mode_t before = umask(mask);
    EXPECT_EQ(Key("k", HKEY_CURRENT_USER).Status(), ERROR_SUCCESS);
    EXPECT_EQ(Key("k", HKEY_LOCAL_MACHINE).Status(), ERROR_SUCCESS);
    umask(before);
    EXPECT_EQ(ModeOf(fs::path(hives.User()).parent_path()), 0700u);
    EXPECT_EQ(ModeOf(fs::path(hives.Machine()).parent_path()), 0755u);
    for (const char* suffix : {"", "-wal", "-shm"}) {
      EXPECT_EQ(ModeOf(hives.User() + suffix), 0600u) << suffix;
      EXPECT_EQ(ModeOf(hives.Machine() + suffix), 0644u) << suffix;
    }
  }
}

TEST_F(HiveFiles, ThatAreNoHivesAreLeftAlone) {
  ASSERT_EQ(SetData(Key("k"), "v", std::string(100'000, 'x')), ERROR_SUCCESS);
  tesselkit::platform::ForgetHives();
  const std::string hive = test::ReadBytes(m_hives.User());
  ASSERT_GT(hive.size(), 100'000u);
  std::string damaged = hive;
  std::fill(damaged.begin() + 4096, damaged.end(), '\xFF');
  std::string foreign = hive;
  foreign[68] = 0;  // whose file it is
  std::string later = hive;
  later[63] = 99;  // the version of the format
  const struct {
    const char* what;
    std::string bytes;
  } kRows[] = {
      {"text", "no hive at all\n"},
      {"empty", ""},
      {"another program's database", foreign},
      {"a later format", later},
      {"half a header", hive.substr(0, 50)},
      {"a header alone", hive.substr(0, 100)},
      {"half a hive", hive.substr(0, 6000)},
      {"damaged", damaged},
  };
  for (const auto& row : kRows) {
    SCOPED_TRACE(row.what);
    tesselkit::platform::ForgetHives();
    for (const char* suffix : {"-wal", "-shm"}) fs::remove(m_hives.User() + suffix);
    test::WriteBytes(m_hives.User(), row.bytes);
    EXPECT_EQ(Key("k", HKEY_CURRENT_USER, KEY_READ).Status(), ERROR_BADDB);
    EXPECT_EQ(Key("new").Status(), ERROR_BADDB);
    EXPECT_EQ(SetData(HKEY_CURRENT_USER, "v", "data"), ERROR_BADDB);
    EXPECT_NE(test::Damage(), "");
    tesselkit::platform::ForgetHives();
    EXPECT_TRUE(test::ReadBytes(m_hives.User()) == row.bytes);
  }
  fs::remove(m_hives.User());
  ASSERT_EQ(mkfifo(m_hives.User().c_str(), 0600), 0);
  EXPECT_EQ(Key("k").Status(), ERROR_BADDB);
  fs::remove(m_hives.User());
  fs::create_directory(m_hives.User());
  EXPECT_EQ(Key("k").Status(), ERROR_BADDB);
  EXPECT_TRUE(fs::is_empty(m_hives.User()));
}

TEST_F(HiveFiles, MayBeInPlacesThatCannotBeMade) {
  test::WriteBytes(m_hives.Directory() + "/file", "");
  setenv("TESSELKIT_REGISTRY_USER", (m_hives.Directory() + "/file/user.hive").c_str(), 1);
  tesselkit::platform::ForgetHives();
  EXPECT_EQ(Key("k").Status(), ERROR_BADDB);
  setenv("TESSELKIT_REGISTRY_USER", "/proc/no/user.hive", 1);
  tesselkit::platform::ForgetHives();
  EXPECT_EQ(Key("k", HKEY_CURRENT_USER, KEY_READ).Status(), ERROR_FILE_NOT_FOUND);
  EXPECT_NE(Key("k").Status(), ERROR_SUCCESS);
}

TEST_F(HiveFiles, StayTheSameWhereverTheProcessGoes) {
  fs::create_directory(m_hives.Directory() + "/elsewhere");
  fs::create_symlink(m_hives.User(), m_hives.Directory() + "/link");
  ASSERT_EQ(SetNumber(Key("k"), "v", 1), ERROR_SUCCESS);
  for (const char* name : {"home/user.hive", "link", "home/../elsewhere/../link"}) {
    const int code = test::InChild([&] {
      fs::current_path(m_hives.Directory());
      setenv("TESSELKIT_REGISTRY_USER", name, 1);
      tesselkit::platform::ForgetHives();
      const Key key("k");
      if (Number(key, "v") != 1) return 1;
      fs::current_path("elsewhere");
      return test::InChild([&] { return Number(key, "v") == 1 ? 0 : 2; });
    });
    EXPECT_EQ(code, 0) << name;
  }
  EXPECT_TRUE(fs::is_empty(m_hives.Directory() + "/elsewhere"));
}

TEST_F(HiveFiles, AreAvailableAgainAfterAPassingShortage) {
  ASSERT_EQ(SetNumber(Key("k"), "v", 1), ERROR_SUCCESS);
  tesselkit::platform::ForgetHives();
  for (const char* suffix : {"-wal", "-shm"}) fs::remove(m_hives.User() + suffix);
  const int code = test::InChild([] {
    rlimit limit{};
    getrlimit(RLIMIT_NOFILE, &limit);
    const rlim_t before = limit.rlim_cur;
    const int next = dup(0);
    close(next);
    limit.rlim_cur = static_cast<rlim_t>(next) + 1;  // for the hive, not for its log
    setrlimit(RLIMIT_NOFILE, &limit);
    const LONG status = SetNumber(HKEY_CURRENT_USER, "w", 2);
    limit.rlim_cur = before;
    setrlimit(RLIMIT_NOFILE, &limit);
    if (status == ERROR_SUCCESS || status == ERROR_ACCESS_DENIED) return 1;
    return SetNumber(HKEY_CURRENT_USER, "w", 2) == ERROR_SUCCESS ? 0 : 2;
  });
  EXPECT_EQ(code, 0);
}

// At a time when nothing of the library's is left, as far as that is up to it.
void UseAtExit() {
  SetNumber(HKEY_CURRENT_USER, "late", 7);
}

TEST_F(HiveFiles, CanBeUsedWhileTheProcessEnds) {
  const int code = test::InChild([] {
    std::atexit(UseAtExit);
    SetNumber(HKEY_CURRENT_USER, "early", 1);
    std::exit(0);
    return 1;
  });
  EXPECT_EQ(code, 0);
  EXPECT_EQ(Number(HKEY_CURRENT_USER, "late"), 7);
}

void LimitFiles(rlim_t bytes) {
  std::signal(SIGXFSZ, SIG_IGN);
  rlimit limit{};
  getrlimit(RLIMIT_FSIZE, &limit);
  limit.rlim_cur = bytes;
  setrlimit(RLIMIT_FSIZE, &limit);
}

TEST_F(HiveFiles, OnAFullDiskStayAsTheyWere) {
  const int code = test::InChild([&] {
    LimitFiles(1000);
    if (Key("k").Status() != ERROR_DISK_FULL) return 1;
    if (!fs::is_empty(fs::path(m_hives.User()).parent_path())) return 2;
    LimitFiles(200'000);
    const Key key("k");
    if (SetData(key, "v", "kept") != ERROR_SUCCESS) return 3;
    if (SetData(key, "v", std::string(1 << 20, 'x')) != ERROR_DISK_FULL) return 4;
    if (Data(key, "v") != "kept") return 5;
    LimitFiles(RLIM_INFINITY);
    if (SetData(key, "v", std::string(1 << 20, 'x')) != ERROR_SUCCESS) return 6;
    return 0;
  });
  EXPECT_EQ(code, 0);
  EXPECT_EQ(Data(Key("k"), "v").size(), 1u << 20);
  EXPECT_EQ(test::Damage(), "");
}

// A reader without rights to the hive's directory, as the user nobody.
class MachineHive : public HiveFiles {
 protected:
  void SetUp() override {
    if (geteuid() != 0) GTEST_SKIP() << "needs the right to become somebody else";
    chmod(m_hives.Directory().c_str(), 0755);
    ASSERT_EQ(SetNumber(Key("k", HKEY_LOCAL_MACHINE), "v", 1), ERROR_SUCCESS);
  }

  template <class Body>
  int AsNobody(Body body) {
    return test::InChild([&] { return setgid(65534) == 0 && setuid(65534) == 0 ? body() : 99; });
  }

  static int ReadAndTryToWrite() {
    const Key key("k", HKEY_LOCAL_MACHINE, KEY_READ);
    if (Number(key, "v") != 1) return 1;
    if (Key("k", HKEY_LOCAL_MACHINE, KEY_SET_VALUE).Status() != ERROR_ACCESS_DENIED) return 2;
    if (Key("new", HKEY_LOCAL_MACHINE).Status() != ERROR_ACCESS_DENIED) return 3;
    return RegDeleteKeyA(HKEY_LOCAL_MACHINE, "k") == ERROR_ACCESS_DENIED ? 0 : 4;
  }
};

TEST_F(MachineHive, IsReadByEverybodyAndWrittenByNobody) {
  const Key writer("k", HKEY_LOCAL_MACHINE);
  EXPECT_EQ(AsNobody(ReadAndTryToWrite), 0) << "while a writer runs";
  tesselkit::platform::ForgetHives();
  EXPECT_EQ(AsNobody(ReadAndTryToWrite), 0) << "while none runs";
  EXPECT_EQ(SetNumber(writer, "v", 1), ERROR_SUCCESS);
  tesselkit::platform::ForgetHives();  // nothing is left in the log
  for (const char* suffix : {"-shm", "-wal"}) {
    fs::remove(m_hives.Machine() + suffix);
    EXPECT_EQ(AsNobody(ReadAndTryToWrite), 0) << "without " << suffix;
    EXPECT_FALSE(fs::exists(m_hives.Machine() + suffix));
  }
}

// Makes a directory one of a file system that cannot be written, for this process alone.
bool MountReadOnly(const std::string& directory) {
  const char* const place = directory.c_str();
  return unshare(CLONE_NEWNS) == 0 &&
         mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0 &&
         mount(place, place, nullptr, MS_BIND, nullptr) == 0 &&
         mount(nullptr, place, nullptr, MS_REMOUNT | MS_BIND | MS_RDONLY, nullptr) == 0;
}

TEST_F(MachineHive, IsReadFromAFileSystemThatCannotBeWritten) {
  constexpr int kNotAllowed = 99;
  tesselkit::platform::ForgetHives();
  for (const char* suffix : {"", "-shm", "-wal"}) {
    if (*suffix != '\0') fs::remove(m_hives.Machine() + suffix);
    const int code = test::InChild(
        [&] { return MountReadOnly(m_hives.Directory()) ? ReadAndTryToWrite() : kNotAllowed; });
    if (code == kNotAllowed) GTEST_SKIP() << "needs the right to mount";
    EXPECT_EQ(code, 0) << "without " << suffix;
  }
}

TEST_F(MachineHive, ShowsLaterWritesToAReaderThatBeganWithoutALog) {
  tesselkit::platform::ForgetHives();
  for (const char* suffix : {"-wal", "-shm"}) fs::remove(m_hives.Machine() + suffix);
  test::Signal has_read, has_written;
  test::Child reader([&] {
    if (setuid(65534) != 0) return 99;
    const Key key("k", HKEY_LOCAL_MACHINE, KEY_READ);
    for (int i = 1; i <= 3; ++i) {
      if (Number(key, "v") != i) return i;
      has_read.Send();
      has_written.Wait();
    }
    return 0;
  });
  for (int i = 2; i <= 4; ++i) {
    has_read.Wait();
    EXPECT_EQ(SetNumber(Key("k", HKEY_LOCAL_MACHINE), "v", i), ERROR_SUCCESS);
    has_written.Send();
  }
  EXPECT_EQ(reader.Code(), 0);
}

TEST_F(HiveFiles, GoOnInBothProcessesAfterAFork) {
  const Key key("k");
  SetNumber(key, "v", 1);
  std::atomic<bool> ends = false;
  std::thread writer([&] {
    const Key own("thread");
    for (int i = 0; !ends; ++i) EXPECT_EQ(SetNumber(own, "v", i), ERROR_SUCCESS);
  });
  for (int i = 2; i < 22; i += 2) {
    const int code = test::InChild([&] {
      if (Number(key, "v") != i - 1) return 1;
      return SetNumber(key, "v", i) == ERROR_SUCCESS && Number(key, "v") == i ? 0 : 2;
    });
    EXPECT_EQ(code, 0);
    EXPECT_EQ(Number(key, "v"), i);
    EXPECT_EQ(SetNumber(key, "v", i + 1), ERROR_SUCCESS);
  }
  ends = true;
  writer.join();
  EXPECT_EQ(test::Damage(), "");
}

TEST_F(HiveFiles, ServeThreadsWithHandlesOfTheirOwnAndSharedOnes) {
  constexpr int kThreads = 4;
  constexpr int kRounds = 200;
  const Key shared("shared");
  std::vector<std::thread> threads;
  for (int t = 0; t < kThreads; ++t) {
    threads.emplace_back([&shared, t] {
      const std::string name = std::string("own") + std::to_string(t);
      for (int i = 0; i < kRounds; ++i) {
        const Key own(name.c_str());
        EXPECT_EQ(SetNumber(own, "v", i), ERROR_SUCCESS);
        EXPECT_EQ(SetNumber(shared, name.c_str(), i), ERROR_SUCCESS);
        EXPECT_EQ(Number(own, "v"), i);
        EXPECT_EQ(Number(shared, name.c_str()), i);
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(test::Damage(), "");
}

// Counts "count" up, one process against the others, each step in a value of its own.
int WriteSteps(int process, int steps) {
  const Key key((std::string("steps\\") + std::to_string(process)).c_str());
  for (int i = 0; i < steps; ++i) {
    if (SetNumber(key, std::to_string(i).c_str(), i) != ERROR_SUCCESS) return 1;
  }
  return 0;
}

TEST_F(HiveFiles, TakeTheWritesOfSeveralProcessesFromTheirFirstOneOn) {
  constexpr int kProcesses = 4;
  constexpr int kSteps = 100;
  {
    std::vector<std::unique_ptr<test::Child>> writers;
    for (int i = 0; i < kProcesses; ++i) {
      writers.push_back(std::make_unique<test::Child>([i] { return WriteSteps(i, kSteps); }));
    }
    for (const auto& writer : writers) EXPECT_EQ(writer->Code(), 0);
  }
  for (int process = 0; process < kProcesses; ++process) {
    const Key key((std::string("steps\\") + std::to_string(process)).c_str(), HKEY_CURRENT_USER,
                  KEY_READ);
    for (int i = 0; i < kSteps; ++i) EXPECT_EQ(Number(key, std::to_string(i).c_str()), i);
  }
  EXPECT_EQ(test::Damage(), "");
}

// One step of a writer that is going to be killed: a new key with a value, the last step's number,
// and the end of an old key.
constexpr int kKeysKept = 5;

bool WriteStep(HKEY key, int step) {
  if (SetNumber(Key(std::to_string(step).c_str(), key), "v", step) != ERROR_SUCCESS) return false;
  if (SetNumber(key, "last", step) != ERROR_SUCCESS) return false;
  const LONG status = RegDeleteKeyA(key, std::to_string(step - kKeysKept).c_str());
  return status == ERROR_SUCCESS || status == ERROR_FILE_NOT_FOUND;
}

// Writes steps from `first` on, and tells each one that was acknowledged.
int WriteUntilKilled(int first, int told) {
  const Key key("killed");
  for (int step = first;; ++step) {
    if (!WriteStep(key, step)) return 1;
    if (write(told, &step, sizeof step) != sizeof step) return 2;
  }
}

// The last step that a writer, killed after `life`, was told is done.
int LastStepOfAKilledWriter(int first, std::chrono::microseconds life) {
  int ends[2];
  EXPECT_EQ(pipe(ends), 0);
  test::Child writer([&] { return WriteUntilKilled(first, ends[1]); });
  close(ends[1]);
  std::this_thread::sleep_for(life);
  writer.Kill();
  EXPECT_EQ(writer.Code(), -SIGKILL);
  int last = first - 1;
  while (read(ends[0], &last, sizeof last) == sizeof last) {
  }
  close(ends[0]);
  return last;
}

TEST_F(HiveFiles, LoseNothingAcknowledgedWhenWritersAreKilled) {
  constexpr int kKills = 300;
  std::mt19937 random(20000210);
  std::uniform_int_distribution<int> microseconds(0, 8000);
  ASSERT_TRUE(WriteStep(Key("killed"), 0));
  std::atomic<bool> ends = false;
  std::thread survivor([&] {
    const Key key("survivor");
    for (int i = 0; !ends; ++i) {
      EXPECT_EQ(SetNumber(key, "v", i), ERROR_SUCCESS);
      EXPECT_EQ(Number(key, "v"), i);
      std::this_thread::sleep_for(std::chrono::microseconds(300));
    }
  });
  int last = 0;
  for (int kill = 0; kill < kKills; ++kill) {
    last = LastStepOfAKilledWriter(last + 1, std::chrono::microseconds(microseconds(random)));
    const Key key("killed", HKEY_CURRENT_USER, KEY_READ);
    const int written = Number(key, "last");
    EXPECT_TRUE(written == last || written == last + 1) << written << " " << last;
    for (int step = std::max(0, last - kKeysKept + 2); step <= last; ++step) {
      EXPECT_EQ(Number(Key(std::to_string(step).c_str(), key, KEY_READ), "v"), step);
    }
    EXPECT_EQ(test::Damage(), "") << kill;
  }
  ends = true;
  survivor.join();
  EXPECT_GT(last, kKills / 10);  // the writers did get to write
}

TEST_F(HiveFiles, AreAskedAgainOnlyAfterSomebodyHasWritten) {
  test::FaultyHives hives;
  const Key key("k");
  SetNumber(key, "v", 1);
  EXPECT_EQ(Number(key, "v"), 1);
  const int reads = hives.AllReads();
  for (int i = 0; i < 10; ++i) EXPECT_EQ(Number(key, "v"), 1);
  EXPECT_EQ(Key("k", HKEY_CURRENT_USER, KEY_READ).Status(), ERROR_SUCCESS);
  const int reads_of_path = hives.AllReads();
  EXPECT_EQ(Key("k", HKEY_CURRENT_USER, KEY_READ).Status(), ERROR_SUCCESS);
  EXPECT_EQ(hives.AllReads(), reads_of_path);
  EXPECT_LE(reads_of_path - reads, 2);

  for (const bool has_stamp : {true, false}) {
    hives.has_stamp = has_stamp;
    for (int i = 2; i < 20; ++i) {
      EXPECT_EQ(test::InChild([&] { return SetNumber(Key("k"), "v", i); }), ERROR_SUCCESS);
      EXPECT_EQ(Number(key, "v"), i);
    }
  }
}

unsigned long WriteOnce(void*) {
  SetNumber(HKEY_CURRENT_USER, "v", 1);
  return 0;
}

TEST_F(HiveFiles, AreNotHeldByAThreadThatIsEndedByForce) {
  if (test::kIsSanitized) GTEST_SKIP() << "what such a thread was using is never given back";
  test::FaultyHives hives;
  test::Signal is_writing;
  hives.status = [&](HiveCall call) -> LONG {
    if (call != HiveCall::kWriteValue) return ERROR_SUCCESS;
    is_writing.Send();
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    return ERROR_SUCCESS;
  };
  const HANDLE thread = CreateThread(nullptr, 0, WriteOnce, nullptr, 0, nullptr);
  is_writing.Wait();
  EXPECT_EQ(TerminateThread(thread, 1), TRUE);
  CloseHandle(thread);
  hives.status = nullptr;
  EXPECT_EQ(Number(HKEY_CURRENT_USER, "v"), 1);  // the write was under way
  EXPECT_EQ(SetNumber(HKEY_CURRENT_USER, "v", 2), ERROR_SUCCESS);
}

TEST_F(HiveFiles, PassTheirFailuresOnAndWorkAfterwards) {
  const Key key("k");
  ASSERT_EQ(Key("k\\sub").Status(), ERROR_SUCCESS);
  ASSERT_EQ(SetData(key, "v", "data"), ERROR_SUCCESS);
  test::FaultyHives hives;
  char name[300];
  const struct {
    HiveCall call;
    std::function<LONG()> use;
  } kRows[] = {
      {HiveCall::kOpen, [&] { return RegFlushKey(key); }},
      {HiveCall::kBegin, [&] { return Key("k\\sub", HKEY_CURRENT_USER, KEY_READ).Status(); }},
      {HiveCall::kFindKey, [&] { return Key("k\\sub", HKEY_CURRENT_USER, KEY_READ).Status(); }},
      {HiveCall::kReadValue,
       [&] { return RegQueryValueExA(key, "v", nullptr, nullptr, nullptr, nullptr); }},
      {HiveCall::kReadInfo,
       [&] {
         DWORD count = 0;
         return RegQueryInfoKeyA(key, nullptr, nullptr, nullptr, &count, nullptr, nullptr, nullptr,
                                 nullptr, nullptr, nullptr, nullptr);
       }},
      {HiveCall::kListKeys,
       [&] {
         DWORD size = sizeof name;
         return RegEnumKeyExA(key, 0, name, &size, nullptr, nullptr, nullptr, nullptr);
       }},
      {HiveCall::kListValues,
       [&] {
         DWORD size = sizeof name;
         return RegEnumValueA(key, 0, name, &size, nullptr, nullptr, nullptr, nullptr);
       }},
      {HiveCall::kCreateKey, [&] { return Key("k\\new").Status(); }},
      {HiveCall::kWriteValue, [&] { return SetData(key, "v", "new"); }},
      {HiveCall::kDeleteValue, [&] { return RegDeleteValueA(key, "v"); }},
      {HiveCall::kDeleteKey, [&] { return RegDeleteKeyA(key, "sub"); }},
      {HiveCall::kDeleteSubkeys, [&] { return tesselkit::platform::DeleteSubkeys(key); }},
      {HiveCall::kFlush, [&] { return RegFlushKey(key); }},
  };
  for (const auto& row : kRows) {
    for (const LONG status : {ERROR_BUSY, ERROR_DISK_FULL, ERROR_REGISTRY_IO_FAILED}) {
      SCOPED_TRACE(static_cast<int>(row.call));
      tesselkit::platform::ForgetHives();  // nothing is known
      hives.status = [&](HiveCall call) { return call == row.call ? status : ERROR_SUCCESS; };
      EXPECT_EQ(row.use(), status);
    }
    hives.status = nullptr;
    EXPECT_EQ(Data(key, "v"), "data");
    EXPECT_EQ(Key("k\\sub", HKEY_CURRENT_USER, KEY_READ).Status(), ERROR_SUCCESS);
    EXPECT_EQ(Key("k\\new", HKEY_CURRENT_USER, KEY_READ).Status(), ERROR_FILE_NOT_FOUND);
  }
}

}  // namespace
