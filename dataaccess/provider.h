// The seam between the connection and recordset, which are written once, and an engine.
//
// A provider connects, prepares statements, delivers rows with their columns and their identity,
// applies one change to one row, and begins and ends transactions. Everything else (positions,
// edits, error numbers of the recordset, draining of streams, counting of edit locks) stands above.
//
// A session belongs to one connection; statements and origins must not outlive their session.
// Every failure leaves a provider as `qm::Error` with the engine's code: kErrEngineBusy after the
// time-out, kErrIntegrity, kErrNoSuchTable, kErrStatement, else kErrEngine.
#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include <qm/variant.h>

#include "dataaccess/connection_string.h"
#include "dataaccess/sql_scanner.h"
#include "runtime/name_index.h"

namespace qm {

/// The values of a row: its columns, then the values of its identity, if it has one.
using Row = std::vector<Variant>;
using RowIdentity = std::span<const Variant>;

struct Column {
  std::string name;
  std::string origin;  ///< the table's column behind it; empty when it cannot be written
};

/// Where rows come from and how one of them is found again. Made and understood by the provider.
class RowOrigin {
 public:
  virtual ~RowOrigin() = default;
  virtual std::size_t IdentityWidth() const = 0;  ///< number of identity values
};

/// What the rows of a statement look like. Shared by all that read such rows; it belongs to the
/// thread of its session.
class RowShape {
 public:
  /// The place of a column, of several of one name the first; -1 when there is none.
  int Find(std::string_view name) const;

  std::vector<Column> columns;
  std::shared_ptr<const RowOrigin> origin;  ///< null: the rows have no identity

 private:
  mutable NameIndex names_;  // filled when first asked
  mutable bool named_ = false;
};
using RowShapePointer = std::shared_ptr<const RowShape>;

/// What a value is, as far as those must know who read texts; binary where the engine tells it from
/// text.
enum class ValueKind : std::uint8_t { kNull, kText, kBinary, kOther };
ValueKind KindOf(const Variant& value);

struct ColumnChange {
  std::string column;
  Variant fetched;
  Variant value;  ///< after a successful update what the engine stored
};

/// An order in which a table's rows are paged: the columns of an index, then what tells rows apart
/// that are equal in them. Made and understood by the provider.
class RowOrder {
 public:
  virtual ~RowOrder() = default;
  /// Where in a row the values stand that it is ordered by.
  virtual const std::vector<std::size_t>& Places() const = 0;
  /// How many of them, from the first, are an index that rows may be sought by; 0 without one.
  virtual std::size_t IndexWidth() const = 0;
};

/// A stretch of an order, seen from a key, the values of any number of its leading columns (of
/// none: all rows are equal to it).
struct PageRange {
  bool backward = false;  ///< the rows nearest the end of the stretch, not those nearest its start
  bool equal = false;     ///< holds the rows equal to the key
  bool beyond = false;    ///< holds the rows behind those (backward: before them)
};

class ProviderStatement {
 public:
  virtual ~ProviderStatement() = default;
  /// Whether it gives rows.
  virtual bool HasRows() const = 0;
  /// Whether it may change the database or the state of the transaction.
  virtual bool Writes() const = 0;
  /// Runs it, up to its first row.
  virtual void Start() = 0;
  /// Valid after `Start`.
  virtual const RowShapePointer& Shape() const = 0;
  /// Delivers the next row; false, once and for all, after the last one.
  virtual bool Next(Row& row) = 0;
  /// Moves to the next row, whose values can be read until the next move; false after the last one.
  /// The rows of one statement are read either so or by `Next`.
  virtual bool Move() { return Next(row_); }
  /// What a value is, and its text, Null as none: where it lies, or in `room`.
  virtual ValueKind ReadText(std::size_t column, std::string& room, std::string_view& text) const;
  virtual Variant Value(std::size_t column) const { return row_.at(column); }
  /// Rows changed by a statement without rows.
  virtual std::int64_t RowsAffected() const = 0;

