// The program as its users meet it: arguments in; output, messages and exit codes out.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>

#include "support/run_program.h"
#include "support/sqlite_fixture.h"

namespace qm::test {
namespace {

namespace fs = std::filesystem;
using testing::AllOf;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

ProgramResult Qm(std::vector<std::string> arguments) {
  arguments.insert(arguments.begin(), QM_TOOL);
  return RunProgram(arguments);
}

struct Case {
  std::vector<std::string> arguments;
  int exit_code;
  std::string out;  ///< exactly
  std::string err;  ///< a piece of it; empty: nothing is written
};

void ExpectCases(const std::vector<Case>& cases) {
  for (const Case& c : cases) {
    std::string name = "qm";
    for (const std::string& argument : c.arguments) name += " " + argument;
    SCOPED_TRACE(name);
    const ProgramResult result = Qm(c.arguments);
    EXPECT_EQ(result.exit_code, c.exit_code);
    EXPECT_EQ(result.out, c.out);
    if (c.err.empty()) {
      EXPECT_EQ(result.err, "");
    } else {
      EXPECT_THAT(result.err, HasSubstr(c.err));
    }
  }
}

TEST(Tool, WithoutADatabase) {
  ExpectCases({
      {{"eval", "1 + 1"}, 0, "Integer\t2\n", ""},
      {{"eval", "--", "-2 ^ 2"}, 0, "Double\t-4\n", ""},
      {{"eval", "Left(<<LastName>>, 2) & <<first>>", "lastname=O'BRIEN", "FIRST=a=b"},
       0,
       "String\tO'a=b\n",
       ""},
      {{"eval", "Functions.Soundex(<<x>>)", "x=ROBERT"}, 0, "String\tR163\n", ""},
      {{"eval", "Null"}, 0, "Null\tNull\n", ""},
      {{"eval", "Array(1, Array(2, Null), #1/2/2020#)"}, 0, "Variant()\t1,(2,Null),1/2/2020\n", ""},
      {{"eval", "1 +"}, 1, "", "qm: error 1002 "},
      {{"eval", "1 \\ 0"}, 1, "", "error 11 (QMDataObjects2): Division by zero"},
      {{"eval", "<<age>>", "x=1"},
       1,
       "",
       "error 3265 (qm eval): no value is given for field 'age'"},
      {{"eval", "1", "x"}, 2, "", "NAME=VALUE"},
      {{"compare", "MARTHA", "MARHTA"}, 0, "0.961111\n", ""},
      {{"compare", "MARTHA", "MARHTA", "--parameter", "1"}, 0, "0.944444\n", ""},
      {{"compare", "", "A"}, 0, "0.000000\n", ""},
      {{"compare", "A", "B", "--parameter", "x"}, 2, "", "--parameter"},
      {{"soundex", "Tymczak"}, 0, "T522\n", ""},
      {{"soundex", "match"}, 0, "M320\n", ""},
      {{}, 2, "", "A subcommand is required"},
      {{"metch"}, 2, "", "unknown command 'metch'"},
      {{"match", "-d", "x"}, 2, "", "--abstract ID or --all is required"},
      {{"show", "abstracts", "1", "-d", "x"}, 2, "", "abstract|patient|tumor"},
      {{"show", "abstract", "x", "-d", "x"}, 2, "", "ID"},
      {{"set", "abstract", "1", "LastName", "-d", "x"}, 2, "", "NAME=VALUE is expected"},
      {{"find", "patient", "-d", "x"}, 2, "", "NAME=VALUE is required"},
      {{"match", "--all"}, 2, "", "-d DIR or --registry CONN is required"},
      {{"import", "-d", "x"}, 2, "", "FILE is required"},
      {{"layout", "-d", "x", "--format", "xml"}, 2, "", "--format"},
      {{"init", "-d", "/nowhere/x", "--layout", "17"}, 2, "", "--layout"},
      {{"import", "-d", "/nowhere", "/nowhere/f"}, 1, "", "/nowhere/f: no such file"},
      {{"match", "-d", "/nowhere", "--all"}, 1, "", "no registry database at /nowhere/registry.db"},
      {{"match", "--registry", "Provider=Oracle;Password=hidden", "--all"},
       1,
       "",
       "error -2147220504"},
  });
  const ProgramResult hidden =
      Qm({"match", "--registry", "Provider=Oracle;Password=hidden", "--all", "--verbose"});
  EXPECT_THAT(hidden.err, Not(HasSubstr("hidden")));
}

TEST(Tool, EveryHelpTellsTheExitCodes) {
  for (const char* command : {"", "init", "generate", "import", "match", "find", "show", "set",
                              "log", "layout", "eval", "compare", "soundex"}) {
    std::vector<std::string> arguments = {"--help"};
    if (*command != '\0') arguments.insert(arguments.begin(), command);
    const ProgramResult result = Qm(arguments);
    EXPECT_EQ(result.exit_code, 0);
    EXPECT_EQ(result.err, "");
    EXPECT_THAT(result.out, HasSubstr("0 done, 1 failed, 2 wrong usage"));
  }
}

TEST(Tool, AClosedPipeIsAFailureAndNoCrash) {
  const ProgramResult closed = RunProgram(
      {"/bin/sh", "-c", "{ sleep 0.3; \"$0\" soundex Lee; echo $? >&2; } | true", QM_TOOL});
  EXPECT_THAT(closed.err, HasSubstr("\n1\n"));
  const ProgramResult full =
      RunProgram({"/bin/sh", "-c", "\"$0\" soundex Lee >/dev/full", QM_TOOL});
  EXPECT_EQ(full.exit_code, 1);
  EXPECT_THAT(full.err, HasSubstr("cannot write to standard output"));
}

// One registry for the tests that read; each test that writes makes a copy.
class ToolOnARegistry : public testing::Test {
 protected:
  static void SetUpTestSuite() {
    made_ = std::make_unique<TempFolder>();
    const std::string d = made_->File("made");
    setup_.push_back(Qm({"init", "-d", d, "--layout", "18", "--layout", "16"}));
    setup_.push_back(
        Qm({"generate", "-d", d, "--patients", "60", "--incoming", "20", "--seed", "3"}));
    setup_.push_back(Qm({"import", "-d", d, d + "/incoming.txt"}));
  }
  static void TearDownTestSuite() { made_.reset(); }

