// What the library needs of a registry's tables by itself, whatever the layout says: the tables
// that its operations name, and the columns that they read or write.
#pragma once

#include <string_view>
#include <vector>

namespace qm {

struct ExpectedTable {
  std::string_view name;
  std::vector<std::string_view> columns;
};

/// The primary tables of the three families, the counters, users, locks, critical fields, displays
/// and rules.
const std::vector<ExpectedTable>& RegistryTablesExpected();
/// The tables of parameters and versions.
const std::vector<ExpectedTable>& ControlTablesExpected();
/// The columns of a table that describes a layout's fields.
const std::vector<std::string_view>& FieldTableColumns();

}  // namespace qm
