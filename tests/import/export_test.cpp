// Exports from a small registry: what an exported line holds beyond the record buffers, where it
// goes, and that a failure leaves nothing behind.
#include <gtest/gtest.h>
#include <qm/exporter.h>
#include <qm/importer.h>
#include <sys/resource.h>
#include <zlib.h>

#include <csignal>
#include <sstream>

#include "support/raises.h"
#include "support/run_program.h"
#include "support/small_registry.h"

namespace qm {
namespace {

namespace fs = std::filesystem;

using Ids = std::vector<std::int32_t>;

class Export : public testing::Test {
 protected:
  Export()
      : registry_({{10, "RecType", 1, 1, "", "L", 1, 0, 1},
                   {2230, "LastName", 2, 10, "", "L", 1, 1, 0},
                   {50, "Version", 17, 3, "", "L", 1, 0, 1},
                   {240, "BirthDate", 20, 8, "", "D", 2, 2, 0},
                   {2320, "SocSec", 31, 4, "", "Y", 4, 1, 0},
                   {522, "HistCode", 35, 4, "", "Z", 2, 0, 2},
                   {2600, "TextDx", 39, 10, "X", "L", 1, 0, 0}}) {
    registry_.ChangeControl(
        "UPDATE Fields SET patGrid = -(PatTable > 0), medGrid = -(MedTable > 0);"
        "UPDATE [NAACCR Versions] SET LenAbstract = 48 WHERE VersionID = '18'");
    registry_.ChangeRegistry(
        "ALTER TABLE Abstracts ADD COLUMN Version TEXT;"
        "ALTER TABLE MedicalSum ADD COLUMN Version TEXT;"
        "UPDATE Abstracts SET Remarks = 'dx' || char(2)");
    fs::create_directory(registry_.folder.path() / "out");
  }

  std::string File(const std::string& name) const { return registry_.folder.File("out/" + name); }
  std::string Read(const std::string& name) const { return registry_.folder.Read("out/" + name); }
  static std::string Text(const Ids& ids, bool tumors = false, bool crlf = false) {
    ExportOptions options;
    options.crlf = crlf;
    Exporter exporter(options);
    std::ostringstream out;
    tumors ? exporter.ExportTumors(ids, out) : exporter.ExportAbstracts(ids, out);
    return out.str();
  }
  std::vector<std::string> Command(std::vector<std::string> words) const {
    words.insert(words.begin(), {QM_TOOL, "export"});
    words.insert(words.end(), {"--registry", test::SqliteConnectionString(registry_.registry_path),
                               "--control", test::SqliteConnectionString(registry_.control_path)});
    return words;
  }

