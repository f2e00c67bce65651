#include <qm/registry_check.h>

#include <array>
#include <map>
#include <set>
#include <utility>

#include <qm/conversions.h>
#include <qm/error.h>
#include <qm/match_rules.h>
#include <qm/recordset.h>

#include "dataaccess/data_error.h"
#include "matching/rule_check.h"
#include "matching/rule_tables.h"
#include "records/record_family.h"
#include "runtime/text.h"
#include "upkeep/expected_tables.h"
#include "upkeep/layout_check.h"
#include "upkeep/table_shapes.h"

namespace qm {

namespace {

constexpr std::int64_t kParts = 6;
constexpr int kMostTables = 16;

const std::array<const RecordFamily*, 3> kFamilies = {&kAbstractFamily, &kPatientFamily,
                                                      &kTumorFamily};

// What the default rules search by; those that a rule names come besides.
constexpr std::array kMatchingColumns = {"Soundex", "LastName", "BirthDate", "SocSec"};

std::string Number(const Variant& value) { return value.IsNull() ? "none" : ToText(value); }

class RegistryCheck {
 public:
  RegistryCheck(const std::shared_ptr<Connection>& registry,
                const std::shared_ptr<Connection>& control)
      : registry_(registry), control_(control), shapes_(registry) {}

  std::vector<RegistryFinding> Run(const RegistryCheckProgress& progress) {
    using Part = void (RegistryCheck::*)();
    constexpr std::array<Part, kParts> kWork = {
        &RegistryCheck::CheckShapes,   &RegistryCheck::CheckKeys,  &RegistryCheck::CheckOrphans,
        &RegistryCheck::CheckCounters, &RegistryCheck::CheckRules, &RegistryCheck::CheckComparison};
    for (std::size_t i = 0; i < kWork.size(); ++i) {
      if (progress) progress(static_cast<std::int64_t>(i), kParts);
      (this->*kWork[i])();
    }
    return std::move(findings_);
  }

 private:
  void Add(std::string code, std::string_view table, std::string what, std::string advice) {
    findings_.push_back({std::move(code), std::string(table), std::move(what), std::move(advice)});
  }

  void CheckShapes() {
    for (const ExpectedTable& table : RegistryTablesExpected()) shapes_.Expect(table);
    CheckLayouts(control_, shapes_, findings_);
    for (RegistryFinding& finding : shapes_.Missing()) findings_.push_back(std::move(finding));
  }

  // The tables of a family that are there and have its key.
  std::vector<std::string> TablesOf(const RecordFamily& family) {
    std::vector<std::string> tables;
    for (int number = 1; number <= kMostTables; ++number) {
      std::string name = TableName(family.table, number);
      if (shapes_.HasColumn(name, family.key)) tables.push_back(std::move(name));
    }
    return tables;
  }

  void CheckKeys() {
    if (shapes_.HasColumn("BaseIDs", "BaseIDName")) CheckEditable("BaseIDs", "BaseIDName");
    if (shapes_.HasColumn("LOCKMANAGER", "TABLENAME")) CheckEditable("LOCKMANAGER", "TABLENAME");
    for (const RecordFamily* family : kFamilies) {
      const std::string key(family->key);
      for (const std::string& table : TablesOf(*family)) {
        const auto keys = shapes_.catalog().KeyColumns(*shapes_.Find(table));
        if (keys.size() == 1 && EqualsIgnoreCase(keys[0], key)) continue;
        const auto twice =
            registry_->Execute("SELECT " + key + ", count(*) FROM " + table + " GROUP BY " + key +
                               " HAVING count(*) > 1 OR " + key + " IS NULL ORDER BY " + key);
        if (twice->Eof()) {
          CheckEditable(table, key);
          continue;
        }
        const Variant first = twice->Value(0);
        std::int64_t count = 0;
        for (const Recordset& row : twice->Rows()) count += row.FieldCount() > 0 ? 1 : 0;
        Add("duplicate-key", table,
            std::to_string(count) + " values of " + key +
                " are Null or stand in more than one row, the first: " + Number(first),
            "give each row a number of its own, then make " + key + " the table's primary key");
      }
    }
  }

