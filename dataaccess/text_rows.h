// Rows as texts: what reads a row's columns without holding or changing anything.
//
// `TextRows` goes through a query's rows once, forward, each value read where the engine holds it.
// Order of calls: make one, which runs the query; `Next` until it says no, after each the values. A
// row costs nothing but what is read of it. Errors as of a recordset that is opened with the query.
// While one lives, nothing else may be done with its connection; SQLite bears other statements that
// only read.
#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include <qm/connection.h>
#include <qm/recordset.h>

#include "dataaccess/provider.h"

namespace qm {

class ConnectionImpl;

/// A row whose columns can be read as text.
class RowTexts {
 public:
  virtual ~RowTexts() = default;
  /// The place of a column; -1 when there is none.
  virtual int Find(std::string_view name) const = 0;
  /// What the column's value is, and its text, Null as none; valid until the row is left.
  virtual ValueKind Read(int column, std::string_view& text) const = 0;
  std::string_view Text(int column) const {
    std::string_view text;
    Read(column, text);
    return text;
  }
  virtual Variant Value(int column) const = 0;
};

/// The row that a recordset stands on.
class RecordsetTexts final : public RowTexts {
 public:
  explicit RecordsetTexts(const Recordset& recordset) : recordset_(recordset) {}
  int Find(std::string_view name) const override { return recordset_.FieldOrdinal(name); }
  ValueKind Read(int column, std::string_view& text) const override;
  Variant Value(int column) const override { return recordset_.Value(column); }

 private:
  const Recordset& recordset_;
  mutable std::vector<std::string> rooms_;  // by column
};

class TextRows final : public RowTexts {
 public:
  TextRows(const std::shared_ptr<Connection>& connection, std::string_view query);

  bool Next() { return statement_->Move(); }
  int Find(std::string_view name) const override { return shape_->Find(name); }
  ValueKind Read(int column, std::string_view& text) const override {
    const auto place = static_cast<std::size_t>(column);
    return statement_->ReadText(place, rooms_[place], text);
  }
  Variant Value(int column) const override {
    return statement_->Value(static_cast<std::size_t>(column));
  }
  /// The value as a recordset has it; 3265 for a name that the rows lack.
  Variant Value(std::string_view name) const;

 private:
  std::shared_ptr<ConnectionImpl> connection_;
  std::unique_ptr<ProviderStatement> statement_;
  RowShapePointer shape_;
  mutable std::vector<std::string> rooms_;  // by column, for what is no text
};

}  // namespace qm
