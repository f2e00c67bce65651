// A prepared statement of the engine, taken from its session's cache and given back at its end.
#pragma once

#include <sqlite3.h>

#include <string>
#include <string_view>

#include "dataaccess/provider.h"
#include "dataaccess/providers/sqlite/sqlite_forms.h"
#include "dataaccess/providers/sqlite/sqlite_table.h"

namespace qm {

class SqliteSession;

class SqliteStatement {
 public:
  SqliteStatement(SqliteSession& session, std::string_view text);
  /// Of a form: its values are bound, and errors carry `text`, of which they are views.
  SqliteStatement(SqliteSession& session, const SqliteForms::Fitting& fitting,
                  std::string_view text);
  ~SqliteStatement();
  SqliteStatement(const SqliteStatement&) = delete;
  SqliteStatement& operator=(const SqliteStatement&) = delete;

  /// Binds the next parameter.
  void Bind(const Variant& value);
  /// Whether it stands on a row. The first step waits for other users' locks.
  bool Step();
  int ColumnCount() const { return sqlite3_column_count(statement_); }
  Variant Value(int column) const;
  void ReadValue(int column, Variant& value) const;
  bool IsBinary(int column) const { return sqlite3_column_type(statement_, column) == SQLITE_BLOB; }
  void ReadRow(Row& row) const;
  /// A value as text where it lies, until the next step; what is none, as text in `room`.
  ValueKind ReadText(int column, std::string& room, std::string_view& text) const;
  sqlite3_stmt* handle() const { return statement_; }
  /// How often the engine had prepared it when it was taken.
  int preparations() const { return preparations_; }
  /// The text that errors carry, where it is not the one that was prepared.
  void ShowAs(std::string_view text) { shown_text_ = text; }

 private:
  SqliteSession& session_;
  std::shared_ptr<SqliteForm> form_;
  sqlite3_stmt* statement_;
  std::string shown_text_;
  int preparations_ = 0;
  int bound_ = 0;
  bool started_ = false;
};

/// A caller's statement, or the reading of a whole table.
class SqliteRowStatement : public ProviderStatement {
 public:
  /// `table` is null when the rows have no identity.
  SqliteRowStatement(SqliteSession& session, std::string_view prepared_text,
                     std::string_view caller_text, std::shared_ptr<const SqliteTable> table);
  /// A statement of a form.
  SqliteRowStatement(SqliteSession& session, const SqliteForms::Fitting& fitting,
                     std::string_view caller_text);

  bool HasRows() const override;
  bool Writes() const override;
  void Start() override;
  const RowShapePointer& Shape() const override { return shape_; }
  bool Next(Row& row) override;
  bool Move() override;
  Variant Value(std::size_t column) const override {
    return statement_.Value(static_cast<int>(column));
  }
  ValueKind ReadText(std::size_t column, std::string& room, std::string_view& text) const override {
    return statement_.ReadText(static_cast<int>(column), room, text);
  }
  std::int64_t RowsAffected() const override { return rows_affected_; }

  /// Columns and identity as the engine sees the statement now.
  void ReadShape();

 private:
  void TakeShapeOfForm();

  SqliteSession& session_;
  SqliteStatement statement_;
  std::shared_ptr<SqliteForm> form_;
  std::shared_ptr<const SqliteTable> table_;
  RowShapePointer shape_;
  std::int64_t rows_affected_ = 0;
  bool on_row_ = false;
  bool moved_ = false;
};

}  // namespace qm
