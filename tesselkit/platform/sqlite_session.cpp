#include "tesselkit/platform/sqlite_session.h"

#include <sqlite3.h>

#include <cerrno>

#include "tesselkit/platform/status_codes.h"

namespace tesselkit::platform {

namespace {

LONG StatusOfHostError(int error, LONG otherwise) {
  switch (error) {
    case ENOSPC:
    case EDQUOT:
    case EFBIG:
      return ERROR_DISK_FULL;
    case EACCES:
    case EPERM:
    case EROFS:
      return ERROR_ACCESS_DENIED;
    case EISDIR:
      return ERROR_BADDB;
    default:
      return otherwise;
  }
}

// The host's error in the last failed call on the file that `operation` names.
int LastErrorOf(sqlite3* db, int operation) {
  sqlite3_file* file = nullptr;
  int error = 0;
  sqlite3_file_control(db, "main", operation, &file);
  if (file != nullptr && file->pMethods != nullptr) {
    file->pMethods->xFileControl(file, SQLITE_FCNTL_LAST_ERRNO, &error);
  }
  return error;
}

// What the connection remembers may be of a later call: that a write failed, the file knows better.
int HostErrorOf(sqlite3* db, int code) {
  if (db == nullptr) return 0;
  if (code == SQLITE_IOERR_WRITE) {
    for (const int file : {SQLITE_FCNTL_JOURNAL_POINTER, SQLITE_FCNTL_FILE_POINTER}) {
      if (const int error = LastErrorOf(db, file); error != 0) return error;
    }
  }
  return sqlite3_system_errno(db);
}

}  // namespace

LONG StatusOfSqlite(sqlite3* db, int code) {
  switch (code & 0xFF) {
    case SQLITE_OK:
    case SQLITE_ROW:
    case SQLITE_DONE:
      return ERROR_SUCCESS;
    case SQLITE_FULL:
      return ERROR_DISK_FULL;
    case SQLITE_READONLY:
    case SQLITE_PERM:
    case SQLITE_AUTH:
      return ERROR_ACCESS_DENIED;
    case SQLITE_BUSY:
    case SQLITE_LOCKED:
    case SQLITE_PROTOCOL:
      return ERROR_BUSY;
    case SQLITE_NOMEM:
      return ERROR_NOT_ENOUGH_MEMORY;
    case SQLITE_TOOBIG:
      return ERROR_NO_SYSTEM_RESOURCES;
    case SQLITE_INTERRUPT:
    case SQLITE_MISUSE:
      return ERROR_REGISTRY_IO_FAILED;
    case SQLITE_IOERR:
    case SQLITE_CANTOPEN:
      if (code == SQLITE_IOERR_NOMEM) return ERROR_NOT_ENOUGH_MEMORY;
      return StatusOfHostError(HostErrorOf(db, code), ERROR_REGISTRY_IO_FAILED);
    default:
      return ERROR_BADDB;
  }
}

void CloseDatabase::operator()(sqlite3* db) const {
  sqlite3_close_v2(db);
}

void FinalizeStatement::operator()(sqlite3_stmt* statement) const {
  sqlite3_finalize(statement);
}

int Statement::Start(sqlite3* db) {
  if (m_statement != nullptr) return SQLITE_OK;
  sqlite3_stmt* statement = nullptr;
  const int code =
      sqlite3_prepare_v3(db, m_sql, -1, SQLITE_PREPARE_PERSISTENT, &statement, nullptr);
  m_statement.reset(statement);
  return code;
}

void Statement::Reset() {
  sqlite3_reset(m_statement.get());
}

int Statement::Step() {
  return sqlite3_step(m_statement.get());
}

int Statement::Bind(int index, std::int64_t value) {
  return sqlite3_bind_int64(m_statement.get(), index, value);
}

int Statement::Bind(int index, std::string_view bytes) {
  return sqlite3_bind_blob64(m_statement.get(), index, bytes.data() != nullptr ? bytes.data() : "",
                             bytes.size(), SQLITE_STATIC);
}

std::int64_t Statement::Number(int column) const {
  return sqlite3_column_int64(m_statement.get(), column);
}

std::string_view Statement::Bytes(int column) const {
  const void* bytes = sqlite3_column_blob(m_statement.get(), column);
  const int size = sqlite3_column_bytes(m_statement.get(), column);
  return bytes != nullptr ? std::string_view(static_cast<const char*>(bytes), size)
                          : std::string_view();
}

bool Run::IsGoingOn() const {
  return m_code == SQLITE_OK || m_code == SQLITE_ROW;
}

bool Run::Next() {
  if (IsGoingOn()) m_code = m_statement.Step();
  return m_code == SQLITE_ROW;
}

}  // namespace tesselkit::platform
