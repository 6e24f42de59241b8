// One SQLite connection with prepared statements, each prepared at its first use and kept.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "tesselkit/platform/types.h"

struct sqlite3;
struct sqlite3_stmt;

namespace tesselkit::platform {

// The platform's status for what SQLite answered; `db` may be null.
LONG StatusOfSqlite(sqlite3* db, int code);

struct CloseDatabase {
  void operator()(sqlite3* db) const;
};
struct FinalizeStatement {
  void operator()(sqlite3_stmt* statement) const;
};
using Database = std::unique_ptr<sqlite3, CloseDatabase>;

class Statement {
 public:
  explicit Statement(const char* sql) : m_sql(sql) {}

  // Makes the statement ready to run with no values bound. Every run ends with a Reset.
  int Start(sqlite3* db);
  void Reset();
  int Step();

  int Bind(int index, std::int64_t value);
  // The bytes must stay until the run has ended.
  int Bind(int index, std::string_view bytes);

  std::int64_t Number(int column) const;
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
    ((m_code = IsGoingOn() ? statement.Bind(++index, values) : m_code), ...);
  }
  ~Run() { m_statement.Reset(); }
  Run(const Run&) = delete;
  Run& operator=(const Run&) = delete;

  // Whether there is another row. Code() is SQLITE_DONE after the last.
  bool Next();
  int Code() const { return m_code; }

 private:
  bool IsGoingOn() const;

  Statement& m_statement;
  int m_code;
};

}  // namespace tesselkit::platform