  test::SmallRegistry registry_;
};

TEST_F(Export, EveryLineIsARecordOfItsTypeAndVersion) {
  struct Case {
    const char* assignments;  // of abstract 6
    const char* line;
  };
  const Case cases[] = {{"RecType = 'I'", "INg             18012311999   "},
                        {"RecType = 'C'", "CNg             18012311999   0456"},
                        {"RecType = 'M'", "MNg             18012311999   0456    dx        "},
                        {"RecType = ''", "ANg             18012311999   0456    dx        "},
                        {"RecType = NULL", "ANg             18012311999   0456    dx        "},
                        {"RecType = 'L'", "ANg             18012311999   0456    dx        "},
                        {"Version = '181'", "ANg             18112311999   0456    dx        "},
                        {"Version = '90'", "ANg             18012311999   0456    dx        "},
                        {"LastName = 'Ñ' || char(13, 10, 9, 0, 127) || 'x'",
                         "AÑ  \t  x        18112311999   0456    dx        "}};
  registry_.ChangeRegistry("UPDATE Abstracts_3 SET SocSec = '456' WHERE AbsRefID = 6");
  for (const Case& c : cases) {
    registry_.ChangeRegistry(std::string("UPDATE Abstracts SET ") + c.assignments +
                             " WHERE AbsRefID = 6");
    if (std::string_view(c.assignments).starts_with("LastName")) {
      registry_.ChangeRegistry("UPDATE Abstracts SET Version = '181' WHERE AbsRefID = 6");
    }
    EXPECT_EQ(Text({6}), std::string(c.line) + "\n") << c.assignments;
  }
}

TEST_F(Export, TheRecordsAskedForInTheirOrderOrAll) {
  const auto line = [](const char* start, const char* rest) {
    return start + std::string("180") + rest;
  };
  const std::string garcia = line("AGarcia         ", "02032001   01238000dx        ");
  // An empty number stays blank, whatever its code pads with.
  const std::string li = line("ALi             ", "                   dx        ");
  const std::string ng = line("INg             ", "12311999   ");
  EXPECT_EQ(Text({}), garcia + "\n" + ng + "\n" + li + "\n");
  EXPECT_EQ(Text({8, 5, 8}, false, true), li + "\r\n" + garcia + "\r\n" + li + "\r\n");
  EXPECT_EQ(Text({72, 71}, true), line("ALi             ", "                             \n") +
                                      line("IGarcia         ", "02032001   \n"));
  // A key that the library's own operations take for "not given".
  registry_.ChangeRegistry(
      "UPDATE Abstracts SET AbsRefID = -1 WHERE AbsRefID = 6;"
      "UPDATE Abstracts_2 SET AbsRefID = -1 WHERE AbsRefID = 6;"
      "UPDATE Abstracts_3 SET AbsRefID = -1 WHERE AbsRefID = 6");
  EXPECT_EQ(Text({}), ng + "\n" + garcia + "\n" + li + "\n");
}

TEST_F(Export, AllRecordsAreThoseOfItsBeginning) {
  registry_.ChangeRegistry("PRAGMA journal_mode = WAL");
  const std::string before = Text({});
  ExportOptions options;
  options.progress = [this](std::int64_t done, std::int64_t total) {
    EXPECT_EQ(total, 3);
    if (done == 1) {
      registry_.ChangeRegistry(
          "UPDATE Abstracts SET LastName = 'X'; DELETE FROM Abstracts_2 WHERE AbsRefID = 8;"
          "INSERT INTO Abstracts (AbsRefID) VALUES (7)");
    }
  };
  std::ostringstream out;
  Exporter(options).ExportAbstracts({}, out);
  EXPECT_EQ(out.str(), before);
}

TEST_F(Export, AFileIsPrivateCompressedByItsNameAndReplacedOnlyOnRequest) {
  ExportOptions options;
  Exporter exporter(options);
  EXPECT_EQ(exporter.ExportAbstracts({}, File("a.txt")).records, 3);
  EXPECT_EQ(Read("a.txt"), Text({}));
  EXPECT_EQ(fs::status(File("a.txt")).permissions(),
            fs::perms::owner_read | fs::perms::owner_write);
  EXPECT_EQ(test::Raises([&] { exporter.ExportAbstracts({}, File("a.txt")); }).number, 58);

  options.replace = true;
  fs::create_symlink(File("a.txt"), File("link"));
  Exporter(options).ExportTumors({}, File("link"));
  EXPECT_TRUE(fs::is_symlink(File("link")));
  EXPECT_EQ(Read("a.txt"), Text({}, true));

  Ids many;
  for (int i = 0; i < 3000; ++i) many.push_back(i % 2 == 0 ? 5 : 8);
  EXPECT_EQ(exporter.ExportAbstracts(many, File("b.gz")).records, 3000);
  EXPECT_LT(fs::file_size(File("b.gz")), 20000U);
  const gzFile gzip = gzopen(File("b.gz").c_str(), "rb");
  std::string text(200000, ' ');
  text.resize(static_cast<std::size_t>(gzread(gzip, text.data(), 200000)));
  gzclose_r(gzip);
  EXPECT_EQ(text, Text(many));
}

TEST_F(Export, AFailureNamesTheRecordOrTheFileAndLeavesNothing) {
  registry_.ChangeRegistry(
      "INSERT INTO Abstracts (AbsRefID, LastName) VALUES (20, ''), (21, CAST(x'41C3' AS TEXT));"
      "INSERT INTO Abstracts_2 (AbsRefID) VALUES (21);"
      "INSERT INTO Abstracts_3 (AbsRefID) VALUES (21);"
      "INSERT INTO MedicalSum (MedRefID, PatientID) VALUES (80, NULL), (81, -1), (82, 44)");
  struct Case {
    bool tumors;
    Ids ids;
    const char* file;
    const char* version;
    std::int32_t number;
    const char* description;
    std::int32_t record;
  };
  const Case cases[] = {
      {false, {5, 99}, "x", "", kErrNoCurrentRecord, "abstract 99 does not exist", 99},
      {false, {-2}, "x.gz", "", kErrNoCurrentRecord, "abstract -2 does not exist", -2},
      {true, {70, 99}, "x", "", kErrNoCurrentRecord, "tumor 99 does not exist", 99},
      {true, {80}, "x", "", kErrNoCurrentRecord, "tumor 80 has no patient", 80},
      {true, {81}, "x", "", kErrNoCurrentRecord, "patient -1 of tumor 81 does not exist", 81},
      {true, {}, "x", "", kErrNoCurrentRecord, "tumor 80 has no patient", 80},
      {false, {5, 20}, "x", "", kObjectErrorBase + 1107, "", 20},
      {false, {21}, "x", "", 321, "the record holds bytes that are no text in UTF-8", 21},
      {false, {}, "x", "17", 1115, "NAACCR Version 17 not found in the control database.", 0},
      {false, {}, "missing/x", "", 75, "cannot write ", 0},
      {false, {}, "", "", 75, "not a regular file", 0},
      {false, {}, "../../../../../../../../dev/null", "", 75, "not a regular file", 0}};
  for (const Case& c : cases) {
    ExportOptions options;
    options.version = c.version;
    options.replace = true;
    Exporter exporter(options);
    const test::Failure failure = test::Raises([&] {
      c.tumors ? exporter.ExportTumors(c.ids, File(c.file))
               : exporter.ExportAbstracts(c.ids, File(c.file));
    });
    EXPECT_EQ(failure.number, c.number) << c.description << failure.description;
    EXPECT_NE(failure.description.find(c.description), std::string::npos) << failure.description;
    EXPECT_EQ(exporter.RecordInWork(), c.record) << c.description;
    EXPECT_TRUE(fs::is_empty(File(""))) << c.description;
  }
}

TEST_F(Export, AFullDiskLeavesNothing) {
  const auto before = std::signal(SIGXFSZ, SIG_IGN);
  rlimit unlimited{};
  getrlimit(RLIMIT_FSIZE, &unlimited);
  const rlimit small = {50000, unlimited.rlim_max};
  setrlimit(RLIMIT_FSIZE, &small);
  const test::Failure failure =
      test::Raises([&] { Exporter().ExportAbstracts(Ids(3000, 5), File("x")); });
  setrlimit(RLIMIT_FSIZE, &unlimited);
  std::signal(SIGXFSZ, before);
  EXPECT_EQ(failure.number, 75);
  EXPECT_EQ(failure.description, File("x") + ": cannot be written");
  EXPECT_TRUE(fs::is_empty(File("")));
}

TEST_F(Export, TheProgramWritesFilesAndStandardOutput) {
  struct Case {
    std::vector<std::string> words;
    int exit_code;
    std::string out;
    std::string err;
  };
  const std::string file = File("a.txt");
  const Case cases[] = {
      {{"--abstracts", "-o", "-"}, 0, Text({}), ""},
      {{"--tumors", "71", "70", "-o", "-", "--crlf"}, 0, Text({71, 70}, true, true), ""},
      {{"--abstracts", "-o", file}, 0, file + ": exported 3 records\n", ""},
      {{"--tumors", "70", "-o", file, "--replace", "--format", "csv"},
       0,
       "File,Records\r\n" + file + ",1\r\n",
       ""},
      {{"--tumors", "-o", file}, 1, "", "qm: exporting records: error 58 "},
      {{"--tumors", "70", "7", "-o", File("b")}, 1, "", "qm: exporting tumor 7: error 3021 "},
      {{"-o", "x"}, 2, "", "--abstracts or --tumors"},
      {{"--abstracts", "--tumors", "-o", "x"}, 2, "", "excludes"},
      {{"--abstracts", "five", "-o", "x"}, 2, "", "five"},
      {{"--abstracts"}, 2, "", "-o"},
      {{"--abstracts", "-o", "x", "--layout", "17"}, 2, "", "17"}};
  for (const Case& c : cases) {
    const test::ProgramResult result = test::RunProgram(Command(c.words));
    EXPECT_EQ(result.exit_code, c.exit_code) << result.err;
    EXPECT_EQ(result.out, c.out);
    EXPECT_NE(result.err.find(c.err), std::string::npos) << result.err;
  }
  EXPECT_EQ(Read("a.txt"), Text({70}, true));
  EXPECT_FALSE(fs::exists(File("b")));
}

}  // namespace
}  // namespace qm
