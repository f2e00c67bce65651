#include <gtest/gtest.h>
#include <qm/audit_log.h>
#include <qm/error.h>
#include <qm/qm_connection.h>
#include <qm/session.h>

#include "session/own_tables.h"
#include "support/raises.h"
#include "support/sqlite_fixture.h"

namespace qm::test {
namespace {

class AuditLog : public testing::Test {
 protected:
  AuditLog() { session_.SetRegistry(OpenSqlite(path_)); }

  // The details of the rows found.
  static std::string Read(const AuditFilter& filter, std::size_t most = 100) {
    std::string details;
    std::size_t count = 0;
    ReadAudit(filter, [&](const AuditRow& row) {
      details += row.entry.detail + ";";
      return ++count < most;
    });
    return details;
  }

  TempFolder folder_;
  std::string path_ = MakeDatabase(folder_.File("a.db"), "CREATE TABLE t (a)");
  SessionScope scope_;
  QMConnection session_;
};

TEST_F(AuditLog, GivesBackWhatWasWrittenInThatOrder) {
  PrepareAudit();
  session_.SetUser("O'Brien");
  WriteAudit({"set", "patient", 7, "Name: 'Ñ' -> \"x\"; --", "a'b.txt"});
  session_.SetUser("eve");
  for (int i = 0; i < 200; ++i) WriteAudit({"import", "abstract", i, std::to_string(i), ""});
  WriteAudit({"lock", "tables", {}, "", ""});

  std::string last;
  int number = 0;
  ReadAudit({}, [&](const AuditRow& row) {
    EXPECT_EQ(row.time.size(), 27U);
    EXPECT_LT(last, row.time);
    last = row.time;
    if (number == 0) {
      EXPECT_EQ(row.user + row.entry.action + row.entry.record, "O'Briensetpatient");
      EXPECT_EQ(row.entry.id, 7);
      EXPECT_EQ(row.entry.detail + row.entry.file, "Name: 'Ñ' -> \"x\"; --a'b.txt");
    } else if (number <= 200) {
      EXPECT_EQ(row.entry.id, number - 1);
    } else {
      EXPECT_FALSE(row.entry.id.has_value());
    }
    ++number;
    return true;
  });
  EXPECT_EQ(number, 202);
}

TEST_F(AuditLog, FindsRowsByEveryFilter) {
  PrepareAudit();
  SqliteFile file(path_);
  file.Exec(
      "INSERT INTO QMAudit VALUES"
      " ('2026-01-05T15:04:05.000001Z-1-a', '2026-01-05T15:04:05.000001Z', 'ann', 'set', 'patient',"
      " 5, '1', ''),"
      " ('2026-01-05T15:04:05.000001Z-2-a', '2026-01-05T15:04:05.000001Z', 'bob', 'set', 'tumor', "
      "5,"
      " '2', NULL),"
      " ('2026-02-01T00:00:00.000000Z-1-a', '2026-02-01T00:00:00.000000Z', 'ann', 'lock', 'tables',"
      " NULL, '3', 'f')");
  const struct {
    AuditFilter filter;
    const char* details;
  } cases[] = {{{}, "1;2;3;"},
               {{.record = "Tumor"}, "2;"},
               {{.id = 5}, "1;2;"},
               {{.user = "ANN"}, "1;3;"},
               {{.action = "set"}, "1;2;"},
               {{.record = "patient", .id = 5, .user = "bob"}, ""},
               {{.since = "2026"}, "1;2;3;"},
               {{.since = "2026-01-05T15:04:05.000001Z"}, "1;2;3;"},
               {{.since = "2026-01-05T15:05"}, "3;"},
               {{.id = 5, .since = "2026-02"}, ""},
               {{.user = "' OR 1 = 1"}, ""},
               {{.newest_first = true}, "3;2;1;"}};
  for (const auto& c : cases) EXPECT_EQ(Read(c.filter), c.details) << &c - cases;
  EXPECT_EQ(Read({}, 2), "1;2;");
  for (const char* since :
       {"yesterday", "2026-1", "2026' OR '1", "2026-01-05T15:04:05.000001Z-1"}) {
    EXPECT_EQ(Raises([&] { Read({.since = since}); }).number, kErrBadArgument) << since;
  }
}

TEST_F(AuditLog, BelongsToTheTransactionAndToRegistriesMadeBeforeIt) {
  EXPECT_EQ(Read({}), "");
  EXPECT_EQ(Raises([] { WriteAudit({}); }).number, kErrNoSuchTable);
  PrepareAudit();
  session_.BeginTrans();
  WriteAudit({"set", "", {}, "lost", ""});
  session_.RollBackTrans();
  session_.BeginTrans();
  WriteAudit({"set", "", {}, "kept", ""});
  session_.CommitTrans();
  EnsureOwnTables();
  EXPECT_EQ(Read({}), "kept;");
  EXPECT_EQ(Raises([] { EnsureOwnTable("t"); }).number, kErrBadArgument);
}

}  // namespace
}  // namespace qm::test
