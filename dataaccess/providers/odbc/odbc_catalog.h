// OdbcCatalog: the tables of one session's schema with their columns and keys, as the driver's
// catalog tells them. A table is asked for once; names are found without regard to case, the exact
// spelling first.
//
// What other sessions change of a table is seen when `Forget` was called: the session does so when
// a name is not found, after statements that make or drop something, and when a statement is
// refused.
#pragma once

#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "dataaccess/providers/odbc/odbc_statement.h"

namespace qm {

struct OdbcColumn {
  std::string name;
  OdbcPlace place;
  bool nullable = true;
};

struct OdbcTableInfo {
  std::string name;
  bool is_view = false;
  std::vector<OdbcColumn> columns;
  std::vector<std::string> keys;  ///< what tells rows apart; empty when nothing does

  const OdbcColumn* FindColumn(std::string_view name) const;
  void AddColumn(OdbcColumn column);

 private:
  /// By name in upper case, the first of equal ones.
  std::unordered_map<std::string, std::size_t> places_;
};

struct OdbcIndex {
  std::string name;
  bool primary = false;
  struct Part {
    std::string column;
    bool descending = false;
  };
  std::vector<Part> parts{};
  bool whole = true;  ///< holds every row, by plain columns
};

class OdbcCatalog {
 public:
  OdbcCatalog(OdbcSession& session, std::string schema, bool schema_is_catalog);

  /// The catalog's spelling of a table's or view's name.
  std::optional<std::string> TableName(std::string_view name);
  /// Null when there is no such table.
  std::shared_ptr<const OdbcTableInfo> Table(std::string_view name);
  std::vector<OdbcIndex> Indexes(const OdbcTableInfo& table);
  /// The table that an index belongs to.
  std::optional<std::string> TableOfIndex(std::string_view index);
  void Forget();

 private:
  using Arguments = std::vector<std::u16string>;
  std::vector<Row> Ask(std::string_view function, std::string_view table);
  void LoadNames();

  OdbcSession& session_;
  std::u16string catalog_;
  std::u16string schema_;
  bool schema_is_catalog_;
  struct Name {
    std::string name;
    bool is_view = false;
  };
  std::optional<std::vector<Name>> names_;
  std::map<std::string, std::shared_ptr<const OdbcTableInfo>, std::less<>> tables_;
};

}  // namespace qm
