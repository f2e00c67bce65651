#include <algorithm>
#include <array>
#include <utility>

#include "dataaccess/sql_text.h"
#include "setup/schema.h"

namespace qm {

namespace {

// Where the registry's own items stand in a record, its project codes among them.
constexpr int kStateRequestorItems = 2220;

// Codes that say that the value is not known.
constexpr std::array kUnknownValues = {
    std::pair{160, "99"},       std::pair{190, "9"},        std::pair{220, "9"},
    std::pair{240, "99999999"}, std::pair{390, "99999999"}, std::pair{400, "C809"},
    std::pair{410, "9"},        std::pair{1760, "9"},       std::pair{2320, "999999999"},
};

std::string_view UnknownValues(int item) {
  const auto known = std::ranges::find(kUnknownValues, item, &std::pair<int, const char*>::first);
  return known == kUnknownValues.end() ? "" : known->second;
}

void AppendFieldTable(std::vector<std::string>& statements, const ShippedLayout& layout,
                      const std::string& table) {
  statements.push_back(
      "CREATE TABLE " + table +
      " (NAACCR_Item_No INTEGER PRIMARY KEY, FieldName VARCHAR(64), Description VARCHAR(200), "
      "Prompting VARCHAR(8),"
      " ColumnStart INTEGER, FieldLength INTEGER, Justification VARCHAR(8), vlmAbsTable INTEGER,"
      " PatTable INTEGER, MedTable INTEGER, vlmAbsGrid INTEGER, patGrid INTEGER, medGrid INTEGER,"
      " Protected INTEGER, UnknownValues VARCHAR(64), PromptingValue VARCHAR(64), CTL_Array_vlm "
      "INTEGER,"
      " CTL_Array_ts INTEGER)");
  for (const ShippedItem& item : layout.items) {
    std::string row = "INSERT INTO " + table + " VALUES (" + std::to_string(item.number) + ", ";
    AppendSqlText(row, item.field_name);
    row += ", ";
    AppendSqlText(row, item.label);
    row += item.text ? ", 'X'" : ", ''";
    for (const int number : {item.start, item.length}) row += ", " + std::to_string(number);
    row += ", ";
    AppendSqlText(row, item.justification);
    for (const int code : {item.abstract_table, item.patient_table, item.medical_table}) {
      row += ", " + std::to_string(code);
    }
    row += item.patient_grid ? ", -1, -1, 0, 0, " : ", -1, 0, -1, 0, ";
    AppendSqlText(row, UnknownValues(item.number));
    row += ", '', -1, -1)";
    statements.push_back(std::move(row));
  }
}

}  // namespace

std::vector<std::string> ControlTables(const std::vector<ShippedLayout>& layouts) {
  std::vector<std::string> statements = {
      "CREATE TABLE NAACCRParameters (NAACCRVersion INTEGER PRIMARY KEY, ControlTableName "
      "VARCHAR(64),"
      " NAACCRDATAEXCHG VARCHAR(64), NAACCRGLOBALVALUES VARCHAR(200), NAACCRMetaFile VARCHAR(64))",
      "CREATE TABLE [NAACCR Versions] (VersionID VARCHAR(16) PRIMARY KEY, LenAbstract INTEGER,"
      " LenIncidence INTEGER, LenConfidential INTEGER, ColVersionID INTEGER, ColRecType INTEGER,"
      " ColProjects INTEGER)"};
  for (const ShippedLayout& layout : layouts) {
    const std::string version = std::to_string(layout.version);
    const std::string table = "NAACCR" + version + "Fields";
    std::string parameters = "INSERT INTO NAACCRParameters VALUES (" + version;
    const std::string meta_file = "naaccr" + version + ".smf";
    for (const std::string_view text : {std::string_view(table), layout.exchange_code,
                                        layout.accepted_codes, std::string_view(meta_file)}) {
      parameters += ", ";
      AppendSqlText(parameters, text);
    }
    statements.push_back(parameters + ")");
    std::string lengths = "INSERT INTO [NAACCR Versions] VALUES (" + SqlText(version);
    for (const int number :
         {layout.abstract_length, layout.incidence_length, layout.confidential_length,
          layout.version_column, 1, layout.StartOf(kStateRequestorItems)}) {
      lengths += ", " + std::to_string(number);
    }
    statements.push_back(lengths + ")");
    AppendFieldTable(statements, layout, table);
  }
  return statements;
}

}  // namespace qm
