// The statements that make the tables and indexes of both databases and fill in the rows that every
// registry starts with. They keep to SQL that the engines share, save for brackets around the names
// that need them.
#pragma once

#include <string>
#include <vector>

#include "setup/shipped_layout.h"

namespace qm {

/// Tables of the three families with the columns of all layouts given, their administrative
/// columns, and the registry's own tables.
std::vector<std::string> RegistryTables(const std::vector<ShippedLayout>& layouts);
/// Indexes on the keys that tie the families together.
std::vector<std::string> KeyIndexes();
/// Indexes on the columns of Patients that the blocking rules search by. Whoever loads a great many
/// patients drops them before and makes them again after.
std::vector<std::string> MatchingIndexes();
std::vector<std::string> DropMatchingIndexes();
/// Counters, lock codes, a user, a display, critical fields.
std::vector<std::string> RegistryRows();
/// Blocking rules, matching rules and the cut-off.
std::vector<std::string> DefaultRules();

/// Parameters, versions and one field table a layout, with their rows.
std::vector<std::string> ControlTables(const std::vector<ShippedLayout>& layouts);

}  // namespace qm
