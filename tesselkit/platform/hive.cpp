#include "tesselkit/platform/hive.h"

#include <fcntl.h>
#include <pthread.h>
#include <sys/stat.h>
#include <unistd.h>

#include <utility>

#include "tesselkit/platform/empty_hive.h"

namespace tesselkit::platform {

namespace {

struct OpenerHolder {
  std::mutex mutex;
  HiveOpener opener;
};

OpenerHolder& TheOpener() {
  static OpenerHolder& holder = *new OpenerHolder;
  return holder;
}

LONG OpenStore(const std::string& file_name, HiveAccess access, std::unique_ptr<HiveStore>& store) {
  OpenerHolder& holder = TheOpener();
  std::unique_lock lock(holder.mutex);
  const HiveOpener opener = holder.opener;
  lock.unlock();
  return opener ? opener(file_name, access, store) : OpenSqliteHive(file_name, access, store);
}

Hive* Hives() {
  static Hive* const hives = new Hive[2]{Hive(HiveKind::kUser), Hive(HiveKind::kMachine)};
  return hives;
}

void BeforeFork() {
  Hives()[0].BeforeFork();
  Hives()[1].BeforeFork();
}

void AfterFork() {
  Hives()[1].AfterFork();
  Hives()[0].AfterFork();
}

// The hives outlive everything that may still use them at the end of the process; this closes
// them, so that what the log holds gets where it belongs. Whoever comes later opens them again.
struct ProcessEnd {
  ProcessEnd() { pthread_atfork(BeforeFork, AfterFork, AfterFork); }
  ~ProcessEnd() { ForgetHives(); }
};

bool IsThere(const std::string& file_name) {
  struct stat state;
  return stat(file_name.c_str(), &state) == 0;
}

// Whether files may be made beside the hive.
bool CanHaveLog(const std::string& file_name) {
  const std::string directory = file_name.substr(0, file_name.rfind('/') + 1);
  const char* const place = directory.empty() ? "." : directory.c_str();
  return faccessat(AT_FDCWD, place, W_OK, AT_EACCESS) == 0;
}

// Whether there is anything in the hive's log.
bool HasLog(const std::string& file_name) {
  struct stat state;
  return stat((file_name + "-wal").c_str(), &state) == 0 && state.st_size > 0;
}

}  // namespace

Hive& HiveOf(HiveKind kind) {
  static const ProcessEnd process_end;
  return Hives()[static_cast<int>(kind)];
}

Hive::FileMark Hive::Mark() const {
  struct stat state;
  if (stat(m_file_name.c_str(), &state) != 0) return {};
  return {state.st_dev, state.st_ino, state.st_size, state.st_mtim.tv_sec, state.st_mtim.tv_nsec};
}

void Hive::Keep(std::unique_ptr<HiveStore> store) {
  constexpr int kGenerationBits = 40;  // more than an opening can use up
  m_cache = std::make_unique<HiveCache>(std::move(store), ++m_openings << kGenerationBits);
}

LONG Hive::Ready(bool makes_it) {
  switch (m_state) {
    case State::kOpen:
      return ERROR_SUCCESS;
    case State::kAlone:
      // As soon as there is a log, the hive can be read with others.
      if (Mark() == m_mark && !HasLog(m_file_name)) return ERROR_SUCCESS;
      break;
    case State::kAbsent:
      if (!makes_it && !IsThere(m_file_name)) return ERROR_SUCCESS;
      break;
    case State::kClosed:
      break;
  }
  Close();
  return Open(makes_it);
}

LONG Hive::Open(bool makes_it) {
  if (m_file_name.empty()) m_file_name = HiveFileName(m_kind);
  if (m_file_name.empty()) return ERROR_ACCESS_DENIED;
  HiveFileState state = InspectHiveFile(m_file_name);
  if (state.status == ERROR_FILE_NOT_FOUND && !makes_it) {
    Keep(std::make_unique<EmptyHive>());
    m_state = State::kAbsent;
    return ERROR_SUCCESS;
  }
  if (state.status == ERROR_FILE_NOT_FOUND) {
    const LONG status = CreateHiveFile(m_file_name, m_kind);
    if (status != ERROR_SUCCESS) return status;
    state = InspectHiveFile(m_file_name);
  }
  return state.status == ERROR_SUCCESS ? OpenFile(state.is_writable) : state.status;
}

LONG Hive::OpenFile(bool is_writable) {
  std::unique_ptr<HiveStore> store;
  LONG status = ERROR_ACCESS_DENIED;
  if (is_writable) status = OpenStore(m_file_name, HiveAccess::kWrite, store);
  if (status == ERROR_ACCESS_DENIED) status = OpenStore(m_file_name, HiveAccess::kRead, store);
  const bool is_refused = status == ERROR_ACCESS_DENIED || !CanHaveLog(m_file_name);
  if (status != ERROR_SUCCESS && is_refused && !HasLog(m_file_name)) return OpenAlone();
  // A writer may have made the log just now.
  if (status == ERROR_ACCESS_DENIED) status = OpenStore(m_file_name, HiveAccess::kRead, store);
  if (status != ERROR_SUCCESS) return status;
  Keep(std::move(store));
  m_state = State::kOpen;
  return ERROR_SUCCESS;
}

LONG Hive::OpenAlone() {
  std::unique_ptr<HiveStore> store;
  m_mark = Mark();
  const LONG status = OpenStore(m_file_name, HiveAccess::kReadAlone, store);
  if (status != ERROR_SUCCESS) return status;
  Keep(std::move(store));
  m_state = State::kAlone;
  return ERROR_SUCCESS;
}

void Hive::Close() {
  m_cache.reset();
  m_state = State::kClosed;
}

void Hive::Forget() {
  const HoldOffForcedEnd hold_off;
  const std::lock_guard lock(m_mutex);
  Close();
  m_file_name.clear();
}

void Hive::BeforeFork() {
  BeginHoldOff();
  m_mutex.lock();
  if (m_cache != nullptr) m_cache->Store().PrepareToReopen();
  Close();
}

void Hive::AfterFork() {
  m_mutex.unlock();
  EndHoldOff();
}

void SetHiveOpener(HiveOpener opener) {
  const HoldOffForcedEnd hold_off;
  OpenerHolder& holder = TheOpener();
  const std::lock_guard lock(holder.mutex);
  holder.opener = std::move(opener);
}

void ForgetHives() {
  Hives()[0].Forget();
  Hives()[1].Forget();
}

}  // namespace tesselkit::platform
