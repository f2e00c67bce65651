// DatabaseCatalog: the tables of an open database with their columns, keys and indexes, as its
// engine's own catalog tells them, in one form for all engines.
//
// Asked for anew each time; each question is one query. Names come as the engine spells them and
// are given so.
#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include <qm/connection.h>

namespace qm {

struct CatalogColumn {
  std::string name;
  std::string type;  ///< as the set-up writes types: INTEGER, BIGINT, REAL, VARCHAR(n), TEXT
};

class DatabaseCatalog {
 public:
  explicit DatabaseCatalog(std::shared_ptr<Connection> connection);

  /// Tables, not views.
  std::vector<std::string> Tables() const;
  std::vector<CatalogColumn> Columns(std::string_view table) const;
  std::vector<std::string> KeyColumns(std::string_view table) const;
  /// The columns that an index or key begins with.
  std::vector<std::string> IndexedColumns(std::string_view table) const;

 private:
  enum class Engine { kSqlite, kPostgres, kMariaDb, kSqlServer };
  std::vector<std::vector<std::string>> Ask(const std::string& query) const;

  std::shared_ptr<Connection> connection_;
  Engine engine_;
};

}  // namespace qm
