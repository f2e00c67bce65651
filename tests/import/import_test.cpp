// Files of records into a small registry: what is stored, what is rejected, and that an
// interruption at any moment neither loses nor doubles anything.
#include <gtest/gtest.h>
#include <qm/importer.h>
#include <zlib.h>

#include <algorithm>
#include <chrono>
#include <thread>

#include "datasets/import_lines.h"
#include "datasets/import_source.h"
#include "support/raises.h"
#include "support/run_program.h"
#include "support/small_registry.h"

namespace qm {
namespace {

using test::SmallRegistry;

constexpr const char* kStored =
    "SELECT AbsRefID, RecType, LastName, BirthDate, SocSec, HistCode, replace(Remarks, char(2),"
    " '~') FROM Abstracts JOIN Abstracts_2 USING (AbsRefID) JOIN Abstracts_3 USING (AbsRefID)"
    " WHERE AbsRefID > 10 ORDER BY AbsRefID";

std::string Put(std::string record, std::size_t column, std::string_view value) {
  return record.replace(column - 1, value.size(), value);
}

// Version 18: record type, name, birth date and so on; A has 78 columns, I 30.
std::string Abstract18(std::string_view name, std::string_view texts = "") {
  std::string record(78, ' ');
  record = Put(Put(Put(std::move(record), 1, "A"), 17, "180"), 20, "12251960");
  record = Put(Put(Put(std::move(record), 28, "123"), 41, " 8 "), 2, name);
  return Put(std::move(record), 45, texts);
}

// Version 11 with its own columns; I has 40.
std::string Incidence11(std::string_view name) {
  return Put(Put(Put(Put(std::string(40, ' '), 1, "I"), 19, "B"), 21, name), 31, "12251960");
}

class Import : public testing::Test {
 protected:
  Import()
      : registry_({{10, "RecType", 1, 1, "", "L", 1, 0, 1},
                   {2230, "LastName", 2, 10, "", "L", 1, 1, 0},
                   {240, "BirthDate", 20, 8, "", "D", 2, 2, 0},
                   {2320, "SocSec", 28, 9, "", "Y", 4, 1, 0},
                   {522, "HistCode", 41, 4, "", "Z", 2, 0, 2},
                   {2600, "TextDx", 45, 14, "X", "L", 1, 0, 0},
                   {2510, "TextHx", 59, 20, "X", "L", 1, 0, 0}}) {
    registry_.ChangeControl(
        "CREATE TABLE Fields11 AS SELECT * FROM Fields;"
        "UPDATE Fields11 SET ColumnStart = CASE FieldName WHEN 'RecType' THEN 1"
        " WHEN 'LastName' THEN 21 WHEN 'BirthDate' THEN 31 ELSE 41 END;"
        "INSERT INTO NAACCRParameters VALUES (11, 'Fields11', 'B', 'B', '');"
        "INSERT INTO [NAACCR Versions] VALUES ('11', 50, 40, 45, 19, 1, 5)");
    registry_.ChangeRegistry(
        "CREATE TABLE QMImports (Digest TEXT PRIMARY KEY, FileName TEXT, LinesDone INTEGER,"
        " BytesDone INTEGER, Imported INTEGER, Rejected INTEGER, Finished INTEGER)");
  }

  static ImportSummary ImportFile(const std::string& file, ImportOptions options = {}) {
    return Importer(std::move(options)).ImportFile(file);
  }
  std::string Write(const std::string& name, const std::string& content) const {
    return registry_.folder.Write(name, content);
  }
  std::string WriteGzip(const std::string& name, const std::string& content) const {
    std::string path = registry_.folder.File(name);
    const gzFile file = gzopen(path.c_str(), "wb");
    gzwrite(file, content.data(), static_cast<unsigned>(content.size()));
    gzclose_w(file);
    return path;
  }
  std::vector<std::string> ImportCommand(const std::string& file, const std::string& batch) const {
    return {QM_TOOL,      "import",
            "--registry", test::SqliteConnectionString(registry_.registry_path),
            "--control",  test::SqliteConnectionString(registry_.control_path),
            "--batch",    batch,
            file};
  }
  static std::string Records(int count) {
    std::string text;
    for (int i = 1; i <= count; ++i) {
      text += i % 10 == 0 ? "no record\n" : Abstract18("N" + std::to_string(i)) + "\n";
    }
    return text;
  }
  void ExpectAllOnce(int count) const {
    const std::string expected = std::to_string(count - count / 10);
    EXPECT_EQ(registry_.Registry("SELECT count(*), count(DISTINCT LastName), max(AbsRefID) - 10,"
                                 " (SELECT count(*) FROM Abstracts_2) - 3,"
                                 " (SELECT count(*) FROM Abstracts_3) - 3"
                                 " FROM Abstracts WHERE AbsRefID > 10"),
              expected + "|" + expected + "|" + expected + "|" + expected + "|" + expected);
    // In file order.
    EXPECT_EQ(registry_.Registry("SELECT count(*) FROM Abstracts a JOIN Abstracts b ON b.AbsRefID ="
                                 " a.AbsRefID + 1 WHERE a.AbsRefID > 10 AND"
                                 " CAST(substr(a.LastName, 2) AS INTEGER) >"
                                 " CAST(substr(b.LastName, 2) AS INTEGER)"),
              "0");
    // And each has its row in the audit log, in that order too.
    EXPECT_EQ(registry_.Registry("SELECT count(*), sum(Detail = 'line ' || substr(LastName, 2)),"
                                 " (SELECT count(*) FROM QMAudit), sum(RecordID - 10 = place)"
                                 " FROM (SELECT *, row_number() OVER (ORDER BY AuditKey) AS place"
                                 " FROM QMAudit JOIN Abstracts ON AbsRefID = RecordID"
                                 " WHERE Action = 'import' AND RecordKind = 'abstract')"),
              expected + "|" + expected + "|" + expected + "|" + expected);
  }

