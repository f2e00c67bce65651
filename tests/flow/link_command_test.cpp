// qm link, unlink and match as their users meet them.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/run_program.h"
#include "support/sqlite_fixture.h"

namespace qm::test {
namespace {

using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

class LinkCommand : public testing::Test {
 protected:
  LinkCommand() {
    Qm({"init", "--layout", "18"});
    Qm({"generate", "--patients", "20", "--incoming", "5", "--seed", "3"});
    Qm({"import", d_ + "/incoming.txt"});
    // Abstract 2 is patient 1's, and may be nobody else's.
    Change(
        "UPDATE Abstracts SET LastName = 'Quist', SocSec = '999887777' WHERE AbsRefID = 2;"
        "UPDATE Patients SET LastName = 'Quist', SocSec = '999887777' WHERE PatientID = 1;"
        "UPDATE BaseIDs SET BaseID = 1000;"
        "UPDATE tblTLCParameters SET PotentialPatientMatch = -1000;"
        "DELETE FROM tblBlockingParameters;"
        "INSERT INTO tblBlockingParameters (AbstractField, PatientField) VALUES ('lastname',"
        " 'LastName')");
  }
  ProgramResult Qm(std::vector<std::string> arguments) const {
    arguments.insert(arguments.begin(), QM_TOOL);
    arguments.insert(arguments.end(), {"-d", d_});
    return RunProgram(arguments);
  }
  void Change(const std::string& script) const { SqliteFile(d_ + "/registry.db").Exec(script); }

  TempFolder folder_;
  const std::string d_ = folder_.File("d");
};

TEST_F(LinkCommand, TellsWhatItDidAndWhatIsWrong) {
  const std::string bad = folder_.Write("bad.csv", "2,1\nSmith,1\n");
  const std::string mixed = folder_.Write("mixed.csv", "abstract,patient\n1,4711\n2,1,JD\n");
  struct Case {
    std::vector<std::string> arguments;
    int exit_code;
    std::string out;
    std::string err;  ///< a piece of it; empty: nothing is written
  };
  const Case cases[] = {
      {{"link"}, 2, "", "one of ABSTRACT, --auto N and --decisions FILE is required"},
      {{"link", "1", "--auto", "90"}, 2, "", "one of ABSTRACT"},
      {{"link", "1", "Smith"}, 2, "", "PATIENT"},
      {{"link", "1", "1.5"}, 2, "", "PATIENT"},
      {{"link", "1", "new", "--tumor", "1"}, 2, "", "--tumor goes with a PATIENT"},
      {{"link", "4711"}, 1, "", "abstract 4711 does not exist"},
      {{"link", "1", "4711"}, 1, "", "patient 4711 does not exist"},
      {{"unlink", "1"}, 1, "", "abstract 1 is not linked"},
      {{"link", "--decisions", folder_.File("none.csv")}, 1, "", "none.csv: cannot be opened"},
      {{"link", "--decisions", bad}, 1, "", "bad.csv, line 2: the abstract is no identifier"},
      {{"link", "--decisions", mixed},
       1,
       mixed + ": linked 1, new 0, declined 0, skipped 0, failed 1\n",
       "mixed.csv, line 2: patient 4711 does not exist"},
      {{"link", "2", "1"}, 0, "abstract 2 is linked to patient 1, tumor 1001, already\n", ""},
      {{"link", "1", "new", "--note", "x"},
       0,
       "abstract 1 linked to new patient 1001, tumor 1002\n",
       ""},
      {{"unlink", "2", "3"}, 1, "", "abstract 3 is not linked"},
      {{"unlink", "2", "1"}, 0, "abstract 2 unlinked\nabstract 1 unlinked\n", ""}};
  for (const Case& c : cases) {
    SCOPED_TRACE(c.arguments[0] + " " + (c.arguments.size() > 1 ? c.arguments[1] : ""));
    const ProgramResult result = Qm(c.arguments);
    EXPECT_EQ(result.exit_code, c.exit_code) << result.err;
    EXPECT_EQ(result.out, c.out);
    EXPECT_THAT(result.err, Not(HasSubstr("Smith,")));
    if (c.err.empty()) {
      EXPECT_EQ(result.err, "");
    } else {
      EXPECT_THAT(result.err, HasSubstr(c.err));
    }
  }
}

TEST_F(LinkCommand, OffersAndWhatWasDeclined) {
  const std::string head =
      "AbsRefID,Rank,PatientID,Score,LastName,FirstName,MiddleName,PatientLastName,"
      "PatientFirstName,PatientMiddleName\r\n";
  EXPECT_THAT(Qm({"link", "2", "--format", "csv"}).out, StartsWith(head + "2,1,1,"));
  const ProgramResult dry = Qm({"link", "--auto=-1000", "--dry-run", "--format", "csv"});
  EXPECT_THAT(dry.out, HasSubstr("\r\n2,yes,1,1,"));
  EXPECT_THAT(dry.err, StartsWith("qm: would link "));
  const ProgramResult piped = RunProgram(
      {"/bin/sh", "-c", "printf '2,no\\n' | \"$0\" link --decisions - -d \"$1\"", QM_TOOL, d_});
  EXPECT_EQ(piped.out, "standard input: linked 0, new 0, declined 1, skipped 0, failed 0\n");
  EXPECT_THAT(Qm({"link", "2", "--format", "csv"}).out, StartsWith(head + "2,,,,Quist,"));
  EXPECT_EQ(Qm({"match", "--abstract", "2", "--format", "csv"}).out, head);
  EXPECT_THAT(Qm({"match", "--abstract", "2", "--format", "csv", "--with-declined"}).out,
              StartsWith(head + "2,1,1,"));
  // What is offered again after a link was undone can be declined again.
  EXPECT_EQ(Qm({"link", "2", "1"}).exit_code, 0);
  EXPECT_EQ(Qm({"unlink", "2"}).exit_code, 0);
  EXPECT_THAT(Qm({"link", "2", "no"}).out, HasSubstr("declined 1"));
  EXPECT_EQ(Qm({"link", "2", "new"}).exit_code, 0);
}

}  // namespace
}  // namespace qm::test
