// Opening, settings, statements and transactions of a connection.
#include <qm/connection.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <vector>

#include <qm/error.h>
#include <qm/recordset.h>

#include "support/raises.h"
#include "support/sqlite_fixture.h"

namespace qm::test {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::Not;

class ConnectionTest : public ::testing::Test {
 protected:
  TempFolder folder_;
  std::string path_ = MakeDatabase(folder_.File("my ä.db"),
                                   "CREATE TABLE t (id INTEGER PRIMARY KEY, name TEXT NOT NULL"
                                   " CHECK (name <> 'bad'));"
                                   "INSERT INTO t VALUES (1, 'one'), (2, 'two'), (3, 'three')");
};

TEST_F(ConnectionTest, WhatCannotBeOpenedSaysWhyAndNeverThePassword) {
  folder_.Write("text.db", "This is a letter and no database, however long it may be.\n");
  std::filesystem::create_directory(folder_.path() / "folder");
  const struct {
    std::string text;
    std::int32_t number;
    std::string named;
  } cases[] = {
      {"Data Source=x", kErrUnknownProvider, "names none"},
      {"Provider=Ledger;Password=secret", kErrUnknownProvider, "Ledger"},
      {"Password=secret;Provider=secret2", kErrUnknownProvider, "Provider"},
      {"Provider=SQLite;Data Source=x;Colour=1", kErrBadArgument, "Colour"},
      {"Provider=SQLite;Data Source=x;Password=a;secret=1", kErrBadArgument, "piece 4"},
      {"Provider=SQLite", kErrBadArgument, "Data Source"},
      {"Provider=SQLite;Data Source=/nowhere/x.db;PWD=secret", kErrEngine, "/nowhere/x.db"},
      {"Provider=SQLite;Data Source=:memory:", kErrEngine, "no such file"},
      {SqliteConnectionString(folder_.File("folder")), kErrEngine, "folder"},
      {SqliteConnectionString(folder_.File("text.db")), kErrEngine, "not a database"},
  };
  for (const auto& c : cases) {
    auto connection = Connection::Create();
    const Failure failure = Raises([&] { connection->Open(c.text); });
    EXPECT_EQ(failure.number, c.number) << c.text;
    EXPECT_THAT(failure.description, HasSubstr(c.named));
    EXPECT_THAT(failure.description, Not(HasSubstr("secret")));
    EXPECT_EQ(connection->State(), kStateClosed);
  }
  EXPECT_FALSE(std::filesystem::exists("x"));
}

TEST_F(ConnectionTest, SettingsAndStates) {
  auto connection = Connection::Create();
  EXPECT_EQ(Raises([&] { connection->Execute("SELECT 1"); }).number, kErrObjectClosed);
  EXPECT_EQ(Raises([&] { connection->Close(); }).number, kErrObjectClosed);
  EXPECT_EQ(Raises([&] { connection->BeginTrans(); }).number, kErrObjectClosed);
  EXPECT_EQ(Raises([&] { connection->CommitTrans(); }).number, kErrObjectClosed);
  EXPECT_EQ(Raises([&] { connection->SetCommandTimeout(-1); }).number, kErrBadArgument);
  EXPECT_EQ(Raises([&] { connection->SetConnectionTimeout(-1); }).number, kErrBadArgument);
  EXPECT_EQ(Raises([&] { connection->SetMode(5); }).number, kErrBadArgument);
  EXPECT_EQ(Raises([&] { connection->SetIsolationLevel(7); }).number, kErrBadArgument);
  connection->SetIsolationLevel(kIsolationReadUncommitted);
  EXPECT_EQ(connection->IsolationLevel(), kIsolationReadUncommitted);
  connection->Open(SqliteConnectionString(path_), "user", "password");
  EXPECT_EQ(connection->State(), kStateOpen);
  EXPECT_EQ(connection->IsolationLevel(), kIsolationReadUncommitted);
  const std::function<void()> locked[] = {
      [&] { connection->Open(); },
      [&] { connection->SetMode(3); },
      [&] { connection->SetConnectionString("x"); },
      [&] { connection->SetConnectionTimeout(1); },
      [&] { connection->SetIsolationLevel(256); },
  };
  for (const auto& operation : locked) EXPECT_EQ(Raises(operation).number, kErrObjectOpen);
  connection->SetCommandTimeout(1);
  EXPECT_EQ(connection->CommandTimeout(), 1);
  connection->Close();
  connection->SetIsolationLevel(kIsolationReadCommitted);
  connection->SetMode(1);
  connection->Open();
  EXPECT_EQ(connection->IsolationLevel(), kIsolationSerializable);
  EXPECT_NE(Raises([&] { connection->Execute("DELETE FROM t"); }).number, 0);
}

TEST_F(ConnectionTest, StatementsAndTheirFailures) {
  auto connection = OpenSqlite(path_);
  std::int64_t affected = 7;
  auto rows = connection->Execute("SELECT * FROM t", &affected);
  EXPECT_EQ(affected, -1);
  EXPECT_EQ(rows->State(), kStateOpen);
  rows = connection->Execute("UPDATE t SET name = 'x' WHERE id < 3;", &affected);
  EXPECT_EQ(affected, 2);
  EXPECT_EQ(rows->State(), kStateClosed);
  connection->Execute("CREATE TABLE u (a)", &affected);
  EXPECT_EQ(affected, 0);
  rows = connection->Execute("INSERT INTO u VALUES (1), (2) RETURNING a", &affected);
  EXPECT_EQ(QueryText(path_, "SELECT count(*) FROM u"), "2") << "written before a row is read";
  EXPECT_EQ(rows->Value(0), Variant(1));

  const struct {
    const char* text;
    std::int32_t number;
    bool engine;
  } cases[] = {
      {"SELEC 1", kErrStatement, true},
      {"SELECT nothing FROM t", kErrStatement, true},
      {"SELECT * FROM missing", kErrNoSuchTable, true},
      {"INSERT INTO t VALUES (1, 'double')", kErrIntegrity, true},
      {"INSERT INTO t VALUES (9, NULL)", kErrIntegrity, true},
      {"INSERT INTO t VALUES (9, 'bad')", kErrIntegrity, true},
      {"INSERT INTO t VALUES ('text', 'x')", kErrWrongType, true},
      {"", kErrStatement, false},
      {"DELETE FROM t; DELETE FROM u", kErrStatement, false},
  };
  for (const auto& c : cases) {
    try {
      connection->Execute(c.text);
      ADD_FAILURE() << c.text;
    } catch (const Error& error) {
      EXPECT_EQ(error.number(), c.number) << c.text;
      EXPECT_EQ(error.engine_code() != 0, c.engine) << c.text;
      EXPECT_EQ(error.statement(), c.text);
    }
  }
  EXPECT_EQ(QueryText(path_, "SELECT count(*) FROM t"), "3");
}

TEST_F(ConnectionTest, TextsAreSeenAsGivenAndStatementsCounted) {
  auto connection = OpenSqlite(path_);
  std::vector<std::string> seen;
  connection->SetStatementObserver([&](std::string_view text) { seen.emplace_back(text); });
  const std::int64_t before = connection->StatementCount();
  connection->Execute(" select  ID from [t] ;");
  EXPECT_EQ(connection->StatementCount(), before + 1);
  auto rows = connection->CreateRecordset();
  rows->Open("SELECT * FROM t -- all", connection, kOpenDynamic, kLockOptimistic);
  EXPECT_EQ(rows->Source(), "SELECT * FROM t -- all");
  EXPECT_EQ(rows->FieldCount(), 2);
  rows->Close();
  rows->Open("t", connection, kOpenDynamic, kLockPessimistic, kCommandTableDirect);
  EXPECT_THAT(seen, ElementsAre(" select  ID from [t] ;", "SELECT * FROM t -- all", "t"));
}

TEST_F(ConnectionTest, Transactions) {
  auto connection = OpenSqlite(path_);
  EXPECT_EQ(Raises([&] { connection->CommitTrans(); }).number, kErrNoTransaction);
  EXPECT_EQ(Raises([&] { connection->RollbackTrans(); }).number, kErrNoTransaction);
  EXPECT_EQ(connection->BeginTrans(), 1);
  EXPECT_EQ(Raises([&] { connection->BeginTrans(); }).number, kErrNestedTransaction);
  connection->Execute("DELETE FROM t WHERE id = 1");
  EXPECT_EQ(
      Raises([&] { connection->Execute("INSERT OR ROLLBACK INTO t VALUES (2, 'x')"); }).number,
      kErrIntegrity);
  EXPECT_EQ(Raises([&] { connection->CommitTrans(); }).number, kErrNoTransaction)
      << "the engine has rolled back by itself";
  {
    const Transaction transaction(connection);
    connection->Execute("DELETE FROM t");
  }
  EXPECT_EQ(QueryText(path_, "SELECT count(*) FROM t"), "3");
  {
    Transaction transaction(connection);
    connection->Execute("DELETE FROM t WHERE id = 3");
    transaction.Commit();
  }
  EXPECT_EQ(QueryText(path_, "SELECT count(*) FROM t"), "2");

  connection->BeginTrans();
  connection->Execute("DELETE FROM t");
  auto rows = connection->Execute("SELECT 1");
  connection->Close();
  EXPECT_EQ(rows->State(), kStateClosed);
  EXPECT_EQ(QueryText(path_, "SELECT count(*) FROM t"), "2");
}

TEST_F(ConnectionTest, StreamsAreReadToTheirEndBeforeAWrite) {
  const struct {
    const char* name;
    std::function<void(Connection&)> write;
  } cases[] = {
      {"statement", [](Connection& c) { c.Execute("UPDATE t SET name = 'new'"); }},
      {"drop", [](Connection& c) { c.Execute("DROP TABLE IF EXISTS other"); }},
      {"begin", [](Connection& c) { c.BeginTrans(), c.RollbackTrans(); }},
  };
  for (const auto& c : cases) {
    auto connection = OpenSqlite(path_);
    connection->Execute("UPDATE t SET name = 'old'");
    connection->Execute("CREATE TABLE IF NOT EXISTS other (a)");
    auto rows = connection->Execute("SELECT name FROM t");
    rows->MoveNext();
    c.write(*connection);
    EXPECT_EQ(SqliteFile(path_).Query("PRAGMA wal_checkpoint(TRUNCATE)").substr(0, 1), "0")
        << "no statement may stay open: " << c.name;
    int count = 0;
    for (Recordset& row : rows->Rows()) {
      EXPECT_EQ(row.Value("name"), Variant("old")) << c.name;
      ++count;
    }
    EXPECT_EQ(count, 2) << c.name;
  }
}

}  // namespace
}  // namespace qm::test
