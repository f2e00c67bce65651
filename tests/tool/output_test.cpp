// How results and failures are written.
#include <gtest/gtest.h>

#include <sstream>

#include "tool/report_error.h"
#include "tool/result_writer.h"

namespace qm::tool {
namespace {

TEST(ResultWriter, WritesEachFormat) {
  struct Case {
    Format format;
    std::string rows;
    std::string no_rows;
  };
  const Case cases[] = {
      {Format::kTable,
       "ID  Name   Note\n"
       " 7  MUÑOZ\n"
       "12  a b    say \"x\", y\n"
       "    \xFF\n",
       "ID  Name  Note\n"},
      {Format::kCsv, "ID,Name,Note\r\n7,MUÑOZ,\r\n12,\"a\nb\",\"say \"\"x\"\", y\"\r\n,\xFF,\r\n",
       "ID,Name,Note\r\n"},
      {Format::kJson,
       "[\n  {\"ID\": 7, \"Name\": \"MUÑOZ\", \"Note\": \"\"},\n"
       "  {\"ID\": 12, \"Name\": \"a\\nb\", \"Note\": \"say \\\"x\\\", y\"},\n"
       "  {\"ID\": null, \"Name\": \"\\ufffd\", \"Note\": \"\"}\n]\n",
       "[]\n"}};
  for (const Case& c : cases) {
    for (const bool rows : {true, false}) {
      std::ostringstream out;
      ResultWriter writer(out, c.format, {{"ID", true}, {"Name", false}, {"Note", false}});
      if (rows) {
        writer.Row({"7", "MUÑOZ"});
        writer.Row({"12", "a\nb", "say \"x\", y"});
        writer.Row({"", "\xFF"});
      }
      writer.Finish();
      EXPECT_EQ(out.str(), rows ? c.rows : c.no_rows);
    }
  }
  EXPECT_EQ(JsonText("\x01\t\\"), "\"\\u0001\\t\\\\\"");
}

TEST(ResultWriter, ALongTableStreamsAndALostOutputIsAnError) {
  std::ostringstream out;
  ResultWriter writer(out, Format::kTable, {{"N", true}});
  for (int i = 0; i < 1200; ++i) writer.Row({std::to_string(i)});
  EXPECT_NE(out.str().find("\n999\n"), std::string::npos);
  out.setstate(std::ios::badbit);
  EXPECT_THROW(writer.Finish(), Error);
}

TEST(DescribeError, TellsValuesOnlyWhenAskedTo) {
  const Error engine(kErrStatement, "SQLite", "near \"SMITH\": syntax error", 1,
                     "UPDATE [Patients_2] SET LastName = 'SMITH'");
  Tool tool;
  tool.doing = [] { return "matching abstract 7"; };
  EXPECT_EQ(DescribeError(engine, tool),
            "matching abstract 7: error -2147217900 (SQLite): the database engine refused the "
            "statement; table Patients_2; --verbose shows what the engine says");
  tool.settings.verbose = true;
  const std::string verbose = DescribeError(engine, tool);
  EXPECT_NE(verbose.find("engine (1): near \"SMITH\""), std::string::npos);
  EXPECT_NE(verbose.find("statement: UPDATE [Patients_2] SET LastName"), std::string::npos);

  tool.settings.verbose = false;
  const Error column(kErrStatement, "SQLite", "no such column: nosuch", 1,
                     "SELECT * FROM Patients");
  EXPECT_NE(DescribeError(column, tool).find("the statement, no such column: nosuch; table"),
            std::string::npos);

  const Error own(kErrNoSuchItem, "QMDataObjects2", "no column 'x'");
  EXPECT_EQ(DescribeError(own, Tool()), "error 3265 (QMDataObjects2): no column 'x'");
  EXPECT_EQ(TableOf("SELECT a FROM Patients WHERE b = 'FROM c'"), "Patients");
  EXPECT_EQ(TableOf("INSERT INTO Abstracts (a) values ('INTO x')"), "Abstracts");
  EXPECT_EQ(TableOf("PRAGMA x"), "");
}

}  // namespace
}  // namespace qm::tool
