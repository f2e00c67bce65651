// Edits: what they write, what they refuse, and what other users see of them.
#include <gtest/gtest.h>

#include <chrono>
#include <functional>

#include <qm/error.h>
#include <qm/recordset.h>

#include "support/other_process.h"
#include "support/raises.h"
#include "support/sqlite_fixture.h"

namespace qm::test {
namespace {

constexpr const char* kScript =
    "CREATE TABLE t (id INTEGER, name TEXT COLLATE NOCASE, score REAL, data BLOB,"
    " CHECK (id < 100));"
    "INSERT INTO t VALUES (1, 'one', 1.5, x'00FF'), (2, 'two', NULL, NULL), (2, 'two', NULL, NULL)";

struct Way {
  const char* name;
  std::int32_t type;
  std::int32_t location;
  std::int32_t options;
};
constexpr Way kWays[] = {
    {"forward", kOpenForwardOnly, kUseServer, kCommandText},
    {"static", kOpenStatic, kUseServer, kCommandText},
    {"keyset", kOpenKeyset, kUseServer, kCommandText},
    {"dynamic", kOpenDynamic, kUseServer, kCommandText},
    {"client", kOpenStatic, kUseClient, kCommandText},
    {"direct", kOpenDynamic, kUseServer, kCommandTableDirect},
};

class EditTest : public ::testing::Test {
 protected:
  void SetUp() override {
    MakeDatabase(path_, kScript);
    connection_ = OpenSqlite(path_);
    connection_->SetCommandTimeout(1);
  }
  std::shared_ptr<Recordset> Open(const Way& way, std::int32_t lock = kLockOptimistic) {
    auto rows = connection_->CreateRecordset();
    rows->SetCursorLocation(way.location);
    rows->Open(way.options == kCommandText ? "SELECT * FROM t" : "t", connection_, way.type, lock,
               way.options);
    return rows;
  }
  std::string Table() { return QueryText(path_, "SELECT id, name, score FROM t"); }

