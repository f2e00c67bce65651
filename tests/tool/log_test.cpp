// qm set on every kind of record, and what qm log tells of it, on a registry that was made before
// there was a log.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <regex>

#include "support/run_program.h"
#include "support/sqlite_fixture.h"

namespace qm::test {
namespace {

TEST(SetAndLog, RefuseWhatOthersLockAndTellWhoChangedWhat) {
  const TempFolder folder;
  const std::string data = folder.File("data");
  ASSERT_EQ(RunProgram({QM_TOOL, "init", "-d", data, "--layout", "18"}).exit_code, 0);
  SqliteFile(data + "/registry.db")
      .Exec(
          "DROP TABLE QMAudit;"
          "INSERT INTO USERS VALUES ('bob', 'Bob Ray');"
          "INSERT INTO Patients (PatientID, LastName, Sex) VALUES (5, 'SMITH', '1');"
          "INSERT INTO Patients_2 (PatientID) VALUES (5);"
          "INSERT INTO MedicalSum (MedRefID, PatientID, primarySite) VALUES (9, 5, 'C500');"
          "INSERT INTO MedicalSum_2 (MedRefID) VALUES (9);"
          "INSERT INTO Abstracts (AbsRefID, PatientID, LastName) VALUES (7, 5, 'Smith');"
          "INSERT INTO Abstracts_2 (AbsRefID) VALUES (7); INSERT INTO Abstracts_3 (AbsRefID)"
          " VALUES (7)");
  const std::string by_bob = "the case of patient 5 is locked by bob (Bob Ray)";
  const struct {
    std::vector<std::string> arguments;
    int exit_code;
    std::string out;  ///< exactly, save that each time is T
    std::string err;  ///< a piece of it
  } cases[] = {
      {{"log", "--format", "csv"}, 0, "Time,User,Action,Record,ID,Detail,File\r\n", ""},
      {{"set", "patient", "5", "lastname=O'Neil", "Sex=1", "Remarks=a note", "--user", "ann"},
       0,
       "patient 5 saved\n",
       ""},
      {{"set", "patient", "5", "LastName=O'Neil", "--user", "ann"}, 0, "patient 5 saved\n", ""},
      {{"set", "patient", "5", "LastName=X", "TextDxProcPe=x"}, 1, "", "patients have no field"},
      {{"set", "patient", "5", "PatientID=6"}, 1, "", "is the identifier"},
      {{"set", "patient", "6", "LastName=X"}, 1, "", "patient 6 does not exist"},
      {{"set", "tumor", "9", "PatientID=6"}, 1, "", "tumors have no field 'PatientID'"},
      {{"set", "tumor", "9", "DateTumUpdated=20260102", "PrimarySite=C509", "--user", "eve"},
       0,
       "tumor 9 saved\n",
       ""},
      {{"lock", "case", "5", "--user", "bob"}, 0, "case 5 locked by bob\n", ""},
      {{"set", "patient", "5", "LastName=X", "--user", "ann"}, 1, "", by_bob},
      {{"set", "tumor", "9", "PrimarySite=X", "--user", "ann"}, 1, "", by_bob},
      {{"set", "abstract", "7", "LastName=X", "--user", "ann"}, 1, "", by_bob},
      {{"set", "abstract", "7", "LastName=Roe", "LASTNAME=Lee", "TextDxProcPe=a mass", "--user",
        "bob"},
       0,
       "abstract 7 saved\n",
       ""},
      {{"lock", "abstract", "7", "--user", "eve"}, 0, "abstract 7 locked by eve\n", ""},
      {{"set", "abstract", "7", "LastName=X", "--user", "bob"},
       1,
       "",
       "abstract 7 is locked by eve"},
      {{"log", "--format", "csv", "--action", "set"},
       0,
       "Time,User,Action,Record,ID,Detail,File\r\n"
       "T,ann,set,patient,5,LastName: 'SMITH' -> 'O'Neil'; Remarks: Null -> 'a note',\r\n"
       "T,eve,set,tumor,9,DateTumUpdated: Null -> '20260102'; primarySite: 'C500' -> 'C509',\r\n"
       "T,bob,set,abstract,7,LastName: 'Smith' -> 'Lee'; textDxProcPe: '' -> 'a mass',\r\n",
       ""},
      {{"log", "--format", "csv", "--user-name", "eve", "--last", "1"},
       0,
       "Time,User,Action,Record,ID,Detail,File\r\nT,eve,lock,abstract,7,,\r\n",
       ""},
      {{"log", "--record", "patient", "--id", "5", "--since", "9999-01-01 10", "--format", "json"},
       0,
       "[]\n",
       ""},
      {{"log", "--since", "yesterday"}, 2, "", "2026-01-05T15:04 is expected"},
  };
  const std::regex time(R"(\d{4}-\d\d-\d\dT\d\d:\d\d:\d\d\.\d{6}Z)");
  for (const auto& c : cases) {
    std::vector<std::string> command = {QM_TOOL};
    command.insert(command.end(), c.arguments.begin(), c.arguments.end());
    command.insert(command.end(), {"-d", data});
    SCOPED_TRACE(&c - cases);
    const ProgramResult result = RunProgram(command);
    EXPECT_EQ(result.exit_code, c.exit_code) << result.err;
    EXPECT_EQ(std::regex_replace(result.out, time, "T"), c.out);
    EXPECT_THAT(result.err, testing::HasSubstr(c.err));
  }
}

}  // namespace
}  // namespace qm::test
