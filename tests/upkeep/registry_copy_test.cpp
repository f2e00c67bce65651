// A copy holds every row of both databases, goes on after an interruption, and spares what is
// there.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <qm/registry_check.h>
#include <qm/registry_copy.h>
#include <qm/registry_setup.h>

#include "support/raises.h"
#include "support/servers.h"
#include "support/sqlite_fixture.h"

namespace qm::test {
namespace {

struct Interrupted {};

class RegistryCopyTest : public testing::Test {
 protected:
  RegistryCopyTest() {
    CreateRegistryFolder(folder_.path() / "a", {{"11.3"}});
    MakeEmptyFolder(folder_.path() / "b");
    SqliteFile registry(folder_.File("a/registry.db"));
    registry.Exec(
        "WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n WHERE i < 12000) "
        "INSERT INTO Patients (PatientID, LastName, FirstName) SELECT i * 3, 'NAME' || i, "
        "CASE i % 1000 WHEN 0 THEN NULL WHEN 1 THEN '' WHEN 2 THEN 'O''NEIL \\' ELSE ' MUÑOZ ' END "
        "FROM n; UPDATE tblMatchingParameters SET Weight = 0.1 + 0.2 WHERE MatchingID = 2;"
        "UPDATE BaseIDs SET BaseID = 36000; CREATE TABLE Own (Word TEXT, Amount REAL); INSERT INTO "
        "Own VALUES ('x', 1), ('x', 1)");
  }

  RegistryPair Open(const std::string& place) const {
    return {OpenSqlite(folder_.File(place + "/registry.db")),
            OpenSqlite(folder_.File(place + "/control.db"))};
  }
  std::vector<CopiedTable> Copy(const std::string& from, const std::string& to,
                                const CopyProgress& progress = {}) const {
    return CopyRegistry(Open(from), Open(to), progress);
  }
  // All that a database holds, by the engine.
  std::string Rows(const std::string& file) const {
    SqliteFile database(folder_.File(file));
    std::string rows;
    for (const char* table : {"Patients", "tblMatchingParameters", "BaseIDs", "displayfields"}) {
      if (file.find("registry") == std::string::npos) break;
      rows += database.Query("SELECT * FROM " + std::string(table) + " ORDER BY 1, 2");
    }
    if (rows.empty()) rows = database.Query("SELECT * FROM NAACCR11Fields ORDER BY 1");
    return rows;
  }
  void ExpectCopied(const std::string& to) const {
    EXPECT_EQ(Rows("a/registry.db"), Rows(to + "/registry.db"));
    EXPECT_EQ(Rows("a/control.db"), Rows(to + "/control.db"));
    EXPECT_EQ(QueryText(folder_.File(to + "/registry.db"), "SELECT * FROM Own"), "x|1.0;x|1.0");
    EXPECT_EQ(QueryText(folder_.File(to + "/registry.db"),
                        "SELECT count(*) FROM sqlite_master WHERE name LIKE 'QMCopy%'"),
              "0");
  }