  SmallRegistry registry_;
};

TEST_F(Import, StoresEveryRecordAndRejectsEveryOtherLineWhateverTheFileIs) {
  struct Case {
    const char* name;
    const char* line_end;
    bool last_ends;
    bool gzip;
    bool windows;
    const char* start;
  };
  const Case cases[] = {{"plain", "\n", true, false, false, ""},
                        {"no_end", "\n", false, false, false, ""},
                        {"dos", "\r\n", true, false, true, ""},
                        {"dos.gz", "\r\n", false, true, false, "\xEF\xBB\xBF"},
                        {"misnamed", "\n", true, true, true, ""}};
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    const std::string n = c.windows ? "\xD1" : "Ñ";
    const std::string mu = Abstract18("MU" + n + "OZ", "dx \\ \" --");
    const std::string munoz = c.windows ? mu : mu.substr(0, 7) + " " + mu.substr(7);
    // What stands in the file, and why it is rejected.
    const std::vector<std::pair<std::string, std::string>> lines = {
        {munoz, ""},
        {"short A", "no known version code"},
        {Incidence11("O'BRIEN"), ""},
        {Put(Abstract18("X"), 1, "L"), "record type 'L' in column 1"},
        {Abstract18("X") + " ", "length 79; a version 18 record of type A has 78"},
        {"", "empty line"},
        {Put(Abstract18("X"), 17, "179"), "no known version code"},
        {Put(Abstract18("X"), 50, "\x02"), "control character with code 2 in column 50"},
        {Put(Abstract18("D'ARC", " it's "), 1, "M"), ""},
        {std::string(kMaxLineBytes + 5, 'A'), "longer than"},
        {Put(Abstract18("181"), 17, "181"), ""}};
    std::string content = c.start;
    for (std::size_t i = 0; i < lines.size(); ++i) {
      content += lines[i].first;
      if (i + 1 < lines.size() || c.last_ends) content += c.line_end;
    }
    // Cases differ in their content, and ids go on.
    content = content.insert(content.find("short"), c.name);
    const std::string file = c.gzip ? WriteGzip(c.name, content) : Write(c.name, content);
    registry_.ChangeRegistry(
        "DELETE FROM Abstracts WHERE AbsRefID > 10; DELETE FROM Abstracts_2 WHERE AbsRefID > 10;"
        "DELETE FROM Abstracts_3 WHERE AbsRefID > 10;"
        "UPDATE BaseIDs SET BaseID = 10 WHERE BaseIDName = 'AbsRefID'");

    ImportOptions options;
    options.batch = 3;
    const ImportSummary summary = ImportFile(file, options);
    EXPECT_EQ(summary.imported, 4);
    EXPECT_EQ(summary.rejected, 7);
    EXPECT_EQ(registry_.Registry(kStored),
              "11|A|MUÑOZ|19601225|000000123|8000|~dx \\ \" --~;"
              "12|I|O'BRIEN|19601225|||~~;"
              "13|M|D'ARC|19601225|000000123|8000|~it's~;"
              "14|A|181|19601225|000000123|8000|~~");

    ASSERT_EQ(summary.rejects, file + ".rejects");
    EXPECT_EQ(std::filesystem::status(summary.rejects).permissions(),
              std::filesystem::perms::owner_read | std::filesystem::perms::owner_write);
    std::string rejects = registry_.folder.Read(std::string(c.name) + ".rejects");
    for (std::size_t i = 0; i < lines.size(); ++i) {
      if (lines[i].second.empty()) continue;
      const std::string reason = "# line " + std::to_string(i + 1) + ": " + lines[i].second;
      ASSERT_EQ(rejects.substr(0, reason.size()), reason);
      rejects.erase(0, rejects.find('\n') + 1);
      std::string line = (i == 1 ? c.name : "") + lines[i].first;
      if (i + 1 < lines.size() || c.last_ends) line += c.line_end;
      ASSERT_TRUE(rejects.starts_with(line)) << i;
      rejects.erase(0, line.size());
    }
    EXPECT_EQ(rejects, "");
  }
}

TEST_F(Import, RejectsWhatNoAlphabetHas) {
  const std::string file = Write("f", Abstract18("\xD1") + "\n" + Abstract18("\x81") + "\n");
  const ImportSummary summary = ImportFile(file);
  EXPECT_EQ(summary.imported, 1);
  EXPECT_NE(registry_.folder.Read("f.rejects").find("# line 2: neither UTF-8"), std::string::npos);
}

TEST_F(Import, RefusesWholeFilesThatAreNoTextAndLeavesTheRegistryAlone) {
  WriteGzip("whole.gz", Records(400));
  const std::string gzip = registry_.folder.Read("whole.gz");
  std::string damaged = gzip;
  for (std::size_t i = damaged.size() / 2; i < damaged.size() / 2 + 20; ++i) damaged[i] ^= '\x55';
  struct Case {
    std::string file;
    std::int32_t number;
    std::string message;
  };
  const Case cases[] = {
      {registry_.folder.File("missing"), kErrFileNotFound, "no such file"},
      {registry_.folder.path().string(), kErrPathAccess, "not a regular file"},
      {Write("binary", Records(3) + std::string("a\0b\n", 4)), kErrFileFormat, "line 4: a NUL"},
      {Write("cut.gz", gzip.substr(0, gzip.size() - 9)), kErrFileFormat, "end too early"},
      {Write("head.gz", gzip.substr(0, 5)), kErrFileFormat, "end too early"},
      {Write("damaged.gz", damaged), kErrFileFormat, "damaged"},
      {Write("empty.gz", ""), kErrFileFormat, "end too early"},
      {Write("image", Records(3) + std::string(20, '\x01') + "\xFF\n"), kErrFileFormat, "binary"}};
  for (const Case& c : cases) {
    const test::Failure failure = test::Raises([&c] { ImportFile(c.file); });
    EXPECT_EQ(failure.number, c.number) << c.file;
    EXPECT_EQ(failure.description.find(c.file + ": "), 0U) << failure.description;
    EXPECT_NE(failure.description.find(c.message), std::string::npos) << failure.description;
  }
  EXPECT_EQ(registry_.Registry("SELECT count(*), (SELECT count(*) FROM QMImports) FROM Abstracts"),
            "3|0");
}

TEST_F(Import, KnowsAFileAgainByItsContent) {
  const std::string text = Records(12);
  const std::string file = Write("f", text);
  ImportFile(file);
  const ImportSummary second = ImportFile(WriteGzip("g", text));
  EXPECT_TRUE(second.already_imported);
  EXPECT_EQ(second.imported, 11);
  EXPECT_EQ(second.rejected, 1);
  ExpectAllOnce(12);

  ImportOptions again;
  again.again = true;
  EXPECT_FALSE(ImportFile(file, again).already_imported);
  EXPECT_EQ(registry_.Registry("SELECT count(*) FROM Abstracts WHERE AbsRefID > 10"), "22");
  // The same rejects take the same place; others do not push them out.
  EXPECT_FALSE(std::filesystem::exists(file + ".rejects.1"));
  const std::string first_rejects = registry_.folder.Read("f.rejects");
  ImportFile(Write("f", "other\n"));
  EXPECT_EQ(registry_.folder.Read("f.rejects.1"), first_rejects);
  EXPECT_NE(registry_.folder.Read("f.rejects").find("other\n"), std::string::npos);
}

TEST_F(Import, AFileOfWhichNothingWasTakenStartsAgain) {
  const std::string file = Write("f", Incidence11("LATER") + "\n");
  ImportOptions wrong;
  wrong.version = "18";
  EXPECT_EQ(ImportFile(file, wrong).rejected, 1);
  const ImportSummary right = ImportFile(file);
  EXPECT_FALSE(right.already_imported);
  EXPECT_EQ(right.imported, 1);
  EXPECT_EQ(right.rejected, 0);
}

TEST_F(Import, RefusesTheFileItselfForItsRejects) {
  const std::string text = Records(10);
  const std::string file = Write("f", text);
  ImportOptions options;
  options.rejects = registry_.folder.path() / "." / "f";
  EXPECT_EQ(test::Raises([&] { ImportFile(file, options); }).number, kErrPathAccess);
  std::filesystem::create_symlink(file, file + ".rejects");
  EXPECT_EQ(test::Raises([&] { ImportFile(file); }).number, kErrPathAccess);
  EXPECT_EQ(registry_.folder.Read("f"), text);
  EXPECT_EQ(registry_.Registry("SELECT count(*) FROM QMImports"), "0");
}

TEST_F(Import, RemovesWhatKilledImportsLeftOfTheSameRejects) {
  // No process has so high a number; process 1 is always there.
  const std::string gone = Write("f.rejects.partial-999999999", "");
  const std::string kept[] = {Write("f.rejects.partial-1", ""), Write("f.rejects.partial-x", ""),
                              Write("g.rejects.partial-999999999", "")};
  ImportFile(Write("f", Records(10)));
  EXPECT_FALSE(std::filesystem::exists(gone));
  for (const std::string& other : kept) EXPECT_TRUE(std::filesystem::exists(other)) << other;
}

TEST_F(Import, TakesTheLayoutThatIsAskedFor) {
  ImportOptions options;
  options.version = "11.3";
  const std::string record = Put(Incidence11("FORCED"), 17, "180");
  EXPECT_EQ(ImportFile(Write("f", record + "\n"), options).imported, 1);
  EXPECT_EQ(registry_.Registry("SELECT LastName FROM Abstracts WHERE AbsRefID = 11"), "FORCED");

  options.version = "17";
  const test::Failure failure = test::Raises([&] { ImportFile(Write("g", "x"), options); });
  EXPECT_EQ(failure.number, 1115);
  EXPECT_EQ(failure.description, "NAACCR Version 17 not found in the control database.");

  for (const char* version : {"foo", "17", "11.9"}) {
    std::vector<std::string> command = ImportCommand(Write("g", "x"), "3");
    command.insert(command.end(), {"--layout", version});
    EXPECT_EQ(test::RunProgram(command).exit_code, 2) << version;
  }
}

TEST_F(Import, AFailureKeepsTheFinishedTransactionsAndTheNextRunGoesOn) {
  registry_.ChangeRegistry(
      "CREATE TRIGGER Refuse BEFORE INSERT ON Abstracts WHEN NEW.LastName = 'N7' BEGIN"
      " SELECT RAISE(ABORT, 'refused'); END");
  const std::string file = Write("f", Records(12));
  ImportOptions options;
  options.batch = 5;
  Importer importer(options);
  EXPECT_NE(test::Raises([&] { importer.ImportFile(file); }).number, 0);
  EXPECT_EQ(importer.Line(), 7);
  EXPECT_EQ(registry_.Registry("SELECT max(AbsRefID) FROM Abstracts"), "15");
  EXPECT_FALSE(std::filesystem::exists(file + ".rejects"));

  registry_.ChangeRegistry("DROP TRIGGER Refuse");
  const ImportSummary summary = importer.ImportFile(file);
  EXPECT_EQ(summary.resumed_at, 5);
  EXPECT_EQ(summary.imported, 11);
  EXPECT_EQ(summary.rejected, 1);
  ExpectAllOnce(12);

  registry_.ChangeRegistry("DELETE FROM BaseIDs");
  const test::Failure failure = test::Raises([&] { importer.ImportFile(Write("g", Records(1))); });
  EXPECT_NE(failure.description.find("counter AbsRefID"), std::string::npos);
}

TEST_F(Import, KilledAtAnyMomentAndRunAgainItLosesAndDoublesNothing) {
  constexpr int kLines = 200;
  const std::string file = Write("f", Records(kLines));
  int kills = 0;
  for (int run = 0; run < 12; ++run) {
    const std::string before = registry_.Registry("SELECT max(LinesDone) FROM QMImports");
    test::Program program(ImportCommand(file, "3"));
    // Not before it has begun to store, so that every run gets somewhere.
    while (program.Running() &&
           registry_.Registry("SELECT max(LinesDone) FROM QMImports") == before) {
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(run % 5));
    program.Kill();
    if (program.Wait().exit_code < 0) ++kills;
  }
  EXPECT_GT(kills, 3);
  const test::ProgramResult last = test::RunProgram(ImportCommand(file, "3"));
  EXPECT_EQ(last.exit_code, 0) << last.err;
  EXPECT_NE(last.out.find("imported 180, rejected 20"), std::string::npos) << last.out;
  ExpectAllOnce(kLines);
  const std::string rejects = registry_.folder.Read("f.rejects");
  EXPECT_EQ(std::count(rejects.begin(), rejects.end(), '#'), 20);
}

TEST_F(Import, TwoAtOnceShareTheWork) {
  const std::string file = Write("f", Records(150));
  test::Program first(ImportCommand(file, "4"));
  test::Program second(ImportCommand(file, "7"));
  for (const auto& result : {first.Wait(), second.Wait()}) {
    EXPECT_EQ(result.exit_code, 0) << result.err;
    EXPECT_NE(result.out.find("imported 135, rejected 15"), std::string::npos) << result.out;
  }
  ExpectAllOnce(150);
}

}  // namespace
}  // namespace qm
