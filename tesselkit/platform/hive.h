// The process's two hives, each opened at its first use and closed when the process ends or forks.
//
// All functions may be called from any thread.
#pragma once

#include <functional>
#include <memory>
#include <mutex>
#include <string>

#include "tesselkit/platform/export.h"
#include "tesselkit/platform/forced_end.h"
#include "tesselkit/platform/hive_cache.h"
#include "tesselkit/platform/hive_file.h"
#include "tesselkit/platform/sqlite_hive.h"
#include "tesselkit/platform/types.h"

namespace tesselkit::platform {

class Hive {
 public:
  explicit Hive(HiveKind kind) : m_kind(kind) {}

  // Calls `work(cache)` with the hive to itself and returns its status, or why the hive cannot be
  // had. A hive that is not there is an empty one unless `makes_it`.
  template <class Work>
  LONG Use(bool makes_it, Work work) {
    const HoldOffForcedEnd hold_off;
    const std::lock_guard lock(m_mutex);
    const LONG status = Ready(makes_it);
    return status == ERROR_SUCCESS ? work(*m_cache) : status;
  }

  // Closes the hive and forgets where it is.
  void Forget();

  // Around a fork: the hive is closed, and nobody can open it, until both processes have left.
  void BeforeFork();
  void AfterFork();

 private:
  LONG Ready(bool makes_it);
  LONG Open(bool makes_it);
  LONG OpenFile(bool is_writable);
  LONG OpenAlone();
  void Keep(std::unique_ptr<HiveStore> store);
  void Close();

  // What may become stale without the store's knowing.
  enum class State { kClosed, kAbsent, kAlone, kOpen };

  // Tells one state of a file from another.
  struct FileMark {
    std::uint64_t device = 0;
    std::uint64_t file = 0;
    std::int64_t size = 0;
    std::int64_t seconds = 0;
    std::int64_t nanoseconds = 0;
    bool operator==(const FileMark&) const = default;
  };
  FileMark Mark() const;

  const HiveKind m_kind;
  std::mutex m_mutex;
  State m_state = State::kClosed;
  std::string m_file_name;
  FileMark m_mark;
  std::uint64_t m_openings = 0;
  std::unique_ptr<HiveCache> m_cache;
};

// The hive of that kind.
Hive& HiveOf(HiveKind kind);

using HiveOpener = std::function<LONG(const std::string&, HiveAccess, std::unique_ptr<HiveStore>&)>;

// Opens hives by `opener` from now on; an empty one restores OpenSqliteHive. For tests of what a
// failing store does.
TESSELKIT_API void SetHiveOpener(HiveOpener opener);

// Closes the hives. The next use reads the environment anew.
TESSELKIT_API void ForgetHives();

// Examines the hive in which the predefined key `root` lives. `report` receives a line for each
// thing that is wrong with it. A hive that is not there is in order.
TESSELKIT_API LONG CheckHive(HKEY root, std::string& report);

}  // namespace tesselkit::platform
