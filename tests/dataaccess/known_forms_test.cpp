// Statements given again with other values, of which a connection keeps the form, against the same
// statements each on a connection that has seen none before.
#include <gtest/gtest.h>

#include <qm/conversions.h>
#include <qm/error.h>
#include <qm/recordset.h>

#include "support/sqlite_fixture.h"

namespace qm::test {
namespace {

constexpr const char* kTables =
    "CREATE TABLE t (id INTEGER PRIMARY KEY, name TEXT COLLATE NOCASE, size REAL);"
    "CREATE TABLE pair (a INTEGER, b INTEGER, name TEXT, PRIMARY KEY (a, b));"
    "CREATE TABLE loose (id INTEGER, name TEXT);"
    "CREATE INDEX some ON loose (name DESC) WHERE id = 1;"
    "CREATE VIEW v AS SELECT * FROM t;"
    "INSERT INTO t VALUES (1, 'Ann', 1), (2, 'Bo', 2.5), (3, NULL, NULL), (-2, '-', 0);"
    "INSERT INTO pair VALUES (1, 2, 'x'), (1, 1, 'y'), (2, 1, 'z');"
    "INSERT INTO loose VALUES (1, 'b'), (1, 'c'), (1, 'a'), (2, 'd');";

// What a text gives; its first row is edited where that can be done.
std::string Outcome(const std::shared_ptr<Connection>& connection, const std::string& text,
                    std::int32_t cursor, std::int32_t lock) {
  std::string outcome;
  try {
    const auto rows = connection->CreateRecordset();
    rows->Open(text, connection, cursor, lock);
    if (rows->State() != kStateOpen) return "done";
    for (int i = 0; i < rows->FieldCount(); ++i) outcome += rows->FieldName(i) + " ";
    outcome += rows->Supports(kSupportsUpdate) ? "updatable" : "read-only";
    if (rows->Supports(kSupportsUpdate) && !rows->Eof() && rows->FieldOrdinal("name") >= 0) {
      rows->SetValue("name", rows->Value("name").IsNull() ? "new" : "edited");
      rows->Update();
    }
    for (const Recordset& row : rows->Rows()) {
      outcome += ";";
      for (int i = 0; i < row.FieldCount(); ++i) {
        const Variant value = row.Value(i);
        outcome.append(TypeName(value.Type())).append(" ").append(ToTextOrEmpty(value)) += "|";
      }
    }
  } catch (const Error& error) {
    outcome = std::to_string(error.number()) + " " + error.description() + " " +
              std::string(error.statement());
  }
  return outcome;
}

// A text in braces is run by another user.
const std::string kTexts[] = {
    "SELECT * FROM t WHERE id = 1",
    "SELECT * FROM t WHERE id = 2",
    "SELECT * FROM t WHERE id = 99",
    "SELECT * FROM t WHERE id = 003",
    "SELECT * FROM t WHERE id = -2",
    "SELECT * FROM t WHERE id = 99999999999999999999",
    "SELECT * FROM t WHERE id = 1.0",
    "SELECT * FROM t WHERE id = 2;",
    "SELECT * FROM t WHERE id = 2 OR id = 1",
    "SELECT * FROM t WHERE id = ",
    "SELECT * FROM t WHERE id = 1; DELETE FROM t WHERE id = 2",
    "SELECT * FROM t WHERE id = ?",
    "SELECT size, name, id AS number FROM t AS one WHERE one.id = 2",
    "SELECT size, name FROM t AS one WHERE \"ID\" = 2",
    "SELECT size, name FROM t AS one WHERE \"ID\" = 1",
    "SELECT name FROM t ORDER BY 2",
    "SELECT name FROM t ORDER BY 1",
    "SELECT nothing FROM t WHERE id = 1",
    "SELECT * FROM pair WHERE a = 1",
    "SELECT * FROM pair WHERE a = 2",
    "SELECT * FROM loose WHERE id = 2",
    "SELECT * FROM loose WHERE id = 1",
    "SELECT * FROM v WHERE id = 1",
    "SELECT * FROM v WHERE id = 2",
    "INSERT INTO t (id, name, size) values (11, 'Ann', 3)",
    "INSERT INTO t (id, name, size) values (12, '12', -4)",
    "INSERT INTO t (id, name, size) values (12, 'again', 1)",
    "INSERT INTO t (id, name, size) values (13, 5, '6')",
    "INSERT INTO t (id, name, size) values (14, '', 'a?b;--')",
    "INSERT INTO t (id, name, size) values (15, 'O''Brien', 1)",
    "INSERT INTO t (id, name, size) values (16, 'O'Brien', 1)",
    "INSERT INTO t (id, name, size) values (17, 'a', 'b', 'c')",
    "INSERT INTO t (id, name, size) values (18, 'a')",
    "INSERT INTO t (id, name, size) values (19, NULL, 1.5)",
    "INSERT INTO t (id, name, size) values ('x', 'a', 1)",
    "INSERT INTO t (id, name, size) values (20, 'a', 1); DELETE FROM t",
    std::string("INSERT INTO t (id, name, size) values (21, 'a\0b', 1)", 52),
    "INSERT INTO t (id, name, size) values (22,'\xC3\xA9',9223372036854775807)",
    "{ALTER TABLE t ADD COLUMN extra TEXT DEFAULT 'e'}",
    "SELECT * FROM t WHERE id = 11",
    "INSERT INTO t (id, name, size) values (23, 'a', 1)",
    "SELECT * FROM t WHERE id = 23",
    "{DROP TABLE t}",
    "SELECT * FROM t WHERE id = 1",
    "INSERT INTO t (id, name, size) values (24, 'a', 1)",
    "CREATE TABLE t (size TEXT, id INTEGER PRIMARY KEY, _rowid_ TEXT, name TEXT) WITHOUT ROWID",
    "INSERT INTO t (id, name, size) values (25, 'a', 1)",
    "SELECT * FROM t WHERE id = 25",
    "DROP TABLE t",
    "CREATE TABLE t (id TEXT PRIMARY KEY, name TEXT, size TEXT)",
    "INSERT INTO t (id, name, size) values (26, 'a', 1)",
    "SELECT * FROM t WHERE id = 26",
    "SELECT * FROM t WHERE id = 026",
};

TEST(KnownForms, GiveWhatTheTextsGiveByThemselves) {
  TempFolder folder;
  for (const auto& [cursor, lock] :
       {std::pair{kOpenStatic, kLockReadOnly}, std::pair{kOpenStatic, kLockOptimistic},
        std::pair{kOpenKeyset, kLockOptimistic}}) {
    const std::string name = std::to_string(cursor) + std::to_string(lock);
    const std::string kept_file = MakeDatabase(folder.File(name + "kept.db"), kTables);
    const std::string fresh_file = MakeDatabase(folder.File(name + "fresh.db"), kTables);
    const auto kept = OpenSqlite(kept_file);
    for (int round = 0; round < 2; ++round) {  // the second meets every form again
      for (const std::string& text : kTexts) {
        if (text.starts_with('{')) {
          const std::string change = text.substr(1, text.size() - 2);
          SqliteFile(kept_file).Exec(change);
          SqliteFile(fresh_file).Exec(change);
          continue;
        }
        EXPECT_EQ(Outcome(kept, text, cursor, lock),
                  Outcome(OpenSqlite(fresh_file), text, cursor, lock))
            << text;
      }
      for (const char* table : {"t", "pair", "loose"}) {
        const std::string all = std::string("SELECT * FROM ") + table;
        EXPECT_EQ(QueryText(kept_file, all), QueryText(fresh_file, all));
      }
      for (const std::string& file : {kept_file, fresh_file}) {
        SqliteFile(file).Exec("DROP TABLE t; DROP TABLE pair; DROP TABLE loose; DROP VIEW v");
        SqliteFile(file).Exec(kTables);
      }
    }
  }
}

}  // namespace
}  // namespace qm::test
