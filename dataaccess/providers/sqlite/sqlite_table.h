// SqliteTable: how the rows of one statement are found again in their table, by rowid, or by the
// primary key of a table without one; and the statements that read and write them.
#pragma once

#include <string>
#include <vector>

#include "dataaccess/plain_select.h"
#include "dataaccess/provider.h"

namespace qm {

class SqliteSession;

/// A name in double quotes, whatever it holds.
std::string QuoteName(std::string_view name);

class SqliteTable : public RowOrigin {
 public:
  std::size_t IdentityWidth() const override { return keys.size(); }

  /// The statement's own text with the identity as trailing columns.
  std::string WithIdentity(std::string_view rest) const;
  std::string RowText() const;
  std::string UpdateText(std::span<const ColumnChange> changes) const;
  std::string InsertText(std::span<const ColumnChange> values) const;

  std::string schema;             ///< without quotes; empty when the statement gives none
  std::string name;               ///< without quotes
  std::string target;             ///< as a statement writes it
  std::string from;               ///< the same with its alias
  std::string reference;          ///< what qualifies its columns
  std::string list;               ///< the columns asked for
  std::vector<std::string> keys;  ///< the key's columns, quoted

 private:
  std::string KeyList(bool qualified) const;
  std::string KeyTest(std::string_view comparison) const;
};

/// Where the rows of that statement come from; null for a view or a missing table.
std::shared_ptr<SqliteTable> FindTable(SqliteSession& session, const PlainSelect& plain);

}  // namespace qm