  ToolOnARegistry() : d_(folder_.File("d")) {
    fs::copy(made_->path() / "made", d_, fs::copy_options::recursive);
  }

  static inline std::unique_ptr<TempFolder> made_;
  static inline std::vector<ProgramResult> setup_;
  TempFolder folder_;
  std::string d_;
};

TEST_F(ToolOnARegistry, IsMadeFilledAndPrivate) {
  for (const ProgramResult& result : setup_) {
    EXPECT_EQ(result.exit_code, 0) << result.err;
    EXPECT_EQ(result.err, "");
  }
  EXPECT_THAT(setup_[2].out, HasSubstr("imported 20, rejected 0\n"));
  for (const char* file : {"registry.db", "control.db", "incoming.txt", "truth.csv"}) {
    const auto mode = fs::status(fs::path(d_) / file).permissions() & fs::perms::all;
    EXPECT_EQ(mode, fs::perms::owner_read | fs::perms::owner_write) << file;
  }
  const std::string before = QueryText(d_ + "/registry.db", "SELECT count(*) FROM Abstracts");
  ExpectCases({{{"init", "-d", d_}, 1, "", d_}});
  EXPECT_EQ(QueryText(d_ + "/registry.db", "SELECT count(*) FROM Abstracts"), before);
}

TEST_F(ToolOnARegistry, MatchListsCandidatesBestFirst) {
  const ProgramResult csv = Qm({"match", "-d", d_, "--all", "--format", "csv", "--cutoff", "0"});
  EXPECT_EQ(csv.exit_code, 0) << csv.err;
  std::istringstream lines(csv.out);
  std::string line;
  std::getline(lines, line);
  EXPECT_EQ(line,
            "AbsRefID,Rank,PatientID,Score,LastName,FirstName,MiddleName,PatientLastName,"
            "PatientFirstName,PatientMiddleName\r");
  long last_id = 0;
  long last_rank = 0;
  long last_score = 0;
  long last_patient = 0;
  int rows = 0;
  for (; std::getline(lines, line); ++rows) {
    long id = 0;
    long rank = 0;
    long patient = 0;
    long score = 0;
    ASSERT_EQ(std::sscanf(line.c_str(), "%ld,%ld,%ld,%ld,", &id, &rank, &patient, &score), 4);
    if (id == last_id) {
      EXPECT_EQ(rank, last_rank + 1);
      EXPECT_TRUE(score < last_score || (score == last_score && patient > last_patient)) << line;
    } else {
      EXPECT_GT(id, last_id);
      EXPECT_EQ(rank, 1);
    }
    last_id = id;
    last_rank = rank;
    last_score = score;
    last_patient = patient;
  }
  EXPECT_GT(rows, 5);
  EXPECT_EQ(Qm({"match", "-d", d_, "--all", "--cutoff", "32767", "--format", "json"}).out, "[]\n");
}

TEST_F(ToolOnARegistry, ExplainsWhatEachRuleAdded) {
  SqliteFile(d_ + "/registry.db")
      .Exec(
          "UPDATE Abstracts SET LastName = (SELECT LastName FROM Patients WHERE PatientID = 1),"
          " SocSec = (SELECT SocSec FROM Patients WHERE PatientID = 1) WHERE AbsRefID = 1");
  const ProgramResult result =
      Qm({"match", "-d", d_, "--abstract", "1", "--explain", "--format", "json", "--cutoff", "1"});
  EXPECT_EQ(result.exit_code, 0) << result.err;
  EXPECT_THAT(result.out, AllOf(StartsWith("[\n  {\"AbsRefID\": 1, \"Rank\": 1, \"PatientID\": "),
                                HasSubstr("\"Rule\": \""), HasSubstr("\"Added\": ")));
}

TEST_F(ToolOnARegistry, FailuresNameWhatFailedAndNoValue) {
  const auto match = [this](std::vector<std::string> more) {
    more.insert(more.begin(), {"match", "-d", d_});
    return Qm(std::move(more));
  };
  ProgramResult result = match({"--abstract", "4711"});
  EXPECT_EQ(result.exit_code, 1);
  EXPECT_THAT(result.err, HasSubstr("abstract 4711 does not exist"));

  const std::string name =
      QueryText(d_ + "/registry.db", "SELECT LastName FROM Abstracts WHERE AbsRefID = 1");
  for (const char* rule : {"Left(<<lastname>>", "nosuchfield", "Left(<<nosuchfield>>, 2)"}) {
    SqliteFile(d_ + "/registry.db")
        .Exec("UPDATE tblBlockingParameters SET AbstractField = '" + std::string(rule) + "'");
    result = match({"--abstract", "1"});
    EXPECT_EQ(result.exit_code, 1);
    EXPECT_EQ(result.out, "");
    EXPECT_THAT(result.err, AllOf(StartsWith("qm: matching abstract 1, rule "), HasSubstr(rule),
                                  Not(HasSubstr(name))));
  }
  SqliteFile(d_ + "/registry.db")
      .Exec("UPDATE tblBlockingParameters SET AbstractField = 'lastname', PatientField = 'nosuch'");
  result = match({"--abstract", "1"});
  EXPECT_EQ(result.exit_code, 1);
  EXPECT_THAT(result.err, AllOf(HasSubstr("table Patients"), Not(HasSubstr(name))));
  EXPECT_THAT(match({"--abstract", "1", "--verbose"}).err, HasSubstr(name));

  SqliteFile(d_ + "/control.db").Exec("DELETE FROM NAACCRParameters");
  ExpectCases(
      {{{"layout", "-d", d_}, 1, "", "NAACCR Parameters not found in the control database."},
       {{"import", "-d", d_, d_ + "/truth.csv"}, 1, "", "NAACCR Parameters not found"}});
}

// In memory, whole or in parts, as one by one: the same lines, then the same failure.
TEST_F(ToolOnARegistry, MatchingAllIsMatchingEach) {
  for (const std::string change :
       {"UPDATE Patients SET LastName = CAST(LastName AS BLOB) WHERE PatientID % 2 = 0",
        "UPDATE Patients SET PatientID = PatientID + 4000000000 WHERE PatientID % 9 = 0",
        "UPDATE Abstracts SET LastName = 'A' || char(0) WHERE AbsRefID = 3",
        "INSERT INTO tblBlockingParameters (AbstractField) VALUES (NULL)",
        "UPDATE tblBlockingParameters SET PatientField = 'nosuch', ignorevalues = '''1'',''2'''"
        ", AbstractField = 'Sex'; UPDATE Abstracts SET Sex = '1'",
        "UPDATE tblMatchingParameters SET FieldName = '<<LastName>>' WHERE FieldName = 'LastName'",
        "DROP TABLE tblBlockingParameters", "DROP TABLE Patients",
        "DELETE FROM Abstracts; DROP TABLE tblBlockingParameters"}) {
    SCOPED_TRACE(change);
    TempFolder folder;
    const std::string d = folder.File("d");
    fs::copy(d_, d, fs::copy_options::recursive);
    SqliteFile(d + "/registry.db")
        .Exec(
            "DELETE FROM Abstracts WHERE AbsRefID > 4; UPDATE tblTLCParameters SET "
            "PotentialPatientMatch = 1;" +
            change);
    ProgramResult each;
    each.exit_code = 0;
    std::string rows;
    for (int i = 1; i <= 4 && each.exit_code == 0; ++i) {
      if (QueryText(d + "/registry.db", "SELECT count(*) FROM Abstracts") == "0") break;
      each = Qm({"match", "-d", d, "--abstract", std::to_string(i), "--format", "csv"});
      if (const auto head = each.out.find('\n'); head != std::string::npos) {
        rows += each.out.substr(head + 1);
      }
    }
    for (const std::vector<std::string>& more : {std::vector<std::string>{}, {"--memory", "1"}}) {
      std::vector<std::string> arguments = {"match", "-d", d, "--all", "--format", "csv"};
      arguments.insert(arguments.end(), more.begin(), more.end());
      const ProgramResult all = Qm(arguments);
      EXPECT_EQ(all.exit_code, each.exit_code);
      EXPECT_EQ(all.err.substr(0, all.err.find(d)), each.err.substr(0, each.err.find(d)));
      EXPECT_EQ(all.out.empty() ? "" : all.out.substr(all.out.find('\n') + 1), rows);
    }
  }
}

TEST_F(ToolOnARegistry, LayoutPrintsOneFieldOrAll) {
  const std::string head =
      "Index,Item,Name,Start,Length,Justification,Prompting,AbsTable,PatTable,MedTable,"
      "Description\r\n";
  const ProgramResult by_item = Qm({"layout", "-d", d_, "2230", "--format", "csv"});
  EXPECT_THAT(by_item.out, StartsWith(head));
  EXPECT_THAT(by_item.out, HasSubstr(",2230,LastName,4049,40,L,"));
  EXPECT_EQ(Qm({"layout", "-d", d_, "lastname", "--format", "csv"}).out, by_item.out);
  const ProgramResult old = Qm({"layout", "-d", d_, "--layout", "16", "--format", "csv"});
  EXPECT_EQ(std::count(old.out.begin(), old.out.end(), '\n'), 567);
  ExpectCases({{{"layout", "-d", d_, "nosuch"}, 1, "", "Invalid Field Name: nosuch"},
               {{"layout", "-d", d_, "9999"}, 1, "", "no field with item number 9999"},
               {{"layout", "-d", d_, "--layout", "15"}, 1, "", "NAACCR Parameters not found"}});
}

TEST_F(ToolOnARegistry, ShowPrintsEveryFieldOfARecord) {
  SqliteFile(d_ + "/registry.db")
      .Exec("UPDATE Abstracts SET LastName = 'O\"Neil, x', Remarks = NULL WHERE AbsRefID = 2");
  const ProgramResult csv = Qm({"show", "abstract", "2", "-d", d_, "--format", "csv"});
  EXPECT_EQ(csv.exit_code, 0) << csv.err;
  EXPECT_THAT(csv.out, AllOf(StartsWith("Name,Value\r\nAbsRefID,2\r\n"),
                             HasSubstr("\r\nLastName,\"O\"\"Neil, x\"\r\n"),
                             HasSubstr("\r\ntextDxProcPe,\r\n"), Not(HasSubstr("\r\nRemarks,"))));
  for (const char* family : {"patient", "tumor"}) {
    const ProgramResult json = Qm({"show", family, "1", "-d", d_, "--format", "json"});
    EXPECT_EQ(json.exit_code, 0) << json.err;
    EXPECT_THAT(json.out, HasSubstr("{\"Name\": \"PatientID\", \"Value\": \""));
  }
  EXPECT_THAT(Qm({"show", "abstract", "3", "-d", d_, "--format", "xml"}).out,
              AllOf(StartsWith("<Recordset>\r\n<Record Row=\"1\">\r\n<Fields>\r\n <Field Name = "),
                    HasSubstr("</Record>\r\n</Recordset>\n"), HasSubstr("\"LastName\"")));
  ExpectCases(
      {{{"show", "abstract", "4711", "-d", d_}, 1, "", "abstract 4711 does not exist"},
       {{"show", "tumor", "4711", "-d", d_, "--format", "xml"}, 1, "", "tumor 4711 does not exist"},
       {{"show", "patient", "0", "-d", d_}, 1, "", "patient 0 does not exist"}});
}

TEST_F(ToolOnARegistry, SetSavesAllFieldsOrNone) {
  const auto row = [this] {
    return QueryText(d_ + "/registry.db",
                     "SELECT LastName, FirstName, Remarks LIKE '%mass%', DateFacUpdated FROM"
                     " Abstracts JOIN Abstracts_3 USING (AbsRefID) WHERE AbsRefID = 2");
  };
  const auto set = [this](std::vector<std::string> assignments) {
    assignments.insert(assignments.begin(), {"set", "abstract", "2", "-d", d_});
    return assignments;
  };
  const std::string before = row();
  const std::string unknown = "abstracts have no field 'NoSuch'";
  ExpectCases({{set({"LastName=Secret", "NoSuch=1"}), 1, "", unknown},
               {set({"LastName=Secret", "Project1] = 1 --=1"}), 1, "", "abstracts have no field"},
               {set({"LastName=Secret", "absrefid=3"}), 1, "", "cannot be set"},
               {{"set", "abstract", "4711", "LastName=Secret", "-d", d_}, 1, "", "abstract 4711"}});
  EXPECT_EQ(row(), before);
  ExpectCases({{set({"lastname=O'Brien=x", "DateFacUpdated=20260102", "TextDxProcPe=a mass"}), 0,
                "abstract 2 saved\n", ""}});
  EXPECT_TRUE(row().starts_with("O'Brien=x|") && row().ends_with("|1|20260102")) << row();

  const auto piped = [this](const std::string& lines) {
    return RunProgram({"/bin/sh", "-c",
                       "printf '" + lines + "' | \"$0\" set abstract 2 - -d \"$1\"", QM_TOOL, d_});
  };
  const ProgramResult empty = piped("LastName=\\r\\n\\nFirstName=Ada\\nSex=");
  EXPECT_EQ(empty.exit_code, 0);
  EXPECT_EQ(empty.out, "abstract 2 saved\n");
  EXPECT_THAT(empty.err, AllOf(StartsWith("qm: warning: critical fields are empty: "),
                               HasSubstr("LastName"), HasSubstr("Sex")));
  EXPECT_EQ(row(), "|Ada|1|20260102");
  const ProgramResult bad = piped("LastName=Secret\\nSecret\\n");
  EXPECT_EQ(bad.exit_code, 1);
  EXPECT_THAT(bad.err, AllOf(HasSubstr("standard input, line 2"), Not(HasSubstr("Secret"))));
  EXPECT_EQ(row(), "|Ada|1|20260102");

  SqliteFile(d_ + "/registry.db").Exec("INSERT INTO CRITICALFIELDS VALUES (9999, 2)");
  const ProgramResult unfit = Qm(set({"FirstName=Eve"}));
  EXPECT_EQ(unfit.exit_code, 0);
  EXPECT_THAT(unfit.err, AllOf(HasSubstr("NAACCR_Item_No 9999 in project 2 not found"),
                               HasSubstr("not all critical fields"), HasSubstr("LastName")));
}

TEST_F(ToolOnARegistry, FindListsThePatientsThatAgreeInAllFields) {
  SqliteFile(d_ + "/registry.db")
      .Exec(
          "UPDATE Patients SET LastName = 'O''Brien', FirstName = 'Ann', MiddleName = NULL WHERE"
          " PatientID IN (2, 3);"
          "UPDATE Patients SET FirstName = 'Bo' WHERE PatientID = 3;"
          "UPDATE Patients_2 SET DatePtUpdated = '20260102' WHERE PatientID = 2");
  const std::string head = "PatientID,LastName,FirstName,MiddleName\r\n";
  const auto find = [this](std::vector<std::string> assignments) {
    assignments.insert(assignments.begin(), {"find", "patient", "-d", d_, "--format", "csv"});
    return assignments;
  };
  const std::string ann = head + "2,O'Brien,Ann,\r\n";
  ExpectCases({{find({"LastName=O'Brien"}), 0, ann + "3,O'Brien,Bo,\r\n", ""},
               {find({"lastname=O'Brien", "FirstName=Ann", "MiddleName="}), 0, ann, ""},
               {find({"LastName=O'Brien", "DatePtUpdated=20260102"}), 0, ann, ""},
               {find({"PatientID=2"}), 0, ann, ""},
               {find({"LastName=' OR '1'='1"}), 0, head, ""},
               {find({"NoSuch=1"}), 1, "", "patients have no field 'NoSuch'"},
               {find({"Project1] = '' OR 1 = 1 --=1"}), 1, "", "patients have no field"}});
}

TEST_F(ToolOnARegistry, AMissingFileAmongSeveralStopsBeforeTheFirst) {
  const std::string good = folder_.Write("good.txt", "no record\n");
  ExpectCases({{{"import", "-d", d_, good, good + "x"}, 1, "", good + "x: no such file"}});
  EXPECT_EQ(QueryText(d_ + "/registry.db", "SELECT count(*) FROM QMImports"), "1");
  const ProgramResult json =
      Qm({"import", "-d", d_, good, d_ + "/incoming.txt", "--format", "json"});
  EXPECT_THAT(json.out,
              AllOf(HasSubstr("\"Imported\": 0, \"Rejected\": 1, \"AlreadyImported\": \"no\""),
                    HasSubstr("\"Imported\": 20, \"Rejected\": 0, \"AlreadyImported\": "
                              "\"yes\"")));
  EXPECT_TRUE(fs::exists(d_ + "/good.txt.rejects"));
}

TEST_F(ToolOnARegistry, ALockedDatabaseIsToldAfterTheTimeOut) {
  SqliteFile other(d_ + "/registry.db");
  other.Exec("BEGIN IMMEDIATE");
  const std::string file = folder_.Write("f.txt", "no record\n");
  ExpectCases({{{"import", "-d", d_, file, "--timeout", "1"}, 1, "", "error 3254 "}});
}

}  // namespace
}  // namespace qm::test