  // An edit finds its row again by a key, on most engines by nothing else.
  void CheckEditable(const std::string& table, const std::string& key) {
    const auto rows = registry_->CreateRecordset();
    rows->Open("SELECT * FROM " + table + " WHERE 1 = 2", registry_, kOpenKeyset, kLockOptimistic,
               kCommandText);
    try {
      rows->AddNew();
      rows->SetValue(key, Variant::Null());
      rows->CancelUpdate();
    } catch (const Error& error) {
      if (error.number() != kErrNotSupported) throw;
      Add("key-missing", table, "the table has no primary key, so no row of it can be edited",
          "make " + key + " the table's primary key");
    }
  }

  void CheckOrphans() {
    for (const RecordFamily* family : kFamilies) {
      const std::string key(family->key);
      const std::vector<std::string> tables = TablesOf(*family);
      if (tables.empty() || tables[0] != family->table) continue;
      for (std::size_t i = 1; i < tables.size(); ++i) {
        const auto rows = registry_->Execute("SELECT count(*), min(s." + key + ") FROM " +
                                             tables[i] + " s LEFT JOIN " + tables[0] + " p ON p." +
                                             key + " = s." + key + " WHERE p." + key + " IS NULL");
        const std::string count = ToText(rows->Value(0));
        if (count == "0") continue;
        Add("orphan-rows", tables[i],
            count + " rows have no row of the same " + key + " in " + tables[0] +
                ", the first: " + Number(rows->Value(1)),
            "remove them, or restore the rows of " + tables[0] + " they belonged to");
      }
    }
  }

  void CheckCounters() {
    if (!shapes_.HasColumn("BaseIDs", "BaseIDName") || !shapes_.HasColumn("BaseIDs", "BaseID")) {
      return;
    }
    std::map<std::string, Variant> counters;
    const auto rows = registry_->Execute("SELECT BaseIDName, BaseID FROM BaseIDs");
    for (const Recordset& row : rows->Rows()) {
      counters.emplace(ToTextOrEmpty(row.Value(0)), row.Value(1));
    }
    for (const RecordFamily* family : kFamilies) {
      const std::string key(family->key);
      if (!shapes_.HasColumn(family->table, key)) continue;
      const Variant largest =
          registry_->Execute("SELECT max(" + key + ") FROM " + std::string(family->table))
              ->Value(0);
      const double needed = largest.IsNull() ? 0 : ToDouble(largest);
      const auto counter = counters.find(key);
      const std::string set = "set BaseID to " + (largest.IsNull() ? "0" : ToText(largest)) +
                              " or more while nobody works on the registry";
      if (counter == counters.end() || !IsNumeric(counter->second)) {
        Add("counter-missing", "BaseIDs", "there is no counter " + key + ", or it has no number",
            "add a row of BaseIDName '" + key + "' and " + set);
      } else if (ToDouble(counter->second) < needed) {
        Add("counter-behind", "BaseIDs",
            "the counter " + key + " stands at " + ToText(counter->second) + ", the largest " +
                key + " of " + std::string(family->table) + " is " + ToText(largest),
            set);
      }
    }
  }

  bool HasRuleTables() {
    for (const ExpectedTable& table : RegistryTablesExpected()) {
      if (!table.name.starts_with("tbl")) continue;
      for (const std::string_view column : table.columns) {
        if (!shapes_.HasColumn(table.name, column)) return false;
      }
    }
    return shapes_.Find("Abstracts") && shapes_.Find("Patients");
  }

  void CheckRules() {
    if (!HasRuleTables()) return;
    const MatchRules rules = ReadMatchRules(registry_);
    for (const RuleTableInfo& info : kRuleTables) {
      const RuleTable& table = rules.*info.member;
      if (table.rows.empty()) {
        Add("rule-missing", info.table, "the table has no row, so matching finds nothing of use",
            "import rules with 'qm rules import'");
      }
      for (const RuleTable::Row& row : table.rows) CheckRule(info, table, row);
    }
  }