  TempFolder folder_;
};

TEST_F(RegistryCopyTest, IntoEmptyDatabasesAndIntoAnInitialisedRegistry) {
  const auto copied = Copy("a", "b");
  ExpectCopied("b");
  const auto patients = std::ranges::find(copied, "Patients", &CopiedTable::name);
  ASSERT_NE(patients, copied.end());
  EXPECT_EQ(patients->rows, 12000);
  // Keys and indexes came with it.
  EXPECT_EQ(
      QueryText(folder_.File("b/registry.db"),
                "SELECT count(*) FROM sqlite_master WHERE type = 'index' AND name LIKE 'IX_%'"),
      "7");
  EXPECT_EQ(QueryText(folder_.File("b/registry.db"),
                      "SELECT name FROM pragma_table_info('displayfields') WHERE pk > 0"),
            "displayid;NAACCR_Item_no");

  CreateRegistryFolder(folder_.path() / "c", {{"11.3"}});
  Copy("b", "c");
  ExpectCopied("c");
}

TEST_F(RegistryCopyTest, ToEachEngineAndBack) {
  for (const std::string engine : kEngines) {
    const ScratchDatabase database(engine);
    if (!database.Missing().empty()) continue;
    const auto there = database.Open();
    CopyRegistry(Open("a"), {there, there});
    MakeEmptyFolder(folder_.path() / engine);
    CopyRegistry({there, there}, Open(engine));
    ExpectCopied(engine);
    EXPECT_THAT(CheckRegistry(there, there), testing::IsEmpty()) << engine;
  }
}

TEST_F(RegistryCopyTest, GoesOnWhereItWasInterrupted) {
  const auto stop = [](std::string_view doing, std::int64_t done, std::int64_t) {
    if (doing == "copying Patients" && done > 6000) throw Interrupted();
  };
  EXPECT_THROW(Copy("a", "b", stop), Interrupted);
  EXPECT_EQ(QueryText(folder_.File("b/registry.db"), "SELECT count(*) FROM Patients"), "5000");
  EXPECT_EQ(Raises([&] { Copy("b", "a"); }).number, kErrNotAllowedHere);

  std::int64_t first = 0;
  Copy("a", "b", [&](std::string_view doing, std::int64_t done, std::int64_t) {
    if (first == 0 && doing == "copying Patients") first = done;
  });
  EXPECT_GE(first, 5000);
  ExpectCopied("b");
}

TEST_F(RegistryCopyTest, ATableThatDiffersIsNamedAndCopiedAgain) {
  const auto meddle = [&](std::string_view doing, std::int64_t, std::int64_t) {
    if (doing != "comparing Patients") return;
    SqliteFile(folder_.File("b/registry.db"))
        .Exec("UPDATE Patients SET Sex = '1' WHERE PatientID = 3");
  };
  // Which side is read first is all the same: the change is there when the other one is.
  const Failure failure = Raises([&] { Copy("a", "b", meddle); });
  EXPECT_EQ(failure.number, kErrIntegrity);
  EXPECT_THAT(failure.description, testing::HasSubstr("Patients"));
  Copy("a", "b");
  ExpectCopied("b");
}

TEST_F(RegistryCopyTest, RefusesWhatWouldBeLost) {
  CreateRegistryFolder(folder_.path() / "full", {{"11.3"}});
  SqliteFile(folder_.File("full/registry.db")).Exec("INSERT INTO Patients (PatientID) VALUES (9)");
  CreateRegistryFolder(folder_.path() / "empty", {{"11.3"}});
  CreateRegistryFolder(folder_.path() / "narrow", {{"11.3"}});
  SqliteFile(folder_.File("narrow/registry.db")).Exec("ALTER TABLE USERS DROP COLUMN NAME");
  CreateRegistryFolder(folder_.path() / "strict", {{"11.3"}});
  SqliteFile(folder_.File("strict/registry.db"))
      .Exec(
          "CREATE TRIGGER strict BEFORE INSERT ON Patients WHEN new.LastName = 'NAME700' BEGIN "
          "SELECT raise(ABORT, 'refused'); END");
  struct Case {
    const char* from;
    const char* to;
    std::int32_t number;
    const char* tells = "";
  };
  for (const Case& c :
       {Case{"a", "full", kErrNotAllowedHere}, Case{"a", "a", kErrNotAllowedHere},
        Case{"empty", "empty", kErrNotAllowedHere}, Case{"a", "narrow", kErrNoSuchItem, "NAME"},
        Case{"a", "strict", kErrIntegrity, "at the row with PatientID 2100, column LastName: "}}) {
    const std::string before = Rows(std::string(c.to) + "/registry.db");
    const Failure failure = Raises([&] { Copy(c.from, c.to); });
    EXPECT_EQ(failure.number, c.number) << c.from << " " << c.to;
    EXPECT_THAT(failure.description, testing::HasSubstr(c.tells));
    if (c.number == kErrIntegrity) continue;  // what came before it is there already
    EXPECT_EQ(Rows(std::string(c.to) + "/registry.db"), before) << c.to;
  }
}

}  // namespace
}  // namespace qm::test
