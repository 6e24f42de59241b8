#include "tesselkit/platform/sqlite_hive.h"

#include <fcntl.h>
#include <sqlite3.h>
#include <time.h>
#include <unistd.h>

#include <cstring>

#include "tesselkit/platform/forced_end.h"
#include "tesselkit/platform/hive_schema.h"
#include "tesselkit/platform/sqlite_session.h"

namespace tesselkit::platform {

namespace {

constexpr int kMostLevels = 512;
constexpr int kLogPagesBeforeCheckpoint = 1000;

// More than a log commonly gets: to cut it short and let it grow again costs more than the write.
constexpr int kLongestLogKept = 8 << 20;
constexpr int kCacheKibibytes = 8192;

// Waits for another writer, up to a minute or until the thread is to be ended by force: a registry
// write takes microseconds, so the pauses are short ones.
int WaitForWriter(void*, int tries) {
  constexpr int kShortPauses = 50;
  constexpr int kMostTries = 12'000;
  if (tries >= kMostTries || IsForcedEndDue()) return 0;
  const long pause = tries < kShortPauses ? 100'000 : 5'000'000;
  const timespec wait = {0, pause};
  nanosleep(&wait, nullptr);
  return 1;
}

class SqliteHive final : public HiveStore {
 public:
  SqliteHive(Database db, bool is_writable) : m_db(std::move(db)), m_is_writable(is_writable) {}

  LONG Prepare();

  bool IsWritable() const override { return m_is_writable; }
  bool ReadStamp(HiveStamp& stamp) override;
  LONG BeginReading() override { return Execute(m_begin); }
  void EndReading() override { Execute(m_commit); }
  LONG FindKey(KeyId parent, std::string_view folded, KeyId& id) override;
  LONG ReadValue(KeyId key, std::string_view folded, StoredValue& value) override;
  LONG ReadInfo(KeyId key, KeyInfo& info) override;
  LONG ListKeys(KeyId parent, const ListPlace& place, std::vector<ListedKey>& keys) override;
  LONG ListValues(KeyId key, const ListPlace& place, std::vector<ListedValue>& values) override;
  LONG CreateKey(KeyId parent, std::span<const HiveName> path, std::string_view class_name,
                 KeyId& id, bool& is_new) override;
  LONG WriteValue(KeyId key, std::span<const HiveName> path, const HiveName& name, DWORD type,
                  std::string_view data) override;
  LONG DeleteValue(KeyId key, std::string_view folded) override;
  LONG DeleteKey(KeyId key) override;
  LONG DeleteSubkeys(KeyId key) override;
  LONG Flush() override;
  void PrepareToReopen() override;
  LONG Check(std::string& report) override;

 private:
  struct KeyRow {
    KeyId parent = 0;
    int depth = 0;
    DWORD subkeys = 0;
    std::string folded;
    DWORD class_length = 0;
  };

  LONG Status(int code) const { return StatusOfSqlite(m_db.get(), code); }

  template <class... Values>
  LONG Execute(Statement& statement, const Values&... values) {
    Run run(m_db.get(), statement, values...);
    run.Next();
    return Status(run.Code());
  }

  // Runs `change` in a transaction of its own, which is undone when it does not succeed.
  template <class Change>
  LONG Write(Change change);

  LONG ReadRow(KeyId key, KeyRow& row);
  LONG MakePath(KeyId parent, std::span<const HiveName> path, std::string_view class_name,
                KeyId& id, bool& is_new);
  LONG MakeChild(KeyId parent, int depth, const HiveName& name, std::string_view class_name,
                 KeyId& id);
  LONG ReplaceValue(KeyId key, const HiveName& name, DWORD type, std::string_view data,
                    const StoredValue& old);
  LONG AddValue(KeyId key, const HiveName& name, DWORD type, std::string_view data);
  LONG RemoveRow(KeyId key, const KeyRow& row);
  LONG UpdateLongest(KeyId key, LengthKind kind);
  LONG CountLength(KeyId key, LengthKind kind, std::size_t length);
  LONG DiscountLength(KeyId key, LengthKind kind, std::size_t length);
  LONG CollectBelow(KeyId key);

