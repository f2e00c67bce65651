// What is read out of connection strings and statement texts.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <qm/error.h>

#include "dataaccess/connection_string.h"
#include "dataaccess/keyword_spelling.h"
#include "dataaccess/plain_select.h"
#include "dataaccess/sql_scanner.h"
#include "dataaccess/statement_splitter.h"
#include "support/raises.h"

namespace qm::test {
namespace {

using ::testing::HasSubstr;
using ::testing::Not;

TEST(ConnectionString, KeywordsAndValues) {
  const struct {
    const char* text;
    const char* keyword;
    const char* value;
  } cases[] = {
      {"Provider=SQLite;Data Source=a.db", "provider", "SQLite"},
      {" DATA source = /my files/ä.db ; ", "Data Source", "/my files/ä.db"},
      {"Data Source=\"a;b=\"\"c\"\".db\";Provider=x", "data source", "a;b=\"c\".db"},
      {"Data Source='it''s' ;Provider=x", "Data Source", "it's"},
      {";;PWD=a b;", "Password", "a b"},
      {"uid=me", "User ID", "me"},
      {"Data Source=", "Data Source", ""},
      {"Data Source=a=b", "Data Source", "a=b"},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(ParsedConnectionString(c.text).Find(c.keyword), c.value) << c.text;
  }
  EXPECT_FALSE(ParsedConnectionString("Provider=x").Find("Data Source"));
}

TEST(ConnectionString, FaultsNameThePlaceAndNeverAPassword) {
  constexpr std::string_view kKnown[] = {"Provider", "Data Source", "Password"};
  const struct {
    const char* text;
    const char* named;
  } cases[] = {
      {"Provider=x;Colour=red", "\"Colour\""},      {"Provider=x;nonsense", "piece 2"},
      {"Provider=x;Provider=y", "piece 2"},         {"Data Source='open", "piece 1"},
      {"Data Source='a' b;Provider=x", "piece 1"},  {"Password=sec;ret=1;Provider=x", "piece 2"},
      {"Provider=x;PWD=sec;ret", "piece 3"},        {"Provider=x;Password='sec;ret", "piece 2"},
      {"Provider=x;Password='sec'ret;", "piece 2"},
  };
  for (const auto& c : cases) {
    const Failure failure = Raises([&] { ParsedConnectionString(c.text).RequireKnown(kKnown); });
    EXPECT_EQ(failure.number, kErrBadArgument) << c.text;
    EXPECT_THAT(failure.description, HasSubstr(c.named));
    EXPECT_THAT(failure.description, Not(HasSubstr("sec")));
    EXPECT_THAT(failure.description, Not(HasSubstr("ret")));
  }
}

TEST(Statement, OneACall) {
  const char* const allowed[] = {
      "SELECT 1",
      "SELECT 1;",
      " ; SELECT 1 ; -- done; really\n /* ; x */ ;",
      "SELECT ';', \"a;b\", [c;d], `e;f` FROM t",
      "SELECT 'it''s; fine'",
      "SELECT 1 -- ' ; SELECT 2",
      "SELECT 'open ; SELECT 2",
      "SELECT 'a?', [b?] FROM t -- ?",
  };
  for (const char* text : allowed)
    EXPECT_EQ(Raises([&] { RequireSingleStatement(text); }).number, 0);
  const std::string_view refused[] = {
      "",
      " ; -- nothing\n",
      "SELECT 1; SELECT 2",
      "SELECT 'O'; DROP TABLE t; --'",
      "SELECT 1 /* */ ; x",
      "SELECT [a]]; DROP TABLE t --]",
      "SELECT a FROM t WHERE b=?",
      std::string_view("SELECT 1\0; DROP TABLE t", 23),
  };
  for (const std::string_view text : refused) {
    EXPECT_EQ(Raises([&] { RequireSingleStatement(text); }).number, kErrStatement) << text;
  }
}

TEST(Statement, OneACallByTheEnginesOwnQuoting) {
  constexpr SqlQuoting kNone;
  constexpr SqlQuoting kEscapes{
      .escape_strings = true, .nested_comments = true, .return_ends_comment = true};
  constexpr SqlQuoting kHash{.hash_comments = true};
  const struct {
    SqlQuoting quoting;
    const char* text;
    bool one;
    bool one_elsewhere;  // by the standard's quoting
  } cases[] = {
      {kEscapes, "SELECT E'a\\'; fine'", true, false},
      {kEscapes, "SELECT E'a\\', ' ; DROP TABLE t --'", false, true},
      {kEscapes, "SELECT e'a\\' ; fine'", true, false},
      {kEscapes, "SELECT E'a' || E'\\\\'; DROP TABLE t --'", false, false},
      {kEscapes, "SELECT E'\\' '; DROP TABLE t --'", false, true},
      {kEscapes, "SELECT E'a'\n'b\\' '; DROP TABLE t --'", false, true},
      {kEscapes, "SELECT 1E'\\' '; DROP TABLE t --'", false, true},
      {kEscapes, "SELECT 'a\\', '; fine'", true, true},
      {kEscapes, "SELECT $$it's; fine$$", true, true},
      {kEscapes, "SELECT $a$ $$ ' $a$; DROP TABLE t --'", false, true},
      {kEscapes, "SELECT $1$ ; DROP TABLE t $1$", false, false},
      {kEscapes, "SELECT 1 /* /* */ ; x */", true, false},
      {kEscapes, "SELECT 1 -- x\r; DROP TABLE t", false, true},
      {kHash, "SELECT 1 # ; fine", true, false},
      {kHash, "SELECT 1 # '\n; DROP TABLE t -- '", false, true},
      {kHash, "SELECT 1 --1; DROP TABLE t", false, true},
      {kHash, "SELECT 1 -- ; fine", true, true},
      {kHash, "SELECT 1 /*! ; DROP TABLE t */", false, true},
      {kHash, "SELECT 1 /* /* ; */", true, true},
  };
  for (const auto& c : cases) {
    const auto one = [&](SqlQuoting quoting) {
      return Raises([&] { RequireSingleStatement(c.text, quoting); }).number == 0;
    };
    EXPECT_EQ(one(c.quoting), c.one) << c.text;
    EXPECT_EQ(one(kNone), c.one_elsewhere) << c.text;
  }
}

TEST(Statement, RowsOfOneTableAreRecognised) {
  const struct {
    const char* text;
    const char* table;  // empty: no rows of one table
    const char* reference = "";
  } cases[] = {
      {"SELECT * FROM t", "t", "t"},
      {"select a, b+1 AS c from [My Table] as x where a > (SELECT max(a) FROM u) order by b;",
       "My Table", "x"},
      {"SELECT a FROM main.\"t\" LIMIT 3", "t", "\"t\""},
      {"SELECT a FROM t x WHERE b IN (1, 2) AND (c)", "t", "x"},
      {"SELECT upper(a) FROM t", "t", "t"},
      {"SELECT DISTINCT a FROM t", ""},
      {"SELECT count(*) FROM t", ""},
      {"SELECT a FROM t ORDER BY count(*)", ""},
      {"SELECT my_aggregate(a) FROM t", ""},
      {"SELECT a FROM t GROUP BY a", ""},
      {"SELECT a FROM t WHERE b = 1 GROUP BY a", ""},
      {"SELECT a FROM t UNION SELECT a FROM u", ""},
      {"SELECT a FROM t WHERE b EXCEPT SELECT a FROM u", ""},
      {"SELECT a FROM t, u", ""},
      {"SELECT a FROM t JOIN u", ""},
      {"SELECT a FROM t NATURAL JOIN u", ""},
      {"SELECT a FROM t AS x LEFT JOIN u", ""},
      {"SELECT a FROM (SELECT a FROM t)", ""},
      {"SELECT (SELECT a FROM u) FROM t", ""},
      {"SELECT a FROM f(1)", ""},
      {"WITH x AS (SELECT 1) SELECT * FROM x", ""},
      {"SELECT 1", ""},
      {"UPDATE t SET a = 1", ""},
  };
  for (const auto& c : cases) {
    const auto plain = ParsePlainSelect(c.text);
    EXPECT_EQ(plain ? plain->table : "", c.table) << c.text;
    if (plain) {
      EXPECT_EQ(plain->reference, c.reference) << c.text;
    }
  }
  EXPECT_EQ(UnquoteName("[a b]"), "a b");
  EXPECT_EQ(UnquoteName("\"a\"\"b\""), "a\"b");
}

TEST(KeywordSpelling, OnlyAClauseIsPutRight) {
  const struct {
    const char* given;
    const char* spelt;
  } cases[] = {
      {"SELECT * FROM t WHERE a = 3 OERDER BY b", "SELECT * FROM t WHERE a = 3 ORDER BY b"},
      {"select a from t\n oerder /*x*/ by  a ;", "select a from t\n ORDER /*x*/ by  a ;"},
      {"SELECT * FROM [OERDER] OERDER BY 1", "SELECT * FROM [OERDER] ORDER BY 1"},
      {"SELECT * FROM (SELECT 1 FROM u OERDER BY 1) OERDER BY 1",
       "SELECT * FROM (SELECT 1 FROM u ORDER BY 1) ORDER BY 1"},
      {"SELECT * FROM t WHERE a = ' OERDER BY b' ORDER BY oerder", nullptr},
      {"SELECT \"OERDER\" BY FROM t WHERE OERDER = 1 -- OERDER BY b", nullptr},
      {"SELECT oerder by FROM oerder by WHERE a.oerder", nullptr},
      {"SELECT * FROM t, oerder by", nullptr},
      {"SELECT * FROM t /* OERDER BY b */ WHERE a = 'it''s OERDER BY'", nullptr},
      {"SELECT * FROM t OERDERED BY a", nullptr},
      {"INSERT INTO oerder VALUES ('OERDER BY')", nullptr},
      {"", nullptr},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(WithOrderSpelt(c.given), c.spelt == nullptr ? c.given : c.spelt);
  }
}

}  // namespace
}  // namespace qm::test
