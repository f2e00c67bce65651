// The rows of one table on their way from one engine to another: reading them, writing them many
// at a time, and a digest by which the two sides are compared.
#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include <qm/connection.h>
#include <qm/error.h>
#include <qm/recordset.h>
#include <qm/variant.h>

namespace qm {

/// A table with the columns that are copied, by name.
struct TableRows {
  std::string name;
  std::vector<std::string> columns;
  std::vector<std::string> keys;
};

/// A name in brackets, which every engine's provider takes.
std::string Bracketed(std::string_view name);

/// The table's rows, streaming; by key, where it has one and `ordered` asks for it.
std::shared_ptr<Recordset> ReadRows(Connection& connection, const TableRows& table, bool ordered);
std::int64_t CountRows(Connection& connection, std::string_view table);

/// The sum of the rows' digests, so that engines may give the rows in any order. A value counts as
/// its text, Null as itself.
class TableDigest {
 public:
  explicit TableDigest(const TableRows& table) : table_(table) {}
  void Add(const Recordset& row);
  std::int64_t rows() const { return rows_; }
  std::string Finish() const;

 private:
  const TableRows& table_;
  std::int64_t rows_ = 0;
  std::array<std::uint32_t, 8> sum_{};
};

/// How the failure begins whose row is known; the row's key and column stand between this and the
/// first ": ", and behind it what the engine says.
inline constexpr std::string_view kAtRow = "at the row";

/// Writes rows by statements of many rows. Order of calls: `Add` for each row, `Flush` before the
/// transaction's end. Rows that the engine refuses are tried one by one, to name the first such row
/// by its key, where that is a number, and the column that is refused; the transaction is to be
/// given up then.
class TableWriter {
 public:
  TableWriter(std::shared_ptr<Connection> connection, const TableRows& table);
  void Add(const Recordset& row);
  void Flush();

 private:
  using Values = std::vector<Variant>;
  void Write(const Values& row);
  void WriteByRecordset(const Values& row);
  bool CanWrite(const Values& row);
  std::string PlaceOfFault(const Values& row);
  [[noreturn]] void RaiseAtRow(const Error& error, const std::vector<Values>& rows);

  std::shared_ptr<Connection> connection_;
  const TableRows& table_;
  std::string heading_;
  std::string literals_;
  std::vector<Values> rows_;  // those of the literals
};

}  // namespace qm
