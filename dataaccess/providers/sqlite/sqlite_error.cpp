#include "dataaccess/providers/sqlite/sqlite_error.h"

#include <sqlite3.h>

#include <string>

#include <qm/error.h>

namespace qm {

namespace {

int PrimaryCode(int code) { return code & 0xFF; }

std::int32_t Number(int code, std::string_view description) {
  switch (PrimaryCode(code)) {
    case SQLITE_BUSY:
    case SQLITE_LOCKED:
      return kErrEngineBusy;
    case SQLITE_CONSTRAINT:
      return kErrIntegrity;
    case SQLITE_MISMATCH:
      return kErrWrongType;
    case SQLITE_ERROR:
      return description.starts_with("no such table") ? kErrNoSuchTable : kErrStatement;
    case SQLITE_AUTH:
    case SQLITE_TOOBIG:
      return kErrStatement;
    default:
      return kErrEngine;
  }
}

}  // namespace

bool IsSqliteBusy(int code) {
  return PrimaryCode(code) == SQLITE_BUSY || PrimaryCode(code) == SQLITE_LOCKED;
}

void RaiseSqlite(int code, const char* description, std::string_view statement) {
  throw Error(Number(code, description), kSqliteSource, description, code, std::string(statement));
}

}  // namespace qm
