#include <algorithm>
#include <array>
#include <map>
#include <set>
#include <string_view>

#include "dataaccess/sql_text.h"
#include "runtime/text.h"
#include "session/own_tables.h"
#include "setup/schema.h"

namespace qm {

namespace {

// One physical table of a family: its name, the code of the items it holds, and the columns that
// are the family's own.
struct FamilyTable {
  std::string_view name;
  int ShippedItem::*code_of;
  int code;
  std::string_view own_columns;
};

constexpr std::string_view kAdministration =
    "DateCreated VARCHAR(40), DateEdited VARCHAR(40), Remarks TEXT, Status1 VARCHAR(40), "
    "StatusDate1 VARCHAR(40), "
    "Status2 VARCHAR(40), StatusDate2 VARCHAR(40), Status3 VARCHAR(40), StatusDate3 VARCHAR(40), "
    "Project1 VARCHAR(40), "
    "Project2 VARCHAR(40), Project3 VARCHAR(40), Project4 VARCHAR(40), Project5 VARCHAR(40)";

const std::array kFamilyTables = {
    FamilyTable{
        "Abstracts", &ShippedItem::abstract_table, 1,
        "AbsRefID INTEGER PRIMARY KEY, PatientID INTEGER, MedRefID INTEGER, NameX VARCHAR(120), "
        "EditorInit VARCHAR(40), DateOffloaded VARCHAR(40), Completed VARCHAR(40), HeldFor1 "
        "VARCHAR(40), HeldFor2 VARCHAR(40), "
        "HeldFor3 VARCHAR(40), AbstractLockedBy VARCHAR(40), AbstractLockedT VARCHAR(40), "},
    FamilyTable{"Abstracts_2", &ShippedItem::abstract_table, 2, "AbsRefID INTEGER PRIMARY KEY"},
    FamilyTable{"Abstracts_3", &ShippedItem::abstract_table, 4,
                "AbsRefID INTEGER PRIMARY KEY, DateFacUpdated VARCHAR(40)"},
    FamilyTable{"Patients", &ShippedItem::patient_table, 1,
                "PatientID INTEGER PRIMARY KEY, Soundex VARCHAR(8), NameX VARCHAR(120), "
                "ConsolidateLogID INTEGER, CaseLockedBy VARCHAR(40), CaseLockedTime VARCHAR(40), "},
    FamilyTable{"Patients_2", &ShippedItem::patient_table, 2,
                "PatientID INTEGER PRIMARY KEY, DatePtUpdated VARCHAR(40)"},
    FamilyTable{"MedicalSum", &ShippedItem::medical_table, 1,
                "MedRefID INTEGER PRIMARY KEY, PatientID INTEGER, EditorInit VARCHAR(40), "
                "ConsolidateLogID INTEGER, "},
    FamilyTable{"MedicalSum_2", &ShippedItem::medical_table, 2,
                "MedRefID INTEGER PRIMARY KEY, DateTumUpdated VARCHAR(40)"},
};

constexpr std::array kOtherTables = {
    "CREATE TABLE BaseIDs (BaseIDName VARCHAR(64) PRIMARY KEY, BaseID INTEGER)",
    "CREATE TABLE USERS (USERID VARCHAR(64) PRIMARY KEY, NAME VARCHAR(120))",
    "CREATE TABLE LOCKMANAGER (TABLENAME VARCHAR(64) PRIMARY KEY, LOCKSTATUS VARCHAR(8), USERID "
    "VARCHAR(64))",
    "CREATE TABLE CRITICALFIELDS (NAACCR_Item_No INTEGER, projectID INTEGER,"
    " PRIMARY KEY (NAACCR_Item_No, projectID))",
    "CREATE TABLE Display (DisplayID INTEGER PRIMARY KEY, Name VARCHAR(120))",
    "CREATE TABLE displayfields (displayid INTEGER, NAACCR_Item_no INTEGER, [Default] TEXT,"
    " Protected INTEGER, FieldSequence INTEGER, Invisible INTEGER,"
    " PRIMARY KEY (displayid, NAACCR_Item_no))",
    "CREATE TABLE tblBlockingParameters (BlockingID INTEGER PRIMARY KEY, AbstractField TEXT,"
    " PatientField TEXT, ignorevalues TEXT)",
    "CREATE TABLE tblMatchingParameters (MatchingID INTEGER PRIMARY KEY, FieldName TEXT,"
    " Weight REAL, MissingValues TEXT, ExactMatch INTEGER, StringComparatorParam INTEGER,"
    " AliasName TEXT, ignore INTEGER)",
    "CREATE TABLE tblTLCParameters (PotentialPatientMatch INTEGER)",
};

constexpr std::array kMatchingColumns = {"Soundex", "LastName", "BirthDate", "SocSec"};

// A date stands in its column with two strokes more than in the record.
constexpr int kShortestColumn = 10;

// The greatest length of each column in any layout. Some engines cut their rows to it.
std::map<std::string, int> ColumnLengths(const FamilyTable& table,
                                         const std::vector<ShippedLayout>& layouts) {
  std::map<std::string, int> lengths;
  for (const ShippedLayout& layout : layouts) {
    for (const ShippedItem& item : layout.items) {
      if (item.text || item.*table.code_of != table.code) continue;
      int& length = lengths[LowerCase(item.field_name)];
      length = std::max({length, item.length, kShortestColumn});
    }
  }
  return lengths;
}

std::string CreateFamilyTable(const FamilyTable& table, const std::vector<ShippedLayout>& layouts) {
  std::string statement = "CREATE TABLE " + std::string(table.name) + " (";
  statement += table.own_columns;
  if (table.own_columns.ends_with(", ")) statement += kAdministration;
  const std::map<std::string, int> lengths = ColumnLengths(table, layouts);
  std::set<std::string> columns;
  for (const ShippedLayout& layout : layouts) {
    for (const ShippedItem& item : layout.items) {
      if (item.text || item.*table.code_of != table.code) continue;
      const std::string name = LowerCase(item.field_name);
      if (columns.insert(name).second) {
        statement += ", " + item.field_name + " VARCHAR(" + std::to_string(lengths.at(name)) + ")";
      }
    }
  }
  return statement + ")";
}

}  // namespace

std::vector<std::string> RegistryTables(const std::vector<ShippedLayout>& layouts) {
  std::vector<std::string> statements;
  statements.reserve(kFamilyTables.size() + kOtherTables.size() + OwnTables().size());
  for (const FamilyTable& table : kFamilyTables) {
    statements.push_back(CreateFamilyTable(table, layouts));
  }
  statements.insert(statements.end(), kOtherTables.begin(), kOtherTables.end());
  for (const OwnTable& table : OwnTables()) statements.emplace_back(table.create);
  return statements;
}

std::vector<std::string> KeyIndexes() {
  return {"CREATE INDEX IX_Abstracts_PatientID ON Abstracts (PatientID)",
          "CREATE INDEX IX_Abstracts_MedRefID ON Abstracts (MedRefID)",
          "CREATE INDEX IX_MedicalSum_PatientID ON MedicalSum (PatientID)"};
}

std::vector<std::string> MatchingIndexes() {
  std::vector<std::string> statements(kMatchingColumns.size());
  std::ranges::transform(kMatchingColumns, statements.begin(), [](const std::string& column) {
    std::string statement = "CREATE INDEX IX_Patients_" + column;
    return statement.append(" ON Patients (").append(column).append(")");
  });
  return statements;
}

std::vector<std::string> DropMatchingIndexes() {
  std::vector<std::string> statements(kMatchingColumns.size());
  std::ranges::transform(kMatchingColumns, statements.begin(), [](const std::string& column) {
    return "DROP INDEX IX_Patients_" + column;
  });
  return statements;
}

std::vector<std::string> RegistryRows() {
  std::vector<std::string> statements;
  for (const char* counter : {"AbsRefID", "PatientID", "MedRefID"}) {
    statements.push_back("INSERT INTO BaseIDs (BaseIDName, BaseID) VALUES (" + SqlText(counter) +
                         ", 0)");
  }
  for (const char* code : {"ABS", "PAT", "MED", "BID"}) {
    statements.push_back("INSERT INTO LOCKMANAGER (TABLENAME, LOCKSTATUS, USERID) VALUES (" +
                         SqlText(code) + ", 'U', '')");
  }
  statements.emplace_back(
      "INSERT INTO USERS (USERID, NAME) VALUES ('ADMIN', 'Registry administrator')");
  // Their columns ascend with their item numbers in every layout, as the loader of the critical
  // flags wants them: race, sex, birth date; diagnosis date, primary site, histology; last name.
  for (const int item : {160, 220, 240, 390, 400, 522, 2230}) {
    statements.push_back("INSERT INTO CRITICALFIELDS (NAACCR_Item_No, projectID) VALUES (" +
                         std::to_string(item) + ", 1)");
  }
  statements.emplace_back("INSERT INTO Display (DisplayID, Name) VALUES (1, 'Patient and tumor')");
  int sequence = 0;
  for (const int item : {2230, 2240, 2250, 240, 220, 160, 2320, 390, 400, 522, 2600}) {
    const bool assigned = item == 2320;  // the number is shown, not typed over
    statements.push_back(
        "INSERT INTO displayfields (displayid, NAACCR_Item_no, [Default], Protected,"
        " FieldSequence, Invisible) VALUES (1, " +
        std::to_string(item) + ", '', " + (assigned ? "1, " : "0, ") + std::to_string(++sequence) +
        ", 0)");
  }
  return statements;
}

}  // namespace qm
