// The set-up of a registry: what it makes agrees with the data files, loads through the library,
// and a set-up that cannot be done leaves everything as it was.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <qm/data_sets.h>
#include <qm/qm_connection.h>
#include <qm/registry_setup.h>
#include <qm/session.h>

#include <chrono>
#include <fstream>
#include <map>
#include <set>

#include "runtime/text.h"
#include "setup/shipped_files.h"
#include "support/raises.h"
#include "support/sqlite_fixture.h"

namespace fs = std::filesystem;
namespace qm::test {
namespace {

struct Version {
  std::string name;
  std::uint16_t number;
  std::int16_t items;
  std::int16_t incidence, confidential, abstract;
  std::string codes;
  std::int16_t version_column;
  std::string date_code;
};
const Version kVersions[] = {{"11.3", 11, 377, 1946, 2644, 6694, "B", 19, "D"},
                             {"12", 12, 509, 3339, 5564, 22824, "120,121,122", 17, "L"},
                             {"13", 13, 529, 3339, 5564, 22824, "130", 17, "L"},
                             {"14", 14, 529, 3339, 5564, 22824, "140", 17, "L"},
                             {"15", 15, 536, 3339, 5564, 22824, "150", 17, "L"},
                             {"16", 16, 566, 3339, 5564, 22824, "160", 17, "L"},
                             {"18", 18, 774, 4048, 6154, 24194, "180", 17, "L"}};

// A registry in a folder, reached through a session as an application reaches it.
class Registry {
 public:
  explicit Registry(const RegistrySetup& setup = {}) {
    CreateRegistryFolder(folder.path() / "r", setup);
    connection.SetControl(OpenSqlite(folder.File("r/control.db")));
    connection.SetRegistry(OpenSqlite(folder.File("r/registry.db")));
  }
  std::string Query(const std::string& text) const {
    return QueryText(folder.File("r/registry.db"), text);
  }
  // Columns of a table, in lower case.
  std::set<std::string> Columns(const std::string& table) const {
    const std::string list = Query("SELECT lower(name) FROM pragma_table_info('" + table + "')");
    std::set<std::string> columns;
    std::string_view rest = list;
    while (!rest.empty()) {
      const std::size_t end = std::min(rest.find(';'), rest.size());
      EXPECT_TRUE(columns.emplace(rest.substr(0, end)).second) << table << list;
      rest.remove_prefix(std::min(end + 1, rest.size()));
    }
    return columns;
  }

