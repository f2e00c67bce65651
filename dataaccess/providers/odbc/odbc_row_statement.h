// OdbcRowStatement: a caller's statement, with the shape of its rows.
#pragma once

#include <functional>
#include <memory>

#include "dataaccess/provider.h"
#include "dataaccess/providers/odbc/odbc_statement.h"
#include "dataaccess/providers/odbc/odbc_table.h"

namespace qm {

class OdbcRowStatement : public ProviderStatement {
 public:
  /// `ran`, when given, is called after it ran.
  OdbcRowStatement(std::unique_ptr<OdbcStatement> statement, std::shared_ptr<const OdbcTable> table,
                   bool stream, std::function<void()> ran);

  bool HasRows() const override { return statement_->HasRows(); }
  bool Writes() const override { return writes_; }
  void Start() override;
  const RowShapePointer& Shape() const override { return shape_; }
  bool Next(Row& row) override { return statement_->Next(row); }
  std::int64_t RowsAffected() const override { return statement_->RowsAffected(); }

 private:
  std::unique_ptr<OdbcStatement> statement_;
  std::shared_ptr<const OdbcTable> table_;
  bool stream_;
  bool writes_;
  std::function<void()> ran_;
  RowShapePointer shape_;
};

}  // namespace qm
