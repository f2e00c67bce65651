// TableShapes: the tables and columns that a database has, known without regard to case, and those
// that something expects of it, told by table.
#pragma once

#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <qm/registry_check.h>

#include "dataaccess/database_catalog.h"
#include "upkeep/expected_tables.h"

namespace qm {

class TableShapes {
 public:
  explicit TableShapes(const std::shared_ptr<Connection>& connection);

  /// The engine's spelling of the table's name.
  std::optional<std::string> Find(std::string_view table) const;
  bool HasColumn(std::string_view table, std::string_view column);
  const DatabaseCatalog& catalog() const { return catalog_; }

  void Expect(std::string_view table, std::string_view column);
  void Expect(const ExpectedTable& table);
  /// What is expected and missing, one finding a table, in the order in which it was expected.
  std::vector<RegistryFinding> Missing();

 private:
  DatabaseCatalog catalog_;
  std::map<std::string, std::string> tables_;  ///< by name in lower case
  std::map<std::string, std::vector<std::string>> columns_;
  std::vector<std::pair<std::string, std::vector<std::string>>> expected_;
};

}  // namespace qm