 private:
  Row row_;  // moved to
};

class ProviderSession {
 public:
  virtual ~ProviderSession() = default;  ///< rolls back and disconnects

  virtual void SetCommandTimeout(std::int32_t seconds) = 0;
  /// How the engine reads quotes and comments in a caller's statement.
  virtual SqlQuoting Quoting() const { return {}; }
  /// The isolation level that is in force.
  virtual std::int32_t IsolationLevel() const = 0;

  /// A caller's statement, if the session has prepared one of its form before and knows that the
  /// text holds one statement alone; else null.
  virtual std::unique_ptr<ProviderStatement> PrepareKnown(std::string_view /*text*/,
                                                          bool /*with_identity*/) {
    return nullptr;
  }
  /// Prepares a caller's statement; `with_identity` asks for the identity of its rows where the
  /// statement allows it, `stream` tells that its rows are read once and not kept.
  virtual std::unique_ptr<ProviderStatement> Prepare(std::string_view text, bool with_identity,
                                                     bool stream) = 0;
  /// The statement that reads a whole table in the order of its key, with identity where it can.
  virtual std::unique_ptr<ProviderStatement> PrepareTable(std::string_view table) = 0;
  /// The shape of a table's rows, without reading any.
  virtual RowShapePointer TableShape(std::string_view table) = 0;

  /// The row as it stands now; false when it is gone. `lock` keeps others from changing it until
  /// the transaction ends, where the transaction itself does not.
  virtual bool ReadRow(const RowOrigin& origin, RowIdentity identity, Row& row, bool lock) = 0;
  /// The order of one of the table's own indexes, by name or as "PrimaryKey"; null when it is
  /// unknown or does not hold every row by plain columns. Empty: the order of the identity.
  virtual std::shared_ptr<const RowOrder> FindOrder(const RowShape& shape,
                                                    std::string_view index) = 0;
  /// At most `count` rows of a table, in that order.
  virtual std::vector<Row> ReadPage(const RowOrigin& origin, const RowOrder& order, PageRange range,
                                    RowIdentity key, int count) = 0;
  virtual std::int64_t CountRows(const RowOrigin& origin) = 0;
  /// Writes the changes if every changed column still holds its fetched value; false when not.
  /// The identity is brought up to date, should the change have touched it.
  virtual bool UpdateRow(const RowOrigin& origin, std::span<Variant> identity,
                         std::span<ColumnChange> changes) = 0;
  /// Inserts a row of those columns and gives its identity.
  virtual Row InsertRow(const RowOrigin& origin, std::span<const ColumnChange> values) = 0;

  virtual void BeginTransaction() = 0;  ///< takes the write lock where the engine has one
  virtual bool BeginTakesTheWriteLock() const { return true; }
  virtual void CommitTransaction() = 0;
  virtual void RollbackTransaction() = 0;
  /// The engine's own view: an engine may roll back by itself after some failures.
  virtual bool InTransaction() const = 0;

  /// The form in which the engine keeps a value; 3421 for one that it cannot keep.
  virtual Variant StoredForm(const Variant& value) const = 0;

  std::int64_t statement_count() const { return statement_count_; }

 protected:
  void CountStatement() { ++statement_count_; }

 private:
  std::int64_t statement_count_ = 0;
};

struct SessionSettings {
  std::int32_t connection_timeout = 15;
  std::int32_t command_timeout = 30;
  std::int32_t mode = 0;
  std::int32_t isolation_level = 0;
  std::string user{};
  std::string password{};
};

/// Whether one of the library's providers takes the string.
bool HasOwnProvider(const ParsedConnectionString& connection);
/// Opens a session with the provider that the connection string names (3706 when unknown).
std::unique_ptr<ProviderSession> OpenProviderSession(const ParsedConnectionString& connection,
                                                     const SessionSettings& settings);

}  // namespace qm
