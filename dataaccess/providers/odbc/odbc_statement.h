// OdbcStatement: one statement of a session with its parameters and rows.
//
// Order of calls: make it, `Bind` the parameters in their order, `Execute`, `Next` until it gives
// false. A prepared statement may then be executed again with other values. Rows come in blocks
// where all columns are short enough to be bound, else one fetch a row.
//
// Values come in stored form: whole numbers as Long or LongLong, other numbers as Double, a bit as
// -1 or 0, dates as "YYYY-MM-DD[ HH:MM:SS[.F]]", everything else as text.
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "dataaccess/packed_rows.h"
#include "dataaccess/provider.h"
#include "dataaccess/providers/odbc/odbc_handle.h"

namespace qm {

class OdbcSession;

/// What a value is stored as; only what matters for handing it over and reading it.
enum class OdbcKind { kText, kWhole, kReal, kBit, kMoment, kBytes };
OdbcKind KindOf(SQLSMALLINT sql_type);

/// A parameter's place: the type of the column that it is meant for.
struct OdbcPlace {
  SQLSMALLINT sql_type = SQL_UNKNOWN_TYPE;  ///< unknown: the value's own
  SQLULEN size = 0;
  SQLSMALLINT digits = 0;
};

class OdbcStatement {
 public:
  /// `shown` is the text that errors carry.
  OdbcStatement(OdbcSession& session, std::string_view text, std::string_view shown);
  ~OdbcStatement();
  OdbcStatement(const OdbcStatement&) = delete;
  OdbcStatement& operator=(const OdbcStatement&) = delete;

  void Prepare();
  void Bind(const Variant& value, const OdbcPlace& place = {});
  /// `stream`: rows are read as they are asked for, with little memory, where the driver can.
  void Execute(bool stream = false);
  /// Runs a function of the driver's catalog instead of a text.
  void Ask(const std::function<SQLRETURN(SQLHSTMT)>& function);
  bool HasRows() const { return !columns_.empty(); }
  std::size_t ColumnCount() const { return columns_.size(); }
  const std::string& ColumnName(std::size_t column) const { return columns_[column].name; }
  /// The table's column behind a column of the rows; empty for an expression.
  std::string BaseColumn(std::size_t column);
  bool Next(Row& row);
  /// Reads what is left into memory, so that the connection is free for others.
  void Hold();
  /// Ends the reading; the statement may be executed again.
  void Close() noexcept;
  std::int64_t RowsAffected() const { return rows_affected_; }
  const std::string& text() const { return text_; }
  const std::string& shown() const { return shown_; }

 private:
  struct Parameter;
  struct BoundColumn {
    std::string name;
    OdbcKind kind = OdbcKind::kText;
    SQLULEN size = 0;
    bool bound = false;
    std::size_t cell = 0;  // bytes of one value
    std::vector<char> cells;
    std::vector<SQLLEN> lengths;
  };

  [[noreturn]] void Raise();
  void Describe();
  std::string ColumnText(std::size_t column, SQLUSMALLINT field);
  void BindColumns();
  bool FetchBlock();
  void ReadBound(const BoundColumn& column, std::size_t at, Variant& value);
  Variant LongValue(std::size_t column);
  bool FetchRow(Row& row);
  /// What the driver writes behind a text.
  std::size_t ClosingBytes() const { return utf8_ ? 1 : sizeof(SQLWCHAR); }

  OdbcSession& session_;
  OdbcHandle handle_;
  bool utf8_;
  std::string text_;
  std::string shown_;
  bool prepared_ = false;
  bool described_ = false;
  bool open_ = false;
  std::vector<std::unique_ptr<Parameter>> parameters_;
  std::vector<BoundColumn> columns_;
  std::string converted_;
  SQLULEN block_ = 1;
  SQLULEN fetched_ = 0;
  std::size_t next_ = 0;
  std::int64_t rows_affected_ = 0;
  bool held_ = false;
  PackedRows held_rows_;
  std::size_t next_held_ = 0;
};

}  // namespace qm
