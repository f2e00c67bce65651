// Rows read as texts, against the same rows in a recordset.
#include "dataaccess/text_rows.h"

#include <gtest/gtest.h>

#include <qm/conversions.h>
#include <qm/error.h>

#include "support/raises.h"
#include "support/sqlite_fixture.h"

namespace qm::test {
namespace {

class TextRowsTest : public testing::Test {
 protected:
  TempFolder folder_;
  std::shared_ptr<Connection> connection_ = OpenSqlite(
      MakeDatabase(folder_.File("a.db"),
                   "CREATE TABLE t (k INTEGER PRIMARY KEY, v);"
                   "INSERT INTO t (v) VALUES ('text'), (7), (-5000000000), (2.5), (1e20), (NULL),"
                   " (x'4142'), (x''), (''), ('é''\"'), ('text')"));
};

TEST_F(TextRowsTest, AreWhatARecordsetHas) {
  for (const char* query :
       {"SELECT k, v, v AS again FROM t ORDER BY k", "SELECT v FROM t WHERE v = 'text' OR k = 4",
        "SELECT v FROM t WHERE v = 7", "SELECT v FROM t WHERE v = 'none'"}) {
    const auto expected = connection_->Execute(query);
    const RecordsetTexts standing(*expected);
    TextRows rows(connection_, query);
    for (; !expected->Eof(); expected->MoveNext()) {
      ASSERT_TRUE(rows.Next()) << query;
      for (int i = 0; i < expected->FieldCount(); ++i) {
        EXPECT_EQ(rows.Text(i), ToTextOrEmpty(expected->Value(i))) << query;
        EXPECT_EQ(rows.Text(i), standing.Text(i)) << query;
        EXPECT_EQ(rows.Value(expected->FieldName(i)), expected->Value(i)) << query;
      }
    }
    EXPECT_FALSE(rows.Next());
    EXPECT_FALSE(rows.Next());
    EXPECT_EQ(rows.Find("V"), standing.Find("v"));
    EXPECT_EQ(rows.Find("nope"), -1);
    EXPECT_EQ(Raises([&] { rows.Value("nope"); }).number, kErrNoSuchItem);
  }
}

TEST_F(TextRowsTest, FailAsARecordsetDoes) {
  for (const std::string query : {"SELECT nope FROM t", "SELECT v FROM nope", "SELECT v FROM",
                                  "SELECT 1; DELETE FROM t", "", "SELECT abs('x', v) FROM t"}) {
    const Failure expected =
        Raises([&] { connection_->CreateRecordset()->Open(query, connection_); });
    const Failure failure = Raises([&] { TextRows(connection_, query); });
    EXPECT_NE(failure.number, 0) << query;
    EXPECT_EQ(failure.number, expected.number) << query;
    EXPECT_EQ(failure.description, expected.description) << query;
  }
  connection_->Close();
  EXPECT_EQ(Raises([&] { TextRows(connection_, "SELECT 1"); }).number, kErrInvalidConnection);
}

}  // namespace
}  // namespace qm::test
