#include "upkeep/table_shapes.h"

#include <algorithm>

#include "runtime/text.h"

namespace qm {

namespace {

constexpr std::size_t kNamesTold = 12;

std::string Listed(const std::vector<std::string>& names) {
  std::string list;
  for (std::size_t i = 0; i < std::min(names.size(), kNamesTold); ++i) {
    list += (i == 0 ? "" : ", ") + names[i];
  }
  if (names.size() > kNamesTold) {
    list += " and " + std::to_string(names.size() - kNamesTold) + " more";
  }
  return list;
}

}  // namespace

TableShapes::TableShapes(const std::shared_ptr<Connection>& connection) : catalog_(connection) {
  for (const std::string& name : catalog_.Tables()) tables_.emplace(LowerCase(name), name);
}

std::optional<std::string> TableShapes::Find(std::string_view table) const {
  const auto found = tables_.find(LowerCase(table));
  return found == tables_.end() ? std::nullopt : std::optional(found->second);
}

bool TableShapes::HasColumn(std::string_view table, std::string_view column) {
  const auto name = Find(table);
  if (!name) return false;
  const auto [known, first] = columns_.try_emplace(*name);
  if (first) {
    for (CatalogColumn& each : catalog_.Columns(*name)) {
      known->second.push_back(std::move(each.name));
    }
  }
  return ContainsName(known->second, column);
}

void TableShapes::Expect(std::string_view table, std::string_view column) {
  auto at = std::ranges::find_if(
      expected_, [&](const auto& each) { return EqualsIgnoreCase(each.first, table); });
  if (at == expected_.end()) at = expected_.insert(at, {std::string(table), {}});
  if (!ContainsName(at->second, column)) at->second.emplace_back(column);
}

void TableShapes::Expect(const ExpectedTable& table) {
  for (const std::string_view column : table.columns) Expect(table.name, column);
}

std::vector<RegistryFinding> TableShapes::Missing() {
  std::vector<RegistryFinding> findings;
  for (const auto& [table, columns] : expected_) {
    if (!Find(table)) {
      findings.push_back(
          {"table-missing", table, "there is no table " + table,
           "make it as 'qm init' does in an empty database, with the columns " + Listed(columns)});
      continue;
    }
    std::vector<std::string> missing;
    for (const std::string& column : columns) {
      if (!HasColumn(table, column)) missing.push_back(column);
    }
    if (missing.empty()) continue;
    findings.push_back({"column-missing", table, "the table " + table + " lacks " + Listed(missing),
                        "add the columns to the table, as text unless they are identifiers; or "
                        "take the items out of the layout"});
  }
  return findings;
}

}  // namespace qm
