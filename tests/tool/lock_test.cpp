// qm lock, unlock and locks: one registry, one command after the other.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/run_program.h"
#include "support/sqlite_fixture.h"

namespace qm::test {
namespace {

TEST(LockCommands, TakeFreeListAndLog) {
  const TempFolder folder;
  const std::string data = folder.File("data");
  ASSERT_EQ(RunProgram({QM_TOOL, "init", "-d", data, "--layout", "18"}).exit_code, 0);
  SqliteFile registry(data + "/registry.db");
  registry.Exec(
      "INSERT INTO Patients (PatientID) VALUES (5); INSERT INTO Abstracts (AbsRefID) VALUES (7);"
      "INSERT INTO USERS VALUES ('ann', 'Ann Lee')");
  const struct {
    std::vector<std::string> arguments;
    int exit_code;
    std::string out;  ///< a pattern: * stands for anything
    std::string err;  ///< a piece of it
  } cases[] = {
      {{"lock", "case", "5", "--user", "ann"}, 0, "case 5 locked by ann\n", ""},
      {{"lock", "case", "5", "--user", "bob"}, 1, "", "qm: Case is locked by Ann Lee."},
      {{"lock", "case", "6", "--user", "bob"}, 1, "", "qm: Unable to find Case ID 6."},
      {{"lock", "case", "5", "7"}, 2, "", "one identifier of a record is expected"},
      {{"lock", "case", "5x"}, 2, "", "one identifier of a record is expected"},
      {{"lock", "case", "5", "--user", "O'BRIEN"}, 2, "", "without quotes"},
      {{"lock", "abstract", "7", "--user", "bob"}, 0, "abstract 7 locked by bob\n", ""},
      {{"lock", "tables", "PATABS", "MED", "--user", "ann"},
       0,
       "tables PAT, ABS, MED locked by ann\n",
       ""},
      {{"lock", "tables", "BID", "ABS", "--user", "bob"},
       1,
       "",
       "qm: Tables are locked: ABS by ann (Ann Lee)."},
      {{"lock", "tables", "XYZ"}, 1, "", "'XYZ' is no table that can be locked; there are ABS"},
      {{"lock", "tables", "PATA"}, 2, "", "three characters"},
      {{"unlock", "tables", "PAT", "XYZ"}, 1, "", "'XYZ' is no table that can be locked"},
      {{"locks", "--format", "csv"},
       0,
       "Kind,ID,User,Name,Since*case,5,ann,Ann Lee,*/*/*-*:*:* ?M*abstract,7,bob,,*/*M*"
       "table,ABS,ann,Ann Lee,*table,MED,ann,Ann Lee,*table,PAT,ann,Ann Lee,*",
       ""},
      {{"unlock", "case", "5", "--user", "bob"},
       0,
       "case 5 unlocked; held by ann since */*M\n",
       ""},
      {{"unlock", "case", "5"}, 0, "case 5 was not locked\n", ""},
      {{"unlock", "case", "6"}, 1, "", "case 6 does not exist"},
      {{"unlock", "abstract", "8"}, 1, "", "qm: Unable to find Abstract ID 8."},
      {{"unlock", "abstract", "7", "--user", "eve"},
       0,
       "abstract 7 unlocked; held by bob since */*M\n",
       ""},
      {{"unlock", "tables", "ABSMEDPATBID", "--user", "bob"},
       0,
       "tables ABS, MED, PAT, BID unlocked; ABS held by ann, MED held by ann, PAT held by ann\n",
       ""},
      {{"locks", "--format", "json"}, 0, "[*]\n", ""},
  };
  for (const auto& c : cases) {
    std::vector<std::string> command = {QM_TOOL};
    command.insert(command.end(), c.arguments.begin(), c.arguments.end());
    command.insert(command.end(), {"-d", data});
    SCOPED_TRACE(&c - cases);
    const ProgramResult result = RunProgram(command);
    EXPECT_EQ(result.exit_code, c.exit_code) << result.err;
    std::string quoted = result.out;
    for (std::size_t at = 0; (at = quoted.find('\'', at)) != std::string::npos; at += 2) {
      quoted.insert(at, 1, '\'');
    }
    EXPECT_EQ(registry.Query("SELECT '" + quoted + "' GLOB '" +
                             (c.out.starts_with('[') ? "[[]*]\n" : c.out) + "'"),
              "1")
        << result.out;
    EXPECT_THAT(result.err, testing::HasSubstr(c.err));
    EXPECT_EQ(result.err.empty(), c.err.empty()) << result.err;
  }
  EXPECT_EQ(registry.Query("SELECT ChangedBy, Action, RecordKind, RecordID FROM QMAudit"
                           " WHERE Action <> 'init' ORDER BY AuditKey"),
            "ann|lock|case|5;bob|lock|abstract|7;ann|lock|tables|NULL;bob|unlock|case|5;"
            "eve|unlock|abstract|7;bob|unlock|tables|NULL");
}

}  // namespace
}  // namespace qm::test
