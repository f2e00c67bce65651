// How the cursor types move and what they show.
#include <qm/recordset.h>

#include <gtest/gtest.h>

#include <functional>

#include <qm/error.h>

#include "support/raises.h"
#include "support/sqlite_fixture.h"

namespace qm::test {
namespace {

struct Cursor {
  const char* name;
  std::int32_t type;
  std::int32_t location;
  std::int32_t options;
  bool shows_changes;
};
constexpr Cursor kScrolling[] = {
    {"static", kOpenStatic, kUseServer, kCommandText, false},
    {"keyset", kOpenKeyset, kUseServer, kCommandText, true},
    {"dynamic", kOpenDynamic, kUseServer, kCommandText, true},
    {"client", kOpenDynamic, kUseClient, kCommandText, false},
    {"table", kOpenStatic, kUseServer, kCommandTable, false},
    {"direct", kOpenDynamic, kUseClient, kCommandTableDirect, true},
    {"direct of pairs", kOpenDynamic, kUseServer, kCommandTableDirect, true},
};
constexpr int kRows = 300;  // more than a page

class RecordsetTest : public ::testing::Test {
 protected:
  RecordsetTest() {
    SqliteFile(path_).Exec(
        "WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n WHERE i < 300)"
        " INSERT INTO t SELECT i, 'n' || i FROM n;"
        "INSERT INTO p SELECT id, 'k' || (id % 7), name FROM t;"
        "CREATE VIEW v AS SELECT * FROM t");
    connection_ = OpenSqlite(path_);
  }

  std::shared_ptr<Recordset> Open(const Cursor& cursor, std::int64_t max_records = 0,
                                  std::int32_t lock = kLockOptimistic) {
    auto rows = connection_->CreateRecordset();
    rows->SetCursorLocation(cursor.location);
    rows->SetMaxRecords(max_records);
    const std::string table = std::string(cursor.name) == "direct of pairs" ? "p" : "t";
    rows->Open(cursor.options == kCommandText ? "SELECT * FROM " + table + " ORDER BY id" : table,
               connection_, cursor.type, lock, cursor.options);
    return rows;
  }
  static int Id(const Recordset& rows) { return rows.Value("ID").Get<std::int32_t>(); }