  TempFolder folder;
  SessionScope session;
  QMConnection connection;
};

// The rows of the data file itself, not of what was built from it.
std::vector<CsvRow> DataFile(const std::string& name) {
  std::ifstream in(QM_TEST_DATA "/../../data/layouts/naaccr_" + name + ".csv");
  std::vector<CsvRow> rows;
  std::string line;
  std::getline(in, line);
  while (std::getline(in, line)) rows.push_back(SplitCsvLine(line));
  return rows;
}

TEST(RegistrySetup, EveryLayoutLoadsAsItsDataFileSaysAndFindsItsColumns) {
  const Registry registry;
  const std::map<std::string, std::set<std::string>> tables = {
      {"a1", registry.Columns("Abstracts")},   {"a2", registry.Columns("Abstracts_2")},
      {"a4", registry.Columns("Abstracts_3")}, {"p1", registry.Columns("Patients")},
      {"p2", registry.Columns("Patients_2")},  {"m1", registry.Columns("MedicalSum")},
      {"m2", registry.Columns("MedicalSum_2")}};
  std::map<std::string, std::string> place_of;  // of a column, over all versions
  for (const Version& version : kVersions) {
    SCOPED_TRACE(version.name);
    QMDataSets data_sets;
    const auto layout = data_sets.GetNAACCRLayout(version.number);
    EXPECT_EQ(layout->FieldsCount(), version.items);
    EXPECT_EQ(layout->TextFieldsCount(), 15);
    EXPECT_EQ(layout->AbsTableCnt(), 3);
    EXPECT_EQ(layout->PatTableCnt(), 2);
    EXPECT_EQ(layout->MedTableCnt(), 2);
    EXPECT_EQ(layout->LengthOfIncidence(), version.incidence);
    EXPECT_EQ(layout->LengthOfConfidential(), version.confidential);
    EXPECT_EQ(layout->LengthOfAbstract(), version.abstract);
    EXPECT_EQ(layout->NAACCRGlobalValue(), version.codes);
    EXPECT_EQ(layout->ColVersionID(), version.version_column);
    EXPECT_EQ(layout->ColRecType(), 1);
    const auto birth = layout->IndexByFieldName("BirthDate");
    EXPECT_EQ(layout->FieldNumber(birth), 240);
    EXPECT_EQ(layout->FieldJustification(birth), version.date_code);
    for (const char* name : {"LastName", "FirstName", "MiddleName", "SocSec", "Race1", "Sex"}) {
      const auto index = layout->FieldIndex(name);
      EXPECT_EQ(layout->FieldAbsTable(index), 1) << name;
      EXPECT_EQ(layout->FieldPatTable(index), 1) << name;
    }
    EXPECT_EQ(layout->FieldMedTable(layout->FieldIndex("SeqNumCentr")), 1);

    const auto rows = DataFile(version.name);
    ASSERT_EQ(rows.size(), static_cast<std::size_t>(version.items));
    for (const CsvRow& row : rows) {
      SCOPED_TRACE(row[1]);
      const auto i = layout->IndexByNAACCRItemNo(static_cast<std::int16_t>(std::stoi(row[0])));
      ASSERT_GT(i, 0);
      EXPECT_EQ(layout->FieldStart(i), std::stoi(row[3]));
      EXPECT_EQ(layout->FieldLength(i), std::stoi(row[4]));
      EXPECT_EQ(layout->FieldDescription(i), row[2]);
      EXPECT_EQ(layout->FieldType(i) == "X", row[9] == "1");
      EXPECT_EQ(layout->IsPatientField(i) != 0, row[10] == "patient");
      EXPECT_EQ(layout->IsMedicalSummaryField(i) != 0, row[10] != "patient");
      const std::string codes = "a" + std::to_string(layout->FieldAbsTable(i)) + " p" +
                                std::to_string(layout->FieldPatTable(i)) + " m" +
                                std::to_string(layout->FieldMedTable(i));
      const std::string column = LowerCase(layout->FieldName(i));
      EXPECT_EQ(place_of.emplace(column, codes).first->second, codes);
      for (const std::string& code : {codes.substr(0, 2), codes.substr(3, 2), codes.substr(6, 2)}) {
        if (code[1] == '0') continue;
        EXPECT_EQ(tables.at(code).contains(column), row[9] == "0") << code;
      }
    }
  }
}

TEST(RegistrySetup, RowsOfEveryRegistry) {
  Registry registry;
  QMDataSets data_sets;
  const auto layout = data_sets.GetNAACCRLayout();
  EXPECT_EQ(layout->Version(), "18");
  EXPECT_EQ(data_sets.BaseID("PatientID"), 1);
  data_sets.OpenGlobalRecordsets();
  EXPECT_NE(data_sets.GetAbstract(5).Recordset(1), nullptr);
  data_sets.CloseGlobalRecordsets();
  EXPECT_EQ(registry.Query("SELECT BaseIDName, BaseID FROM BaseIDs ORDER BY 1"),
            "AbsRefID|0;MedRefID|0;PatientID|1");
  EXPECT_EQ(registry.Query("SELECT TABLENAME FROM LOCKMANAGER WHERE LOCKSTATUS = 'U' ORDER BY 1"),
            "ABS;BID;MED;PAT");
  EXPECT_EQ(registry.Query("SELECT count(*) FROM USERS"), "1");
  EXPECT_EQ(registry.Query("SELECT count(*) > 5 FROM Display JOIN displayfields USING (DisplayID)"),
            "1");
  // Critical fields are walked in column order, so their columns must follow their numbers.
  for (const Version& version : kVersions) {
    QMDataSets other;
    const auto each = other.GetNAACCRLayout(version.number);
    std::int16_t last = each->TextFieldsCount();
    const std::string items =
        registry.Query("SELECT NAACCR_Item_No FROM CRITICALFIELDS ORDER BY NAACCR_Item_No");
    for (std::size_t at = 0; at < items.size();
         at = std::min(items.find(';', at), items.size()) + 1) {
      const auto index =
          each->IndexByNAACCRItemNo(static_cast<std::int16_t>(std::stoi(items.substr(at))));
      EXPECT_GT(index, last) << version.name << " " << items.substr(at);
      last = index;
    }
  }
}

TEST(RegistrySetup, ChosenLayoutsAlone) {
  Registry registry({{"12", "11.3"}});
  QMDataSets data_sets;
  EXPECT_EQ(data_sets.GetNAACCRLayout()->Version(), "12");
  EXPECT_NE(Raises([&] { data_sets.GetNAACCRLayout(18); }).number, 0);
  EXPECT_FALSE(registry.Columns("Abstracts_2").contains("eodmets"));
  EXPECT_TRUE(registry.Columns("Abstracts").contains("lastname"));
}

// Names and contents of what is in a folder.
std::map<std::string, std::string> Content(const TempFolder& folder) {
  std::map<std::string, std::string> content;
  for (const auto& entry : fs::recursive_directory_iterator(folder.path())) {
    const std::string name = fs::relative(entry.path(), folder.path()).string();
    content[name] = entry.is_directory() ? "" : folder.Read(name);
  }
  return content;
}

TEST(RegistrySetup, FolderIsPrivateAndComplete) {
  const TempFolder folder;
  const fs::path made = folder.path() / "new" / "er";
  CreateRegistryFolder(made);
  EXPECT_EQ(fs::status(made).permissions(), fs::perms::owner_all);
  std::set<std::string> names;
  for (const auto& entry : fs::directory_iterator(made)) {
    names.insert(entry.path().filename().string());
    EXPECT_EQ(entry.status().permissions(), fs::perms::owner_read | fs::perms::owner_write);
    EXPECT_EQ(QueryText(entry.path().string(), "PRAGMA journal_mode"), "wal");
  }
  EXPECT_THAT(names, testing::ElementsAre("control.db", "registry.db"));
}

TEST(RegistrySetup, KilledBeforeBothFilesWerePlacedItStartsAgain) {
  const TempFolder folder;
  // No process has so high a number.
  const fs::path work = folder.path() / ".setup-999999999-1";
  CreateRegistryFolder(work);
  fs::create_hard_link(work / "registry.db", folder.path() / "registry.db");
  // Whoever used the file since keeps it.
  const auto built = fs::last_write_time(work);
  fs::last_write_time(work, built - std::chrono::hours(1));
  EXPECT_EQ(Raises([&] { CreateRegistryFolder(folder.path()); }).number, kErrIntegrity);
  fs::last_write_time(work, built);
  CreateRegistryFolder(folder.path());
  std::set<std::string> names;
  for (const auto& [name, content] : Content(folder)) names.insert(name);
  EXPECT_THAT(names, testing::ElementsAre("control.db", "registry.db"));
}

TEST(RegistrySetup, RefusalLeavesTheFolderAsItWas) {
  for (const char* name : {"registry.db", "control.db", "registry.db-wal", "control.db-shm"}) {
    const TempFolder folder;
    folder.Write(name, "kept");
    const auto before = Content(folder);
    const Failure failure = Raises([&] { CreateRegistryFolder(folder.path()); });
    EXPECT_EQ(failure.number, kErrIntegrity) << name;
    EXPECT_THAT(failure.description, testing::HasSubstr(folder.File(name)));
    EXPECT_EQ(Content(folder), before);
  }
  const TempFolder folder;
  const Failure unknown = Raises([&] { CreateRegistryFolder(folder.path() / "r", {{"17"}}); });
  EXPECT_EQ(unknown.number, kErrBadArgument);
  EXPECT_THAT(unknown.description, testing::HasSubstr("17"));
  folder.Write("file", "");
  EXPECT_EQ(Raises([&] { CreateRegistryFolder(folder.path() / "file"); }).number, kErrEngine);
  EXPECT_THAT(Content(folder), testing::ElementsAre(testing::Pair("file", "")));
}

TEST(RegistrySetup, FailureUndoesBothDatabases) {
  const TempFolder folder;
  const std::string registry = MakeDatabase(folder.File("r.db"), "CREATE TABLE kept (x)");
  const std::string control =
      MakeDatabase(folder.File("c.db"), "CREATE VIEW NAACCR18Fields AS SELECT 1");
  EXPECT_NE(Raises([&] { CreateRegistry(OpenSqlite(registry), OpenSqlite(control)); }).number, 0);
  EXPECT_EQ(QueryText(registry, "SELECT name FROM sqlite_master"), "kept");
  EXPECT_EQ(QueryText(control, "SELECT name FROM sqlite_master"), "NAACCR18Fields");
}

}  // namespace
}  // namespace qm::test