  TempFolder folder_;
  std::string path_ = folder_.File("a.db");
  OtherProcess other_{path_};
  std::shared_ptr<Connection> connection_;
};

TEST_F(EditTest, AnEditTouchesItsOwnRowAmongEqualOnes) {
  for (const Way& way : kWays) {
    for (const std::int32_t lock : {kLockOptimistic, kLockPessimistic}) {
      SCOPED_TRACE(way.name);
      SqliteFile(path_).Exec(std::string("DROP TABLE t;") + kScript);
      auto rows = Open(way, lock);
      rows->MoveNext();
      rows->SetValue("id", rows->Value("id").Get<std::int32_t>() + 1);
      rows->SetValue("score", true);
      EXPECT_EQ(rows->EditMode(), kEditInProgress);
      EXPECT_EQ(rows->Value("id"), Variant(3)) << "the pending value";
      rows->Update();
      EXPECT_EQ(rows->EditMode(), kEditNone);
      EXPECT_EQ(rows->Value("score"), Variant(-1.0)) << "as the column keeps it";
      EXPECT_EQ(other_.Run("SELECT id, name, score FROM t"), "1|one|1.5;3|two|-1.0;2|two|NULL");
      rows->SetValue("id", 4);
      rows->MoveNext();  // saves
      EXPECT_EQ(rows->Value("id"), Variant(2));
      EXPECT_EQ(other_.Run("UPDATE t SET id = id"), "") << "no lock is left";
      EXPECT_EQ(Table(), "1|one|1.5;4|two|-1.0;2|two|NULL");
      rows->Close();
      connection_->Execute("SELECT 1")->Close();
    }
  }
}

TEST_F(EditTest, OptimisticWritersOfOneColumnNeverBothSucceed) {
  for (const Way& way : kWays) {
    SCOPED_TRACE(way.name);
    SqliteFile(path_).Exec(std::string("DROP TABLE t;") + kScript);
    auto rows = Open(way);
    rows->SetValue("name", "mine");
    // The other's change is one of case alone, which the column's own comparison does not see.
    EXPECT_EQ(other_.Run("UPDATE t SET name = 'ONE', score = 9 WHERE id = 1"), "");
    EXPECT_EQ(Raises([&] { rows->Update(); }).number, kErrRowChanged);
    EXPECT_EQ(rows->EditMode(), kEditInProgress);
    EXPECT_EQ(rows->Value("name"), Variant("mine"));
    EXPECT_EQ(Raises([&] { rows->MoveNext(); }).number, kErrRowChanged) << "the move saves first";
    EXPECT_EQ(rows->Value("id"), Variant(1));
    EXPECT_EQ(Raises([&] { rows->Close(); }).number, kErrNotAllowedHere);
    EXPECT_EQ(Raises([&] { rows->Requery(); }).number, kErrNotAllowedHere);
    rows->CancelUpdate();
    rows->CancelUpdate();
    EXPECT_EQ(rows->Value("name"), Variant("one"));
    rows->Requery();
    EXPECT_EQ(rows->Value("name"), Variant("ONE"));
    rows->SetValue("name", "mine");
    rows->SetValue("data", "text");
    EXPECT_EQ(other_.Run("UPDATE t SET score = 8 WHERE id = 1"), "");
    rows->Update();  // the columns differ
    EXPECT_EQ(Table(), "1|mine|8.0;2|two|NULL;2|two|NULL");
    rows->Close();
  }
}

TEST_F(EditTest, NoChangeIsNoEdit) {
  auto rows = Open(kWays[3]);
  const std::int64_t before = connection_->StatementCount();
  rows->SetValue("name", "one");
  rows->SetValue("id", std::int16_t{1});
  rows->SetValue("id", 1.0);
  EXPECT_EQ(rows->EditMode(), kEditNone);
  rows->SetValue("name", "other");
  rows->SetValue("name", "one");
  EXPECT_EQ(rows->EditMode(), kEditNone);
  rows->Update();
  EXPECT_EQ(connection_->StatementCount(), before);
}

TEST_F(EditTest, AnAssignedValueIsKeptByItsType) {
  const struct {
    Variant value;
    const char* kept;
  } cases[] = {
      {true, "-1"},
      {std::uint8_t{200}, "200"},
      {std::int64_t{5000000000}, "5000000000"},
      {Currency{12345}, "1.2345"},
      {0.5F, "0.5"},
      {Date{43832}, "2020-01-02"},
      {Date{43832.75}, "2020-01-02 18:00:00"},
      {Date{-1.25}, "1899-12-29 06:00:00"},
      {Variant(), "NULL"},
      {"O'BRIEN", "O'BRIEN"},
  };
  connection_->Execute("CREATE TABLE u (a)");
  connection_->Execute("INSERT INTO u VALUES ('start')");
  auto rows = connection_->CreateRecordset();
  rows->Open("SELECT a FROM u", connection_, kOpenKeyset, kLockOptimistic);
  for (const auto& c : cases) {
    rows->SetValue("a", c.value);
    rows->Update();
    EXPECT_EQ(QueryText(path_, "SELECT a FROM u"), c.kept);
  }
  for (const Variant& value : {Variant::Nothing(), Variant(Variant::Array{}), Variant(Date{1e9})}) {
    EXPECT_EQ(Raises([&] { rows->SetValue("a", value); }).number, kErrWrongType);
  }
}

TEST_F(EditTest, WhatCannotBeWrittenIsRefused) {
  const char* const texts[] = {
      "SELECT DISTINCT name FROM t",           "SELECT name FROM t GROUP BY name",
      "SELECT a.name FROM t AS a JOIN t AS b", "SELECT max(name) AS name FROM t",
      "SELECT name || '' AS name FROM t",      "SELECT name FROM (SELECT * FROM t)",
  };
  for (const char* text : texts) {
    auto rows = connection_->CreateRecordset();
    rows->Open(text, connection_, kOpenDynamic, kLockPessimistic);
    EXPECT_EQ(Raises([&] { rows->SetValue("name", "x"); }).number, kErrNotSupported) << text;
    EXPECT_EQ(rows->EditMode(), kEditNone);
  }
  auto rows = Open(kWays[1], kLockReadOnly);
  EXPECT_EQ(Raises([&] { rows->SetValue(0, 1); }).number, kErrNotSupported);
  EXPECT_EQ(Raises([&] { rows->AddNew(); }).number, kErrNotSupported);
  rows = Open(kWays[1]);
  rows->SetValue("id", 100);
  EXPECT_EQ(Raises([&] { rows->Update(); }).number, kErrIntegrity);
  EXPECT_EQ(rows->Value("id"), Variant(100)) << "the edit stays";
  rows.reset();
  EXPECT_EQ(Table(), "1|one|1.5;2|two|NULL;2|two|NULL") << "dropped with its recordset";
}

TEST_F(EditTest, ANewRowIsCurrentAndSeen) {
  for (const Way& way : kWays) {
    SCOPED_TRACE(way.name);
    SqliteFile(path_).Exec(std::string("DROP TABLE t;") + kScript);
    auto rows = Open(way);
    rows->AddNew();
    EXPECT_EQ(rows->EditMode(), kEditAdd);
    EXPECT_EQ(rows->Value("name"), Variant::Null());
    rows->SetValue("id", 7);
    rows->CancelUpdate();
    EXPECT_EQ(rows->Value("id"), Variant(1));
    rows->AddNew();
    rows->SetValue("id", "8");
    rows->Update();
    EXPECT_EQ(rows->Value("id"), Variant(8)) << "as the column keeps it";
    rows->SetValue("name", "eight");
    rows->Update();
    EXPECT_EQ(other_.Run("SELECT name FROM t WHERE id = 8"), "eight");
    if (way.type == kOpenForwardOnly) continue;
    EXPECT_EQ(rows->RecordCount(), 4);
    rows->MovePrevious();
    EXPECT_EQ(rows->Value("id"), Variant(2));
    rows->MoveLast();
    EXPECT_EQ(rows->Value("name"), Variant("eight"));
  }
}

TEST_F(EditTest, APessimisticEditLocksChecksAndGivesBack) {
  const std::function<void(std::shared_ptr<Recordset>&)> ends[] = {
      [](auto& rows) { rows->Update(); },
      [](auto& rows) { rows->CancelUpdate(); },
      [](auto& rows) { rows.reset(); },
      [](auto& rows) { rows->MoveNext(); },
      [](auto& rows) { rows->ActiveConnection()->Close(); },
  };
  for (const auto& end : ends) {
    if (connection_->State() == kStateClosed) connection_->Open();
    auto rows = Open(kWays[5], kLockPessimistic);
    rows->SetValue("name", rows->Value("name"));
    EXPECT_EQ(rows->EditMode(), kEditInProgress);
    EXPECT_EQ(other_.Run("UPDATE t SET id = id"), "error: database is locked");
    EXPECT_EQ(other_.Run("SELECT count(*) FROM t"), "3");
    EXPECT_EQ(Raises([&] { connection_->BeginTrans(); }).number, kErrInTransaction);
    EXPECT_EQ(Raises([&] { connection_->CommitTrans(); }).number, kErrNoTransaction);
    end(rows);
    EXPECT_EQ(other_.Run("UPDATE t SET id = id"), "");
  }
  connection_->Open();
  auto first = Open(kWays[5], kLockPessimistic);
  auto second = Open(kWays[3], kLockPessimistic);
  EXPECT_EQ(other_.Run("UPDATE t SET score = 4 WHERE id = 1"), "");
  EXPECT_EQ(Raises([&] { first->SetValue("name", "x"); }).number, kErrRowChanged);
  EXPECT_EQ(first->EditMode(), kEditNone);
  EXPECT_EQ(other_.Run("UPDATE t SET id = id"), "");
  first->MoveNext();
  first->MovePrevious();  // reads the row afresh
  first->SetValue("name", "first");
  second->MoveNext();
  second->SetValue("name", "second");
  first->Update();
  EXPECT_EQ(other_.Run("SELECT name FROM t WHERE id = 1"), "one") << "the other edit still holds";
  second->CancelUpdate();
  EXPECT_EQ(other_.Run("SELECT name FROM t"), "first;two;two");

  connection_->BeginTrans();
  first->SetValue("name", "undone");
  first->Update();
  connection_->RollbackTrans();
  EXPECT_EQ(other_.Run("SELECT name FROM t"), "first;two;two");
}

TEST_F(EditTest, AnotherWriterIsWaitedForAndNoLongerThanAsked) {
  EXPECT_EQ(other_.Run("BEGIN IMMEDIATE"), "");
  EXPECT_EQ(other_.Run("UPDATE t SET name = 'theirs' WHERE id = 1"), "");
  auto rows = Open(kWays[5], kLockPessimistic);
  EXPECT_EQ(rows->Value("name"), Variant("one")) << "reading waits for nobody";
  connection_->SetCommandTimeout(2);
  const auto start = std::chrono::steady_clock::now();
  EXPECT_EQ(Raises([&] { rows->SetValue("name", "mine"); }).number, kErrEngineBusy);
  const auto waited = std::chrono::steady_clock::now() - start;
  EXPECT_GE(waited, std::chrono::seconds(2));
  EXPECT_LT(waited, std::chrono::seconds(4));
  EXPECT_EQ(rows->EditMode(), kEditNone);
  EXPECT_EQ(other_.Run("COMMIT"), "");
  EXPECT_EQ(Raises([&] { rows->SetValue("name", "mine"); }).number, kErrRowChanged);
}

TEST_F(EditTest, ATransactionGrownOldIsBusy) {
  connection_->Execute("BEGIN");
  connection_->Execute("SELECT * FROM t")->Close();
  EXPECT_EQ(other_.Run("UPDATE t SET name = 'theirs'"), "");
  const Failure failure = Raises([&] { connection_->Execute("UPDATE t SET name = 'mine'"); });
  EXPECT_EQ(failure.number, kErrEngineBusy);
}

TEST_F(EditTest, AnExclusiveConnectionShutsOthersOut) {
  connection_->Close();
  auto exclusive = Connection::Create();
  exclusive->SetConnectionString(SqliteConnectionString(path_));
  exclusive->SetMode(qmModeShareExclusive);
  exclusive->SetConnectionTimeout(1);
  EXPECT_EQ(other_.Run("SELECT count(*) FROM t"), "3");
  EXPECT_EQ(Raises([&] { exclusive->Open(); }).number, kErrEngineBusy) << "another user is in";
  const std::string copy = MakeDatabase(folder_.File("b.db"), kScript);
  exclusive->Open(SqliteConnectionString(copy));
  connection_->SetConnectionTimeout(1);
  EXPECT_EQ(Raises([&] { connection_->Open(SqliteConnectionString(copy)); }).number,
            kErrEngineBusy);
  EXPECT_EQ(other_.Run("ATTACH '" + copy + "' AS b; SELECT * FROM b.t"),
            "error: database is locked");
  exclusive->Execute("DELETE FROM t");
  exclusive->Close();
  connection_->Open();
  EXPECT_EQ(connection_->Execute("SELECT count(*) FROM t")->Value(0), Variant(0));
}

TEST_F(EditTest, ReadUncommittedReadsPastAWriter) {
  connection_->Close();
  connection_->SetIsolationLevel(kIsolationReadUncommitted);
  connection_->Open();
  EXPECT_EQ(other_.Run("BEGIN EXCLUSIVE"), "");
  EXPECT_EQ(other_.Run("DELETE FROM t"), "");
  EXPECT_EQ(connection_->Execute("SELECT count(*) FROM t")->Value(0), Variant(3));
  EXPECT_EQ(other_.Run("ROLLBACK"), "");
}

}  // namespace
}  // namespace qm::test