  Database m_db;
  bool m_is_writable;
  const volatile std::uint32_t* m_log_header = nullptr;

  Statement m_begin{"BEGIN"};
  Statement m_begin_write{"BEGIN IMMEDIATE"};
  Statement m_commit{"COMMIT"};
  Statement m_rollback{"ROLLBACK"};
  Statement m_touch{"SELECT id FROM keys WHERE id = 1"};

  Statement m_find_key{"SELECT id FROM tree WHERE parent = ?1 AND folded = ?2"};
  Statement m_read_value{"SELECT type, data FROM value WHERE key = ?1 AND folded = ?2"};
  Statement m_read_info{
      "SELECT subkeys, longest_subkey, longest_class, value_count, longest_value_name, "
      "longest_data, class FROM keys WHERE id = ?1"};
  Statement m_read_row{
      "SELECT parent, depth, subkeys, folded, length(class) FROM keys WHERE id = ?1"};
  Statement m_list_keys{
      "SELECT name, folded FROM tree WHERE parent = ?1 AND folded >= ?2 "
      "ORDER BY folded LIMIT ?3 OFFSET ?4"};
  Statement m_list_values{
      "SELECT name, folded, type, data FROM value WHERE key = ?1 AND folded >= ?2 "
      "ORDER BY folded LIMIT ?3 OFFSET ?4"};

  Statement m_insert_key{"INSERT INTO keys (parent, depth, folded, class) VALUES (?1, ?2, ?3, ?4)"};
  Statement m_insert_tree{"INSERT INTO tree (parent, folded, name, id) VALUES (?1, ?2, ?3, ?4)"};
  Statement m_delete_key{"DELETE FROM keys WHERE id = ?1"};
  Statement m_delete_tree{"DELETE FROM tree WHERE parent = ?1 AND folded = ?2"};
  Statement m_delete_values{"DELETE FROM value WHERE key = ?1"};
  Statement m_delete_lengths{"DELETE FROM lengths WHERE key = ?1"};
  Statement m_add_subkeys{"UPDATE keys SET subkeys = subkeys + ?2 WHERE id = ?1"};

  Statement m_insert_value{
      "INSERT INTO value (key, folded, name, type, data) VALUES (?1, ?2, ?3, ?4, ?5)"};
  Statement m_update_value{"UPDATE value SET type = ?3, data = ?4 WHERE key = ?1 AND folded = ?2"};
  Statement m_find_length{
      "SELECT length(name), length(data) FROM value WHERE key = ?1 AND folded = ?2"};
  Statement m_delete_value{"DELETE FROM value WHERE key = ?1 AND folded = ?2"};
  Statement m_add_values{"UPDATE keys SET value_count = value_count + ?2 WHERE id = ?1"};

  Statement m_count_length{
      "INSERT INTO lengths (key, kind, length, uses) VALUES (?1, ?2, ?3, 1) "
      "ON CONFLICT DO UPDATE SET uses = uses + 1 RETURNING uses"};
  Statement m_discount_length{
      "UPDATE lengths SET uses = uses - 1 WHERE key = ?1 AND kind = ?2 AND length = ?3 "
      "RETURNING uses"};
  Statement m_delete_length{"DELETE FROM lengths WHERE key = ?1 AND kind = ?2 AND length = ?3"};
  Statement m_longest{
      "SELECT length FROM lengths WHERE key = ?1 AND kind = ?2 ORDER BY length DESC LIMIT 1"};
  Statement m_set_longest[4] = {
      Statement{"UPDATE keys SET longest_subkey = ?2 WHERE id = ?1 AND longest_subkey <> ?2"},
      Statement{"UPDATE keys SET longest_class = ?2 WHERE id = ?1 AND longest_class <> ?2"},
      Statement{
          "UPDATE keys SET longest_value_name = ?2 WHERE id = ?1 AND longest_value_name <> ?2"},
      Statement{"UPDATE keys SET longest_data = ?2 WHERE id = ?1 AND longest_data <> ?2"}};

