#include "dataaccess/providers/odbc/odbc_row_statement.h"

#include <algorithm>
#include <utility>

#include "dataaccess/sql_scanner.h"

namespace qm {

namespace {

constexpr std::string_view kReaders[] = {"SELECT", "SHOW", "EXPLAIN", "DESCRIBE", "VALUES"};

bool Reads(std::string_view text) {
  const SqlToken first = SqlScanner(text).Next();
  return std::any_of(std::begin(kReaders), std::end(kReaders),
                     [&](std::string_view word) { return first.Is(word); });
}

}  // namespace

OdbcRowStatement::OdbcRowStatement(std::unique_ptr<OdbcStatement> statement,
                                   std::shared_ptr<const OdbcTable> table, bool stream,
                                   std::function<void()> ran)
    : statement_(std::move(statement)),
      table_(std::move(table)),
      stream_(stream),
      writes_(!Reads(statement_->text())),
      ran_(std::move(ran)) {}

void OdbcRowStatement::Start() {
  statement_->Execute(stream_ && !writes_);
  if (ran_) ran_();
  if (!HasRows()) return;
  const std::size_t hidden = table_ != nullptr ? table_->IdentityWidth() : 0;
  const std::size_t count = statement_->ColumnCount() - hidden;
  RowShape shape;
  shape.origin = table_;
  for (std::size_t i = 0; i < count; ++i) {
    Column column{statement_->ColumnName(i), {}};
    if (table_ != nullptr) {
      const OdbcColumn* origin = table_->Info().FindColumn(statement_->BaseColumn(i));
      if (origin != nullptr) column.origin = origin->name;
    }
    shape.columns.push_back(std::move(column));
  }
  shape_ = std::make_shared<const RowShape>(std::move(shape));
}

}  // namespace qm
