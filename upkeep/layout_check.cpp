#include "upkeep/layout_check.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <set>
#include <string>

#include <qm/conversions.h>
#include <qm/recordset.h>

#include "layout/table_code.h"
#include "records/record_family.h"
#include "runtime/text.h"
#include "upkeep/table_rows.h"

namespace qm {

namespace {

struct FamilyCode {
  const RecordFamily& family;
  const char* column;
};

const std::array kFamilyCodes = {FamilyCode{kAbstractFamily, "vlmAbsTable"},
                                 FamilyCode{kPatientFamily, "PatTable"},
                                 FamilyCode{kTumorFamily, "MedTable"}};

bool IsSmallWhole(const Variant& value) {
  if (!IsNumeric(value)) return false;
  const double number = ToDouble(value);
  return number == std::floor(number) && number >= std::numeric_limits<std::int16_t>::min() &&
         number <= std::numeric_limits<std::int16_t>::max();
}

// Why the row keeps its layout from loading; empty when it does not.
std::string WhyNotLoaded(const Recordset& row) {
  if (Trim(ToTextOrEmpty(row.Value("FieldName"))).empty()) return "FieldName is empty";
  for (const char* number : {"NAACCR_Item_No", "patGrid", "medGrid", "vlmAbsGrid", "Protected"}) {
    if (!IsSmallWhole(row.Value(number))) {
      return std::string(number) + " is no whole number of 16 bits";
    }
  }
  for (const char* number : {"FieldLength", "ColumnStart", "vlmAbsTable", "PatTable", "MedTable"}) {
    const Variant value = row.Value(number);
    if (!value.IsNull() && !IsSmallWhole(value)) {
      return std::string(number) + " is no whole number of 16 bits";
    }
  }
  return {};
}

class LayoutCheck {
 public:
  LayoutCheck(std::string table, TableShapes& registry, std::vector<RegistryFinding>& findings)
      : table_(std::move(table)), registry_(registry), findings_(findings) {}

  void Run(Connection& control) {
    const auto rows = control.Execute("SELECT * FROM " + Bracketed(table_) +
                                      " WHERE CTL_Array_vlm = -1 ORDER BY NAACCR_Item_No");
    if (rows->Eof()) {
      Add("no field has CTL_Array_vlm = -1, so there is no layout to load",
          "write -1 into CTL_Array_vlm of the fields that the registry keeps");
      return;
    }
    bool told = false;
    for (const Recordset& row : rows->Rows()) {
      const std::string why = WhyNotLoaded(row);
      if (why.empty()) {
        Expect(row);
      } else if (!std::exchange(told, true)) {
        Add("item " + ToTextOrEmpty(row.Value("NAACCR_Item_No")) + ": " + why +
                ", so the layout does not load",
            "fill it in");
      }
    }
    for (std::size_t i = 0; i < kFamilyCodes.size() && !told; ++i) {
      if (largest_[i] > 0) continue;
      Add(std::string(kFamilyCodes[i].column) + " puts no field into " +
              std::string(kFamilyCodes[i].family.table) + ", so the layout does not load",
          "write the table's code into the fields that it keeps");
    }
  }

 private:
  void Add(std::string what, std::string advice) {
    findings_.push_back({"layout-value", table_, std::move(what), std::move(advice)});
  }

  void Expect(const Recordset& row) {
    const std::string name = ToText(row.Value("FieldName"));
    const bool text = ToTextOrEmpty(row.Value("Prompting")) == "X";
    for (std::size_t i = 0; i < kFamilyCodes.size(); ++i) {
      const RecordFamily& family = kFamilyCodes[i].family;
      const Variant code = row.Value(kFamilyCodes[i].column);
      const int table = code.IsNull() ? 0 : TableOfCode(ToInt16(code));
      for (; largest_[i] < table; ++largest_[i]) {
        registry_.Expect(TableName(family.table, largest_[i] + 1), family.key);
      }
      if (table > 0 && !text) registry_.Expect(TableName(family.table, table), name);
    }
  }

  std::string table_;
  TableShapes& registry_;
  std::vector<RegistryFinding>& findings_;
  std::array<int, kFamilyCodes.size()> largest_{};
};

}  // namespace

void CheckLayouts(const std::shared_ptr<Connection>& control, TableShapes& registry,
                  std::vector<RegistryFinding>& findings) {
  TableShapes shapes(control);
  for (const ExpectedTable& table : ControlTablesExpected()) shapes.Expect(table);
  std::vector<RegistryFinding> missing = shapes.Missing();
  findings.insert(findings.end(), missing.begin(), missing.end());
  if (!missing.empty()) return;

  std::set<std::string> versions;
  const auto lengths = control->Execute("SELECT VersionID FROM [NAACCR Versions]");
  for (const Recordset& row : lengths->Rows()) versions.insert(ToTextOrEmpty(row.Value(0)));
  std::vector<std::string> tables;
  const auto parameters = control->Execute("SELECT * FROM NAACCRParameters ORDER BY NAACCRVersion");
  for (const Recordset& row : parameters->Rows()) {
    const std::string version = ToTextOrEmpty(row.Value("NAACCRVersion"));
    if (!versions.contains(version)) {
      findings.push_back({"layout-missing", "NAACCR Versions",
                          "there are no record lengths of version " + version,
                          "add a row with VersionID '" + version + "'"});
    }
    tables.push_back(ToTextOrEmpty(row.Value("ControlTableName")));
  }
  if (tables.empty()) {
    findings.push_back({"layout-missing", "NAACCRParameters", "no layout is described",
                        "add a row for each version, naming the table of its fields"});
  }
  for (const std::string& table : tables) {
    TableShapes fields(control);
    for (const std::string_view column : FieldTableColumns()) fields.Expect(table, column);
    missing = fields.Missing();
    findings.insert(findings.end(), missing.begin(), missing.end());
    if (missing.empty()) LayoutCheck(table, registry, findings).Run(*control);
  }
}

}  // namespace qm