  TempFolder folder_;
  std::string path_ =
      MakeDatabase(folder_.File("a.db"),
                   "CREATE TABLE t (id INTEGER, name TEXT);"
                   "CREATE TABLE p (id INT, k TEXT, name TEXT, PRIMARY KEY (id, k)) WITHOUT ROWID");
  std::shared_ptr<Connection> connection_;
};

TEST_F(RecordsetTest, EveryScrollingCursorWalksBothWays) {
  for (const Cursor& cursor : kScrolling) {
    SCOPED_TRACE(cursor.name);
    auto rows = Open(cursor);
    EXPECT_EQ(rows->RecordCount(), kRows);
    EXPECT_FALSE(rows->Bof());
    int expected = 0;
    for (const Recordset& row : rows->Rows()) ASSERT_EQ(Id(row), ++expected);
    EXPECT_EQ(expected, kRows);
    EXPECT_TRUE(rows->Eof());
    EXPECT_EQ(Raises([&] { rows->Value(0); }).number, kErrNoCurrentRecord);
    EXPECT_EQ(Raises([&] { rows->MoveNext(); }).number, kErrNoCurrentRecord);
    for (rows->MovePrevious(); !rows->Bof(); rows->MovePrevious()) ASSERT_EQ(Id(*rows), expected--);
    EXPECT_EQ(expected, 0);
    EXPECT_EQ(Raises([&] { rows->MovePrevious(); }).number, kErrNoCurrentRecord);
    rows->MoveNext();
    EXPECT_EQ(Id(*rows), 1);
    rows->MoveLast();
    EXPECT_EQ(Id(*rows), kRows);
    rows->MovePrevious();
    rows->MoveFirst();
    EXPECT_EQ(Id(*rows), 1);
  }
}

TEST_F(RecordsetTest, WhatOtherUsersChangeShowsAsTheCursorTypeSays) {
  for (const Cursor& cursor : kScrolling) {
    SCOPED_TRACE(cursor.name);
    auto rows = Open(cursor);
    SqliteFile(path_).Exec(
        "UPDATE t SET name = 'changed' WHERE id = 200; DELETE FROM t WHERE id = 201;"
        "UPDATE p SET name = 'changed' WHERE id = 200; DELETE FROM p WHERE id = 201");
    while (Id(*rows) < 200) rows->MoveNext();
    EXPECT_EQ(rows->Value("name"), Variant(cursor.shows_changes ? "changed" : "n200"));
    rows->MoveNext();
    if (!cursor.shows_changes) {
      EXPECT_EQ(Id(*rows), 201);
    } else if (cursor.options == kCommandTableDirect) {
      EXPECT_EQ(Id(*rows), 202);
    } else {
      EXPECT_EQ(Raises([&] { rows->Value(0); }).number, kErrRowDeleted);
      EXPECT_EQ(Raises([&] { rows->SetValue(1, "x"); }).number, kErrRowDeleted);
    }
    SqliteFile(path_).Exec(
        "INSERT INTO t(rowid, id, name) VALUES (201, 201, 'n201'); UPDATE t SET name = 'n200' WHERE"
        " id = 200; INSERT INTO p VALUES (201, 'k5', 'n201'); UPDATE p SET name = 'n200' WHERE id ="
        " 200");
    rows->Requery();
    EXPECT_EQ(Id(*rows), 1);
    EXPECT_EQ(rows->RecordCount(), kRows);
  }
}

TEST_F(RecordsetTest, MaxRecordsHoldsForEveryCursor) {
  for (const Cursor& cursor : kScrolling) {
    SCOPED_TRACE(cursor.name);
    auto rows = Open(cursor, 5);
    EXPECT_EQ(rows->RecordCount(), 5);
    rows->MoveLast();
    EXPECT_EQ(Id(*rows), 5);
  }
  auto stream = Open({"stream", kOpenForwardOnly, kUseServer, kCommandText, true}, 5);
  connection_->Execute("CREATE TABLE breaks_the_stream (a)");
  int count = 0;
  for (const Recordset& row : stream->Rows()) count += row.FieldCount() > 0 ? 1 : 0;
  EXPECT_EQ(count, 5);
}

TEST_F(RecordsetTest, ATableIsReadByPagesAndNoStatementStaysOpen) {
  const std::int64_t before = connection_->StatementCount();
  auto rows = Open(kScrolling[5]);
  EXPECT_LE(connection_->StatementCount(), before + 1);
  while (!rows->Eof()) rows->MoveNext();
  EXPECT_LE(connection_->StatementCount(), before + 6);
  for (const Cursor& cursor : kScrolling) {
    auto open = Open(cursor, 0, kLockPessimistic);
    EXPECT_EQ(SqliteFile(path_).Query("PRAGMA wal_checkpoint(TRUNCATE)").substr(0, 1), "0")
        << cursor.name;
  }
}

TEST_F(RecordsetTest, ForwardOnlyGoesForwardOnly) {
  auto rows = Open({"stream", kOpenForwardOnly, kUseServer, kCommandText, true}, 0, kLockReadOnly);
  EXPECT_EQ(rows->RecordCount(), -1);
  rows->MoveNext();
  EXPECT_EQ(Id(*rows), 2);
  const std::function<void()> refused[] = {[&] { rows->MoveFirst(); }, [&] { rows->MoveLast(); },
                                           [&] { rows->MovePrevious(); }};
  for (const auto& move : refused) EXPECT_EQ(Raises(move).number, kErrNotAllowedHere);
  EXPECT_EQ(Id(*rows), 2);
}

TEST_F(RecordsetTest, ValuesKeepTheirTypes) {
  auto rows = connection_->Execute(
      "SELECT 1 AS whole, 3000000000 AS large, 1.5 AS real, 'mu\xC3\xB1oz' AS text, NULL AS none,"
      " x'4100' AS bytes, 2 AS Whole");
  EXPECT_EQ(rows->Value("whole"), Variant(1));
  EXPECT_EQ(rows->Value("WHOLE"), Variant(1)) << "the first of two";
  EXPECT_EQ(rows->Value("large"), Variant(std::int64_t{3000000000}));
  EXPECT_EQ(rows->Value("Real"), Variant(1.5));
  EXPECT_EQ(rows->Value("text"), Variant("mu\xC3\xB1oz"));
  EXPECT_EQ(rows->Value("none"), Variant::Null());
  EXPECT_EQ(rows->Value("bytes"), Variant(std::string("A\0", 2)));
  EXPECT_EQ(rows->FieldName(6), "Whole");
  EXPECT_EQ(rows->FieldOrdinal("nothing"), -1);
}

TEST_F(RecordsetTest, ErrorsOfStateAndArgument) {
  auto rows = connection_->CreateRecordset();
  const auto number = [](const std::function<void()>& operation) {
    return Raises(operation).number;
  };
  EXPECT_EQ(number([&] { rows->Eof(); }), kErrObjectClosed);
  EXPECT_EQ(number([&] { rows->Close(); }), kErrObjectClosed);
  EXPECT_EQ(number([&] { rows->CancelUpdate(); }), kErrObjectClosed);
  EXPECT_EQ(number([&] { rows->Open(); }), kErrInvalidConnection);
  EXPECT_EQ(number([&] { rows->Open("t", Connection::Create()); }), kErrInvalidConnection);
  EXPECT_EQ(number([&] { rows->Open("t", connection_, 9); }), kErrBadArgument);
  EXPECT_EQ(number([&] { rows->Open("t", connection_, 0, 1, 77); }), kErrBadArgument);
  EXPECT_EQ(number([&] { rows->Open("gone", connection_, 2, 2, 512); }), kErrNoSuchTable);
  EXPECT_EQ(number([&] { rows->Property("Colour"); }), kErrNoSuchItem);
  EXPECT_EQ(rows->State(), kStateClosed);
  rows->Open("SELECT * FROM t WHERE 1 = 2", connection_, kOpenStatic);
  EXPECT_TRUE(rows->Eof() && rows->Bof());
  EXPECT_EQ(number([&] { rows->MoveFirst(); }), kErrNoCurrentRecord);
  EXPECT_EQ(number([&] { rows->MoveNext(); }), kErrNoCurrentRecord);
  EXPECT_EQ(number([&] { rows->Value("nothing"); }), kErrNoSuchItem);
  EXPECT_EQ(number([&] { rows->Value(2); }), kErrNoSuchItem);
  EXPECT_EQ(number([&] { rows->SetMaxRecords(1); }), kErrObjectOpen);
  EXPECT_EQ(number([&] { rows->Open(); }), kErrObjectOpen);
}

TEST_F(RecordsetTest, PreservedRecordsetsSurviveBothEndsOfATransaction) {
  auto rows = connection_->CreateRecordset();
  EXPECT_EQ(rows->Property("preserve on commit"), Variant(false));
  rows->SetProperty("Preserve on Commit", true);
  rows->SetProperty("Preserve on Abort", true);
  EXPECT_EQ(rows->Property("Preserve on Abort"), Variant(true));
  EXPECT_EQ(Raises([&] { rows->SetProperty("Preserve on Abort", 1); }).number, kErrWrongType);
  rows->Open("SELECT * FROM t ORDER BY id", connection_, kOpenDynamic, kLockOptimistic);
  for (const bool commit : {true, false}) {
    connection_->BeginTrans();
    rows->MoveNext();
    rows->SetValue("name", commit ? "kept" : "lost");
    rows->Update();
    commit ? connection_->CommitTrans() : connection_->RollbackTrans();
    EXPECT_EQ(rows->State(), kStateOpen);
    EXPECT_EQ(Id(*rows), commit ? 2 : 3);
  }
  EXPECT_EQ(QueryText(path_, "SELECT name FROM t WHERE id IN (2, 3)"), "kept;n3");
}

TEST_F(RecordsetTest, ATableOpenedDirectlyMayBeReopenedByAQuery) {
  auto rows = Open(kScrolling[5]);
  rows->Close();
  rows->SetSource("SELECT * FROM t WHERE 1 = 2");
  rows->Open();
  EXPECT_TRUE(rows->Eof());
  rows->AddNew();
  rows->SetValue("id", 999);
  rows->Update();
  EXPECT_EQ(rows->RecordCount(), 1);
  rows->Close();
  rows->Open("v", connection_, kOpenDynamic, kLockOptimistic, kCommandTableDirect);
  rows->MoveLast();
  EXPECT_EQ(Id(*rows), 999);
  EXPECT_EQ(Raises([&] { rows->SetValue("name", "x"); }).number, kErrNotSupported) << "a view";
}

}  // namespace
}  // namespace qm::test