  Statement m_make_doomed{"CREATE TEMP TABLE IF NOT EXISTS doomed (id INTEGER PRIMARY KEY)"};
  Statement m_empty_doomed{"DELETE FROM doomed"};
  Statement m_collect_doomed{
      "WITH RECURSIVE below(id) AS (SELECT id FROM tree WHERE parent = ?1 "
      "UNION ALL SELECT tree.id FROM below JOIN tree ON tree.parent = below.id) "
      "INSERT INTO doomed SELECT id FROM below"};
  Statement m_delete_doomed_values{"DELETE FROM value WHERE key IN doomed"};
  Statement m_delete_doomed_lengths{"DELETE FROM lengths WHERE key IN doomed"};
  Statement m_delete_doomed_tree{"DELETE FROM tree WHERE parent IN doomed"};
  Statement m_delete_doomed_keys{"DELETE FROM keys WHERE id IN doomed"};
  Statement m_delete_children{"DELETE FROM tree WHERE parent = ?1"};
  Statement m_forget_subkeys{
      "UPDATE keys SET subkeys = 0, longest_subkey = 0, longest_class = 0 WHERE id = ?1"};
  Statement m_forget_subkey_lengths{"DELETE FROM lengths WHERE key = ?1 AND kind IN (0, 1)"};
};

LONG SqliteHive::Prepare() {
  sqlite3* db = m_db.get();
  sqlite3_extended_result_codes(db, 1);
  sqlite3_busy_handler(db, WaitForWriter, nullptr);
  // What runs by itself is none of a hive's, but may stand in a file that says it is one.
  sqlite3_db_config(db, SQLITE_DBCONFIG_ENABLE_TRIGGER, 0, nullptr);
  sqlite3_db_config(db, SQLITE_DBCONFIG_ENABLE_VIEW, 0, nullptr);
  // Whoever may read the hive, but not make files beside it, needs these to be there.
  int keeps_log = 1;
  sqlite3_file_control(db, "main", SQLITE_FCNTL_PERSIST_WAL, &keeps_log);
  const std::string settings =
      "PRAGMA synchronous = NORMAL; PRAGMA temp_store = MEMORY; PRAGMA trusted_schema = OFF;"
      "PRAGMA secure_delete = FAST; PRAGMA journal_size_limit = " +
      std::to_string(kLongestLogKept) +
      "; PRAGMA wal_autocheckpoint = " + std::to_string(kLogPagesBeforeCheckpoint) +
      "; PRAGMA cache_size = -" + std::to_string(kCacheKibibytes);
  const int code = sqlite3_exec(db, settings.c_str(), nullptr, nullptr, nullptr);
  if (code != SQLITE_OK) return Status(code);
  // What ends a transaction must not find that there is no memory for it.
  for (Statement* statement : {&m_begin, &m_begin_write, &m_commit, &m_rollback}) {
    const int prepared = statement->Start(db);
    if (prepared != SQLITE_OK) return Status(prepared);
  }
  return Execute(m_touch);
}

// SQLite maps the head of the log's index into every process that has the hive open. Its first 48
// bytes change with every commit, the last of them being written before the commit returns.
bool SqliteHive::ReadStamp(HiveStamp& stamp) {
  constexpr int kRegionSize = 32768;
  if (m_log_header == nullptr) {
    sqlite3_file* file = nullptr;
    sqlite3_file_control(m_db.get(), "main", SQLITE_FCNTL_FILE_POINTER, &file);
    if (file == nullptr || file->pMethods == nullptr || file->pMethods->iVersion < 2) return false;
    volatile void* region = nullptr;
    const int code = file->pMethods->xShmMap(file, 0, kRegionSize, 0, &region);
    if (region == nullptr || (code != SQLITE_OK && code != SQLITE_READONLY)) return false;
    m_log_header = static_cast<const volatile std::uint32_t*>(region);
  }
  for (std::size_t i = 0; i < stamp.size(); ++i) {
    stamp[i] = __atomic_load_n(&m_log_header[i], __ATOMIC_ACQUIRE);
  }
  return true;
}

LONG SqliteHive::FindKey(KeyId parent, std::string_view folded, KeyId& id) {
  Run run(m_db.get(), m_find_key, parent, folded);
  if (run.Next()) {
    id = m_find_key.Number(0);
    return ERROR_SUCCESS;
  }
  return run.Code() == SQLITE_DONE ? ERROR_FILE_NOT_FOUND : Status(run.Code());
}

LONG SqliteHive::ReadValue(KeyId key, std::string_view folded, StoredValue& value) {
  Run run(m_db.get(), m_read_value, key, folded);
  if (run.Next()) {
    value.type = m_read_value.Count(0);
    value.data = m_read_value.Bytes(1);
    return ERROR_SUCCESS;
  }
  return run.Code() == SQLITE_DONE ? ERROR_FILE_NOT_FOUND : Status(run.Code());
}

LONG SqliteHive::ReadInfo(KeyId key, KeyInfo& info) {
  Run run(m_db.get(), m_read_info, key);
  if (!run.Next()) return run.Code() == SQLITE_DONE ? ERROR_KEY_DELETED : Status(run.Code());
  info.subkeys = m_read_info.Count(0);
  info.longest_subkey = m_read_info.Count(1);
  info.longest_class = m_read_info.Count(2);
  info.values = m_read_info.Count(3);
  info.longest_value_name = m_read_info.Count(4);
  info.longest_data = m_read_info.Count(5);
  info.class_name = m_read_info.Bytes(6);
  return ERROR_SUCCESS;
}

LONG SqliteHive::ListKeys(KeyId parent, const ListPlace& place, std::vector<ListedKey>& keys) {
  keys.clear();
  Run run(m_db.get(), m_list_keys, parent, place.from, KeyId{place.most}, KeyId{place.skip});
  while (run.Next()) {
    keys.push_back({std::string(m_list_keys.Bytes(0)), std::string(m_list_keys.Bytes(1))});
  }
  return Status(run.Code());
}

LONG SqliteHive::ListValues(KeyId key, const ListPlace& place, std::vector<ListedValue>& values) {
  constexpr std::size_t kMostBytes = 65536;  // one value may be longer
  values.clear();
  std::size_t bytes = 0;
  Run run(m_db.get(), m_list_values, key, place.from, KeyId{place.most}, KeyId{place.skip});
  while (bytes < kMostBytes && run.Next()) {
    values.push_back({std::string(m_list_values.Bytes(0)),
                      std::string(m_list_values.Bytes(1)),
                      {m_list_values.Count(2), std::string(m_list_values.Bytes(3))}});
    bytes += values.back().value.data.size();
  }
  return Status(run.Code());
}

template <class Change>
LONG SqliteHive::Write(Change change) {
  LONG status = Execute(m_begin_write);
  if (status != ERROR_SUCCESS) return status;
  try {
    status = change();
    if (status == ERROR_SUCCESS) status = Execute(m_commit);
  } catch (...) {
    Execute(m_rollback);
    throw;
  }
  if (sqlite3_get_autocommit(m_db.get()) == 0) Execute(m_rollback);
  return status;
}

LONG SqliteHive::ReadRow(KeyId key, KeyRow& row) {
  Run run(m_db.get(), m_read_row, key);
  if (!run.Next()) return run.Code() == SQLITE_DONE ? ERROR_KEY_DELETED : Status(run.Code());
  row.parent = m_read_row.Number(0);
  row.depth = static_cast<int>(m_read_row.Number(1));
  row.subkeys = m_read_row.Count(2);
  row.folded = m_read_row.Bytes(3);
  row.class_length = m_read_row.Count(4);
  return ERROR_SUCCESS;
}

LONG SqliteHive::UpdateLongest(KeyId key, LengthKind kind) {
  Run run(m_db.get(), m_longest, key, KeyId{kind});
  const KeyId longest = run.Next() ? m_longest.Number(0) : 0;
  const LONG status = Status(run.Code());
  return status == ERROR_SUCCESS ? Execute(m_set_longest[kind], key, longest) : status;
}

LONG SqliteHive::CountLength(KeyId key, LengthKind kind, std::size_t length) {
  bool is_first = false;
  {
    Run run(m_db.get(), m_count_length, key, KeyId{kind}, static_cast<KeyId>(length));
    is_first = run.Next() && m_count_length.Number(0) == 1;
    run.Next();
    if (run.Code() != SQLITE_DONE) return Status(run.Code());
  }
  return is_first ? UpdateLongest(key, kind) : ERROR_SUCCESS;
}

LONG SqliteHive::DiscountLength(KeyId key, LengthKind kind, std::size_t length) {
  bool is_last = false;
  {
    Run run(m_db.get(), m_discount_length, key, KeyId{kind}, static_cast<KeyId>(length));
    is_last = run.Next() && m_discount_length.Number(0) <= 0;
    run.Next();
    if (run.Code() != SQLITE_DONE) return Status(run.Code());
  }
  if (!is_last) return ERROR_SUCCESS;
  const LONG status = Execute(m_delete_length, key, KeyId{kind}, static_cast<KeyId>(length));
  return status == ERROR_SUCCESS ? UpdateLongest(key, kind) : status;
}

LONG SqliteHive::MakeChild(KeyId parent, int depth, const HiveName& name,
                           std::string_view class_name, KeyId& id) {
  LONG status = Execute(m_insert_key, parent, KeyId{depth}, name.folded, class_name);
  if (status != ERROR_SUCCESS) return status;
  id = sqlite3_last_insert_rowid(m_db.get());
  status = Execute(m_insert_tree, parent, name.folded, name.written, id);
  if (status == ERROR_SUCCESS) status = Execute(m_add_subkeys, parent, KeyId{1});
  if (status == ERROR_SUCCESS) status = CountLength(parent, kSubkeyNames, name.written.size());
  if (status == ERROR_SUCCESS) status = CountLength(parent, kSubkeyClasses, class_name.size());
  return status;
}

LONG SqliteHive::MakePath(KeyId parent, std::span<const HiveName> path, std::string_view class_name,
                          KeyId& id, bool& is_new) {
  KeyRow row;
  LONG status = ReadRow(parent, row);
  if (status != ERROR_SUCCESS) return status;
  if (row.depth + path.size() > kMostLevels) return ERROR_INVALID_PARAMETER;
  id = parent;
  is_new = false;
  for (const HiveName& name : path) {
    ++row.depth;
    const bool is_last = &name == &path.back();
    const KeyId above = id;
    status = is_new ? ERROR_FILE_NOT_FOUND : FindKey(above, name.folded, id);
    if (status == ERROR_FILE_NOT_FOUND) {
      is_new = true;
      status = MakeChild(above, row.depth, name, is_last ? class_name : "", id);
    }
    if (status != ERROR_SUCCESS) return status;
  }
  return ERROR_SUCCESS;
}

LONG SqliteHive::CreateKey(KeyId parent, std::span<const HiveName> path,
                           std::string_view class_name, KeyId& id, bool& is_new) {
  return Write([&] { return MakePath(parent, path, class_name, id, is_new); });
}

LONG SqliteHive::AddValue(KeyId key, const HiveName& name, DWORD type, std::string_view data) {
  KeyRow row;
  LONG status = ReadRow(key, row);
  if (status == ERROR_SUCCESS) {
    status = Execute(m_insert_value, key, name.folded, name.written, KeyId{type}, data);
  }
  if (status == ERROR_SUCCESS) status = Execute(m_add_values, key, KeyId{1});
  if (status == ERROR_SUCCESS) status = CountLength(key, kValueNames, name.written.size());
  if (status == ERROR_SUCCESS) status = CountLength(key, kValueData, data.size());
  return status;
}

LONG SqliteHive::ReplaceValue(KeyId key, const HiveName& name, DWORD type, std::string_view data,
                              const StoredValue& old) {
  LONG status = Execute(m_update_value, key, name.folded, KeyId{type}, data);
  if (status != ERROR_SUCCESS || old.data.size() == data.size()) return status;
  status = CountLength(key, kValueData, data.size());
  if (status == ERROR_SUCCESS) status = DiscountLength(key, kValueData, old.data.size());
  return status;
}

// A value that is what it is to be already costs no commit.
LONG SqliteHive::WriteValue(KeyId key, std::span<const HiveName> path, const HiveName& name,
                            DWORD type, std::string_view data) {
  return Write([&]() -> LONG {
    bool is_new = false;
    LONG status = path.empty() ? ERROR_SUCCESS : MakePath(key, path, {}, key, is_new);
    if (status != ERROR_SUCCESS) return status;
    StoredValue old;
    status = ReadValue(key, name.folded, old);
    if (status == ERROR_FILE_NOT_FOUND) return AddValue(key, name, type, data);
    if (status != ERROR_SUCCESS || (old.type == type && old.data == data)) return status;
    return ReplaceValue(key, name, type, data, old);
  });
}

LONG SqliteHive::DeleteValue(KeyId key, std::string_view folded) {
  return Write([&]() -> LONG {
    KeyRow row;
    LONG status = ReadRow(key, row);
    if (status != ERROR_SUCCESS) return status;
    DWORD name_length = 0;
    DWORD data_length = 0;
    {
      Run run(m_db.get(), m_find_length, key, folded);
      if (!run.Next()) return run.Code() == SQLITE_DONE ? ERROR_FILE_NOT_FOUND : Status(run.Code());
      name_length = m_find_length.Count(0);
      data_length = m_find_length.Count(1);
    }
    status = Execute(m_delete_value, key, folded);
    if (status == ERROR_SUCCESS) status = Execute(m_add_values, key, KeyId{-1});
    if (status == ERROR_SUCCESS) status = DiscountLength(key, kValueNames, name_length);
    if (status == ERROR_SUCCESS) status = DiscountLength(key, kValueData, data_length);
    return status;
  });
}

LONG SqliteHive::RemoveRow(KeyId key, const KeyRow& row) {
  LONG status = Execute(m_delete_values, key);
  if (status == ERROR_SUCCESS) status = Execute(m_delete_lengths, key);
  if (status == ERROR_SUCCESS) status = Execute(m_delete_tree, row.parent, row.folded);
  if (status == ERROR_SUCCESS) status = Execute(m_delete_key, key);
  if (status == ERROR_SUCCESS) status = Execute(m_add_subkeys, row.parent, KeyId{-1});
  return status;
}

// A name and its folded form have one length.
LONG SqliteHive::DeleteKey(KeyId key) {
  return Write([&]() -> LONG {
    KeyRow row;
    LONG status = ReadRow(key, row);
    if (status != ERROR_SUCCESS) return status;
    if (row.subkeys != 0 || row.parent == 0) return ERROR_ACCESS_DENIED;
    status = RemoveRow(key, row);
    if (status == ERROR_SUCCESS) {
      status = DiscountLength(row.parent, kSubkeyNames, row.folded.size());
    }
    if (status == ERROR_SUCCESS) {
      status = DiscountLength(row.parent, kSubkeyClasses, row.class_length);
    }
    return status;
  });
}

LONG SqliteHive::CollectBelow(KeyId key) {
  LONG status = Execute(m_make_doomed);
  if (status == ERROR_SUCCESS) status = Execute(m_empty_doomed);
  if (status == ERROR_SUCCESS) status = Execute(m_collect_doomed, key);
  return status;
}

LONG SqliteHive::DeleteSubkeys(KeyId key) {
  return Write([&]() -> LONG {
    KeyRow row;
    LONG status = ReadRow(key, row);
    if (status != ERROR_SUCCESS || row.subkeys == 0) return status;
    status = CollectBelow(key);
    for (Statement* step : {&m_delete_doomed_values, &m_delete_doomed_lengths,
                            &m_delete_doomed_tree, &m_delete_doomed_keys, &m_empty_doomed}) {
      if (status == ERROR_SUCCESS) status = Execute(*step);
    }
    for (Statement* step : {&m_delete_children, &m_forget_subkeys, &m_forget_subkey_lengths}) {
      if (status == ERROR_SUCCESS) status = Execute(*step, key);
    }
    return status;
  });
}

// The log holds whatever the hive itself does not hold durably yet.
LONG SqliteHive::Flush() {
  sqlite3_file* log = nullptr;
  sqlite3_file_control(m_db.get(), "main", SQLITE_FCNTL_JOURNAL_POINTER, &log);
  if (log == nullptr || log->pMethods == nullptr) return ERROR_SUCCESS;
  return Status(log->pMethods->xSync(log, SQLITE_SYNC_NORMAL));
}

void SqliteHive::PrepareToReopen() {
  sqlite3_db_config(m_db.get(), SQLITE_DBCONFIG_NO_CKPT_ON_CLOSE, 1, nullptr);
}

LONG SqliteHive::Check(std::string& report) {
  Statement integrity("PRAGMA integrity_check");
  Statement counts(
      "SELECT 'key ' || id || ': its counts do not agree with what it holds' FROM keys WHERE "
      "subkeys <> (SELECT count(*) FROM tree WHERE parent = keys.id) OR "
      "value_count <> (SELECT count(*) FROM value WHERE key = keys.id)");
  Statement strays(
      "SELECT 'key ' || id || ': not where its parent has it' FROM keys WHERE NOT EXISTS "
      "(SELECT 1 FROM tree WHERE tree.id = keys.id AND tree.parent = keys.parent AND "
      "tree.folded = keys.folded)");
  report.clear();
  for (Statement* test : {&integrity, &counts, &strays}) {
    Run run(m_db.get(), *test);
    while (run.Next()) {
      if (test->Bytes(0) != "ok") report.append(test->Bytes(0)).append("\n");
    }
    if (run.Code() != SQLITE_DONE) return Status(run.Code());
  }
  return ERROR_SUCCESS;
}

LONG Open(const std::string& name, int mode, bool is_writable, std::unique_ptr<HiveStore>& store) {
  sqlite3* opened = nullptr;
  const int code = sqlite3_open_v2(name.c_str(), &opened, mode | SQLITE_OPEN_NOMUTEX, nullptr);
  Database db(opened);
  if (code != SQLITE_OK) return StatusOfSqlite(opened, code);
  auto hive = std::make_unique<SqliteHive>(std::move(db), is_writable);
  const LONG status = hive->Prepare();
  if (status == ERROR_SUCCESS) store = std::move(hive);
  return status;
}

std::string UriOf(const std::string& file_name) {
  constexpr char kHexDigits[] = "0123456789ABCDEF";
  std::string uri = "file:";
  for (const unsigned char byte : file_name) {
    if (byte == '%' || byte == '?' || byte == '#') {
      uri += {'%', kHexDigits[byte >> 4], kHexDigits[byte & 15]};
    } else {
      uri += static_cast<char>(byte);
    }
  }
  return uri + "?immutable=1";
}

}  // namespace

LONG OpenSqliteHive(const std::string& file_name, HiveAccess access,
                    std::unique_ptr<HiveStore>& store) {
  switch (access) {
    case HiveAccess::kWrite:
      return Open(file_name, SQLITE_OPEN_READWRITE, true, store);
    case HiveAccess::kRead:
      return Open(file_name, SQLITE_OPEN_READONLY, false, store);
    case HiveAccess::kReadAlone:
      return Open(UriOf(file_name), SQLITE_OPEN_READONLY | SQLITE_OPEN_URI, false, store);
  }
  return ERROR_INVALID_PARAMETER;
}

}  // namespace tesselkit::platform
