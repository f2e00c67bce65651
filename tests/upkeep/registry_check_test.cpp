// The check finds nothing in a new registry, and in one that is broken in one way that fault alone.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <qm/registry_check.h>
#include <qm/registry_setup.h>

#include "support/sqlite_fixture.h"

namespace qm::test {
namespace {

struct Broken {
  const char* name;
  const char* control;   ///< run on the control database
  const char* registry;  ///< run on the registry
  std::vector<std::string> findings;
};

// Made anew with another declaration of one column, as older registries have it.
constexpr const char* kNameWithoutCase =
    "DROP INDEX IX_Patients_LastName; ALTER TABLE Patients DROP COLUMN LastName;"
    "ALTER TABLE Patients ADD COLUMN LastName TEXT COLLATE NOCASE;"
    "CREATE INDEX IX_Patients_LastName ON Patients (LastName)";

// Without a key of the engine's own.
constexpr const char* kTwoOfOneKey =
    "CREATE TABLE Anew AS SELECT * FROM MedicalSum_2; DROP TABLE MedicalSum_2;"
    "ALTER TABLE Anew RENAME TO MedicalSum_2; INSERT INTO MedicalSum (MedRefID) VALUES (1);"
    "UPDATE BaseIDs SET BaseID = 1; INSERT INTO MedicalSum_2 (MedRefID) VALUES (1), (1)";

const Broken kBroken[] = {
    {"nothing", "", "", {}},
    {"records",
     "",
     "INSERT INTO Patients (PatientID) VALUES (5); INSERT INTO Patients_2 (PatientID) VALUES (5);"
     "UPDATE BaseIDs SET BaseID = 5",
     {}},
    {"table", "", "DROP TABLE LOCKMANAGER", {"table-missing LOCKMANAGER"}},
    {"column", "", "ALTER TABLE Patients DROP COLUMN middleName", {"column-missing Patients"}},
    {"layout", "DELETE FROM NAACCR11Fields", "", {"layout-value NAACCR11Fields"}},
    {"layout cell",
     "UPDATE NAACCR11Fields SET Protected = NULL WHERE NAACCR_Item_No = 400",
     "",
     {"layout-value NAACCR11Fields"}},
    {"lengths", "DELETE FROM [NAACCR Versions]", "", {"layout-missing NAACCR Versions"}},
    {"orphan", "", "INSERT INTO Abstracts_3 (AbsRefID) VALUES (7)", {"orphan-rows Abstracts_3"}},
    {"twice", "", kTwoOfOneKey, {"duplicate-key MedicalSum_2"}},
    {"counter", "", "INSERT INTO Patients (PatientID) VALUES (12)", {"counter-behind BaseIDs"}},
    {"no counter",
     "",
     "DELETE FROM BaseIDs WHERE BaseIDName = 'MedRefID'",
     {"counter-missing BaseIDs"}},
    {"rule column",
     "",
     "UPDATE tblMatchingParameters SET FieldName = 'Surname' WHERE MatchingID = 1",
     {"rule-column tblMatchingParameters"}},
    {"rule value",
     "",
     "UPDATE tblBlockingParameters SET PatientField = NULL WHERE BlockingID = 4",
     {"rule-value tblBlockingParameters"}},
    {"no rules", "", "DELETE FROM tblTLCParameters", {"rule-missing tblTLCParameters"}},
    {"index", "", "DROP INDEX IX_Patients_SocSec", {"blocking-index Patients"}},
    {"comparison", "", kNameWithoutCase, {"comparison Patients"}},
};

TEST(RegistryCheck, NamesEachFaultAndNothingElse) {
  TempFolder folder;
  for (const Broken& broken : kBroken) {
    const auto place = folder.path() / broken.name;
    CreateRegistryFolder(place, {{"11.3"}});
    SqliteFile(place / "control.db").Exec(broken.control);
    SqliteFile(place / "registry.db").Exec(broken.registry);
    std::vector<std::string> found;
    std::string told;
    for (const RegistryFinding& finding :
         CheckRegistry(OpenSqlite(place / "registry.db"), OpenSqlite(place / "control.db"))) {
      found.push_back(finding.code + " " + finding.table);
      told += finding.code + " " + finding.what + "; ";
      EXPECT_FALSE(finding.advice.empty()) << finding.code;
    }
    EXPECT_EQ(found, broken.findings) << broken.name << ": " << told;
  }
}

}  // namespace
}  // namespace qm::test
