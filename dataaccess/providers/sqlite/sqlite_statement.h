// A prepared statement of the engine, taken from its session's cache and given back at its end.
#pragma once

#include <sqlite3.h>

#include <string>
#include <string_view>

#include "dataaccess/provider.h"
#include "dataaccess/providers/sqlite/sqlite_table.h"

namespace qm {

class SqliteSession;

class SqliteStatement {
 public:
  SqliteStatement(SqliteSession& session, std::string_view text);
  ~SqliteStatement();
  SqliteStatement(const SqliteStatement&) = delete;
  SqliteStatement& operator=(const SqliteStatement&) = delete;

  /// Binds the next parameter.
  void Bind(const Variant& value);
  /// Whether it stands on a row. The first step waits for other users' locks.
  bool Step();
  int ColumnCount() const { return sqlite3_column_count(statement_); }
  Variant Value(int column) const;
  bool IsBinary(int column) const { return sqlite3_column_type(statement_, column) == SQLITE_BLOB; }
  void ReadRow(Row& row) const;
  sqlite3_stmt* handle() const { return statement_; }
  /// The text that errors carry, where it is not the one that was prepared.
  void ShowAs(std::string_view text) { shown_text_ = text; }

 private:
  SqliteSession& session_;
  sqlite3_stmt* statement_;
  std::string shown_text_;
  int bound_ = 0;
  bool started_ = false;
};

/// A caller's statement, or the reading of a whole table.
class SqliteRowStatement : public ProviderStatement {
 public:
  /// `table` is null when the rows have no identity.
  SqliteRowStatement(SqliteSession& session, std::string_view prepared_text,
                     std::string_view caller_text, std::shared_ptr<const SqliteTable> table);

  bool HasRows() const override;
  bool Writes() const override;
  void Start() override;
  const RowShape& Shape() const override { return shape_; }
  bool Next(Row& row) override;
  std::int64_t RowsAffected() const override { return rows_affected_; }

  /// Columns and identity as the engine sees the statement now.
  void ReadShape();

 private:
  SqliteSession& session_;
  SqliteStatement statement_;
  std::shared_ptr<const SqliteTable> table_;
  RowShape shape_;
  std::int64_t rows_affected_ = 0;
  bool on_row_ = false;
};

}  // namespace qm
