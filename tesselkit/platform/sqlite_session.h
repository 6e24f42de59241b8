// One SQLite connection with prepared statements, each prepared at its first use and kept.
#pragma once

#include <sqlite3.h>

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "tesselkit/platform/types.h"

namespace tesselkit::platform {

// The platform's status for what SQLite answered; `db` may be null.
LONG StatusOfSqlite(sqlite3* db, int code);

struct CloseDatabase {
  void operator()(sqlite3* db) const { sqlite3_close_v2(db); }
};
struct FinalizeStatement {
  void operator()(sqlite3_stmt* statement) const { sqlite3_finalize(statement); }
};
using Database = std::unique_ptr<sqlite3, CloseDatabase>;

class Statement {
 public:
  explicit Statement(const char* sql) : m_sql(sql) {}

  // Makes the statement ready to run with no values bound. Every run ends with a Reset.
  int Start(sqlite3* db);
  void Reset() { sqlite3_reset(m_statement.get()); }
  int Step() { return sqlite3_step(m_statement.get()); }

  void Bind(int index, std::int64_t value) { sqlite3_bind_int64(m_statement.get(), index, value); }
  // The bytes must stay until the run has ended.
  void Bind(int index, std::string_view bytes) {
    sqlite3_bind_blob64(m_statement.get(), index, bytes.data() != nullptr ? bytes.data() : "",
                        bytes.size(), SQLITE_STATIC);
  }

  std::int64_t Number(int column) const { return sqlite3_column_int64(m_statement.get(), column); }
  DWORD Count(int column) const { return static_cast<DWORD>(Number(column)); }
  std::string_view Bytes(int column) const;

 private:
  const char* m_sql;
  std::unique_ptr<sqlite3_stmt, FinalizeStatement> m_statement;
};

// A run of a statement, reset at the end of its scope.
class Run {
 public:
  template <class... Values>
  Run(sqlite3* db, Statement& statement, const Values&... values) : m_statement(statement) {
    m_code = statement.Start(db);
    int index = 0;
    if (m_code == SQLITE_OK) (statement.Bind(++index, values), ...);
  }
  ~Run() { m_statement.Reset(); }
  Run(const Run&) = delete;
  Run& operator=(const Run&) = delete;

  // Whether there is another row. Code() is SQLITE_DONE after the last.
  bool Next() {
    if (m_code == SQLITE_OK || m_code == SQLITE_ROW) m_code = m_statement.Step();
    return m_code == SQLITE_ROW;
  }
  int Code() const { return m_code; }

 private:
  Statement& m_statement;
  int m_code;
};

}  // namespace tesselkit::platform
