// A database of a test's own, made and looked at through the engine itself, beside the library.
#pragma once

#include <sqlite3.h>

#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>

#include <qm/connection.h>

#include "support/temp_folder.h"

namespace qm::test {

/// The engine's own view of a database file, created when it is missing.
class SqliteFile {
 public:
  explicit SqliteFile(const std::string& path) {
    const int code = sqlite3_open(path.c_str(), &db_);
    if (code != SQLITE_OK) Fail();
  }
  ~SqliteFile() { sqlite3_close_v2(db_); }
  SqliteFile(const SqliteFile&) = delete;
  SqliteFile& operator=(const SqliteFile&) = delete;

  /// Runs a script of any number of statements.
  void Exec(const std::string& script) {
    if (sqlite3_exec(db_, script.c_str(), nullptr, nullptr, nullptr) != SQLITE_OK) Fail();
  }
  /// All values of a query as text: columns joined by "|", rows by ";", Null as "NULL".
  std::string Query(const std::string& text) {
    std::string result;
    const auto append = [](void* out, int count, char** values, char**) {
      std::string& into = *static_cast<std::string*>(out);
      if (!into.empty()) into += ';';
      for (int i = 0; i < count; ++i) {
        if (i > 0) into += '|';
        into += values[i] != nullptr ? values[i] : "NULL";
      }
      return 0;
    };
    if (sqlite3_exec(db_, text.c_str(), append, &result, nullptr) != SQLITE_OK) Fail();
    return result;
  }

 private:
  [[noreturn]] void Fail() const { throw std::runtime_error(sqlite3_errmsg(db_)); }

  sqlite3* db_ = nullptr;
};

/// Makes (or adds to) a database in WAL mode by a script and gives its path.
inline std::string MakeDatabase(const std::string& path, const std::string& script) {
  SqliteFile file(path);
  file.Exec("PRAGMA journal_mode=WAL");
  file.Exec(script);
  return path;
}

/// The text of a query's whole result, in a connection of its own (see `SqliteFile::Query`).
inline std::string QueryText(const std::string& path, const std::string& text) {
  return SqliteFile(path).Query(text);
}

inline std::string SqliteConnectionString(const std::string& path) {
  return "Provider=SQLite;Data Source=\"" + path + "\"";
}

/// An open connection of the library's own.
inline std::shared_ptr<Connection> OpenSqlite(const std::string& path) {
  auto connection = Connection::Create();
  connection->Open(SqliteConnectionString(path));
  return connection;
}

}  // namespace qm::test
