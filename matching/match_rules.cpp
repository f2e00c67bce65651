// The matching tables as one value: reading, what each row must hold, and replacing.
#include <qm/match_rules.h>

#include <algorithm>
#include <cmath>

#include <qm/conversions.h>
#include <qm/error.h>
#include <qm/recordset.h>

#include "matching/rule_tables.h"
#include "runtime/text.h"

namespace qm {

namespace {

constexpr const char* kSource = "QMDataObjects2";

RuleTable ReadTable(const std::shared_ptr<Connection>& connection, std::string_view name) {
  RuleTable table;
  const auto rows = connection->CreateRecordset();
  rows->Open("SELECT * FROM " + std::string(name), connection);
  for (int i = 0; i < rows->FieldCount(); ++i) table.columns.push_back(rows->FieldName(i));
  for (const Recordset& row : rows->Rows()) {
    RuleTable::Row& copy = table.rows.emplace_back();
    for (int i = 0; i < row.FieldCount(); ++i) copy.values.push_back(row.Value(i));
  }
  return table;
}

std::size_t ColumnOf(const RuleTable& table, std::string_view name) {
  const auto at = std::ranges::find_if(
      table.columns, [&](const std::string& column) { return EqualsIgnoreCase(column, name); });
  return static_cast<std::size_t>(at - table.columns.begin());
}

bool IsWhole(const Variant& value, double least, double most) {
  if (!IsNumeric(value)) return false;
  const double number = ToDouble(value);
  return number == std::floor(number) && number >= least && number <= most;
}

std::string WhyNoComparison(const RuleTable& table, const RuleTable::Row& row) {
  if (Trim(ToTextOrEmpty(table.Value(row, "FieldName"))).empty()) return "FieldName is empty";
  const Variant ignore = table.Value(row, "ignore");
  if (!ignore.IsNull() && !IsNumeric(ignore)) return "ignore is no number";
  if (!IsActiveRule(table, row)) return {};
  const Variant weight = table.Value(row, "Weight");
  if (!IsNumeric(weight) || !std::isfinite(ToDouble(weight))) return "Weight is no number";
  if (!IsWhole(table.Value(row, "ExactMatch"), INT32_MIN, INT32_MAX)) {
    return "ExactMatch is no whole number";
  }
  const Variant parameter = table.Value(row, "StringComparatorParam");
  if (!parameter.IsNull() && !IsWhole(parameter, INT16_MIN, INT16_MAX)) {
    return "StringComparatorParam is no whole number of 16 bits";
  }
  return {};
}

std::string LineText(const RuleTable::Row& row) {
  return row.line > 0 ? "line " + std::to_string(row.line) + ": " : "";
}

// Columns that the rules fill and the database lacks would lose what stands in them.
std::vector<std::pair<std::size_t, int>> PlacesOf(const RuleTable& table, const Recordset& rows,
                                                  std::string_view name) {
  std::vector<std::pair<std::size_t, int>> places;
  for (std::size_t i = 0; i < table.columns.size(); ++i) {
    const int ordinal = rows.FieldOrdinal(table.columns[i]);
    if (ordinal >= 0) {
      places.emplace_back(i, ordinal);
      continue;
    }
    for (const RuleTable::Row& row : table.rows) {
      if (row.values[i].IsNull()) continue;
      throw Error(kErrNoSuchItem, kSource,
                  LineText(row) + std::string(name) + " has no column " + table.columns[i]);
    }
  }
  return places;
}

}  // namespace

Variant RuleTable::Value(const Row& row, std::string_view column) const {
  const std::size_t at = ColumnOf(*this, column);
  return at < columns.size() ? row.values[at] : Variant::Null();
}

bool IsActiveRule(const RuleTable& matching, const RuleTable::Row& row) {
  const Variant ignore = matching.Value(row, "ignore");
  return !ignore.IsNull() && !(IsNumeric(ignore) && ToDouble(ignore) == 1);
}

std::string WhyNotLoaded(const RuleTableInfo& info, const RuleTable& table,
                         const RuleTable::Row& row) {
  if (info.member == &MatchRules::matching) return WhyNoComparison(table, row);
  if (info.member == &MatchRules::cutoff) {
    const Variant cutoff = table.Value(row, "PotentialPatientMatch");
    const bool whole = IsWhole(cutoff, INT16_MIN, INT16_MAX);
    return whole ? "" : "PotentialPatientMatch is no whole number of 16 bits";
  }
  for (const char* column : {"AbstractField", "PatientField"}) {
    if (Trim(ToTextOrEmpty(table.Value(row, column))).empty()) {
      return std::string(column) + " is empty";
    }
  }
  return {};
}

std::string RuleKey(const RuleTableInfo& info, const RuleTable& table, const RuleTable::Row& row) {
  const Variant key = info.key.empty() ? Variant::Null() : table.Value(row, info.key);
  return key.IsNull() ? std::to_string(&row - table.rows.data() + 1) : ToText(key);
}

MatchRules ReadMatchRules(const std::shared_ptr<Connection>& connection) {
  MatchRules rules;
  for (const RuleTableInfo& info : kRuleTables) {
    rules.*info.member = ReadTable(connection, info.table);
  }
  return rules;
}

void ReplaceMatchRules(const std::shared_ptr<Connection>& connection, const MatchRules& rules,
                       const std::function<void()>& before_commit) {
  Transaction transaction(connection);
  for (const RuleTableInfo& info : kRuleTables) {
    const std::string name(info.table);
    const RuleTable& table = rules.*info.member;
    connection->Execute("DELETE FROM " + name);
    const auto rows = connection->CreateRecordset();
    rows->Open("SELECT * FROM " + name, connection, kOpenKeyset, kLockOptimistic);
    const auto places = PlacesOf(table, *rows, info.table);
    for (const RuleTable::Row& row : table.rows) {
      rows->AddNew();
      try {
        for (const auto& [column, ordinal] : places) rows->SetValue(ordinal, row.values[column]);
        rows->Update();
      } catch (const Error& error) {
        if (error.number() != kErrWrongType) throw;
        throw Error(kErrWrongType, kSource,
                    LineText(row) + "a value does not fit its column of " + name);
      }
    }
    rows->Close();
  }
  if (before_commit) before_commit();
  transaction.Commit();
}

}  // namespace qm