  void CheckRule(const RuleTableInfo& info, const RuleTable& table, const RuleTable::Row& row) {
    const bool matching = info.member == &MatchRules::matching;
    if (matching && !IsActiveRule(table, row)) return;
    const std::string rule = "rule " + RuleKey(info, table, row) + ": ";
    if (const std::string why = WhyNotLoaded(info, table, row); !why.empty()) {
      Add("rule-value", info.table, rule + why + ", so no search can run",
          "fill it in; 'qm rules check' tells more");
      return;
    }
    if (info.member == &MatchRules::cutoff) return;
    const char* expression = matching ? "FieldName" : "AbstractField";
    for (const std::string& field : FieldsOf(Trim(ToText(table.Value(row, expression))))) {
      if (shapes_.HasColumn("Abstracts", field)) continue;
      Add("rule-column", info.table,
          rule + "the table Abstracts has no column " + field + ", so every search fails",
          "name a column of Abstracts; 'qm rules check' tells more");
    }
    if (!matching) CheckBlocking(rule, std::string(Trim(ToText(table.Value(row, "PatientField")))));
  }

  // `rule` is what a finding begins with.
  void CheckBlocking(const std::string& rule, const std::string& column) {
    if (!shapes_.HasColumn("Patients", column)) {
      try {
        registry_->Execute("SELECT PatientID FROM Patients WHERE 1 = 2 AND " + column + " = ''");
      } catch (const Error& error) {
        if (IsConnectionLost(error)) throw;
        Add("rule-column", kRuleTables[0].table,
            rule + "PatientField " + column + " is no column of Patients, so every search fails",
            "name a column of Patients");
      }
      return;
    }
    for (const std::string& indexed : shapes_.catalog().IndexedColumns(*shapes_.Find("Patients"))) {
      if (EqualsIgnoreCase(indexed, column)) return;
    }
    if (!unindexed_.insert(LowerCase(column)).second) return;
    Add("blocking-index", "Patients",
        "no index begins with " + column + ", so every search reads all patients",
        "CREATE INDEX IX_Patients_" + column + " ON Patients (" + column + ")");
  }

  void CheckComparison() {
    for (const char* column : kMatchingColumns) {
      if (shapes_.HasColumn("Patients", column)) CheckComparison(column);
    }
  }

  // Texts of the column's own comparison, none of them the one they are compared with.
  void CheckComparison(const std::string& column) {
    std::string equal;
    try {
      const auto rows = registry_->Execute(
          "SELECT qm_value FROM (SELECT " + column +
          " AS qm_value FROM Patients WHERE 1 = 2 UNION ALL SELECT 'A' UNION ALL SELECT 'á' "
          "UNION ALL SELECT 'a ') AS qm_values WHERE qm_value = 'a'");
      for (const Recordset& row : rows->Rows()) {
        const std::string value = ToTextOrEmpty(row.Value(0));
        equal += equal.empty() ? "" : ", ";
        equal += value == "A" ? "case" : value.starts_with('a') ? "trailing blanks" : "accents";
      }
    } catch (const Error& error) {
      // A column of numbers.
      if (error.engine_code() == 0 || IsConnectionLost(error)) throw;
      return;
    }
    if (equal.empty()) return;
    Add("comparison", "Patients",
        "the engine compares " + column + " without regard to " + equal +
            ", so blocking finds others than it does elsewhere",
        "let the column compare binary and keep blanks: BINARY on SQLite, COLLATE \"C\" on "
        "PostgreSQL, utf8mb4_nopad_bin on MariaDB");
  }

  std::shared_ptr<Connection> registry_;
  std::shared_ptr<Connection> control_;
  TableShapes shapes_;
  std::vector<RegistryFinding> findings_;
  std::set<std::string> unindexed_;  // told already, in lower case
};

}  // namespace

std::vector<RegistryFinding> CheckRegistry(const std::shared_ptr<Connection>& registry,
                                           const std::shared_ptr<Connection>& control,
                                           const RegistryCheckProgress& progress) {
  return RegistryCheck(registry, control).Run(progress);
}

}  // namespace qm
