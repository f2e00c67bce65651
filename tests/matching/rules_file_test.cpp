// The matching tables as one file: nothing is lost on the way out and in, and a bad row changes
// nothing.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <qm/match_rules.h>

#include "matching/match_registry.h"
#include "support/raises.h"

namespace qm::test {
namespace {

using testing::HasSubstr;

constexpr const char* kHeading =
    "Table,AbstractField,PatientField,ignorevalues,FieldName,Weight,MissingValues,ExactMatch,"
    "ignore,"
    "PotentialPatientMatch\n";

TEST(RulesFile, OutAndInIsTheSameByteForByte) {
  MatchRegistry registry;
  registry.ChangeRegistry(
      "DELETE FROM tblTLCParameters; INSERT INTO tblTLCParameters VALUES (60), (70);"
      "ALTER TABLE tblMatchingParameters ADD COLUMN Remark;"
      "INSERT INTO tblBlockingParameters VALUES ('a, b', 'x\"y', ''), ('two' || char(13, 10) ||"
      " 'lines', ' p ', NULL), ('9', 'É', '00000000');"
      "INSERT INTO tblMatchingParameters VALUES ('Sex', 6.5, '9', 0, NULL, '', 0, 7),"
      " ('old', NULL, NULL, NULL, NULL, NULL, 1, 'kept'), ('x', -0.1, 9, '1', 3, NULL, '0', "
      "NULL);");
  const auto dump = [&] {
    std::string all;
    for (const char* query :
         {"SELECT AbstractField, PatientField, quote(ignorevalues) FROM tblBlockingParameters",
          "SELECT quote(FieldName), quote(Weight), quote(MissingValues), quote(ExactMatch),"
          " quote(StringComparatorParam), quote(AliasName), quote(ignore), quote(Remark)"
          " FROM tblMatchingParameters",
          "SELECT * FROM tblTLCParameters"}) {
      all += registry.Registry(query) + "\n";
    }
    return all;
  };
  const std::string before = dump();
  const std::string csv = MatchRulesCsv(ReadMatchRules(registry.database));
  EXPECT_THAT(csv, HasSubstr("matching,,,,Sex,6.5,\"9\",0,,\"\",0,7,\r\n"));
  registry.Fill("tblMatchingParameters", "");
  ReplaceMatchRules(registry.database, ParseMatchRules(csv));
  EXPECT_EQ(dump(), before);
  EXPECT_EQ(MatchRulesCsv(ReadMatchRules(registry.database)), csv);
}

TEST(RulesFile, BadFilesAreNamedByLineAndReason) {
  const std::string cutoff = "cutoff,,,,,,,,,60\n";
  const std::pair<std::string, std::string> cases[] = {
      {"Table;FieldName\n", "line 1: the heading does not begin with Table"},
      {"Table,FieldName\n", "line 1: the heading lacks the column AbstractField"},
      {kHeading, "line 1: the file ends without a cut-off row"},
      {kHeading + cutoff + "block,a,b\n", "line 3: Table is none of"},
      {kHeading + cutoff + "blocking,\"a\nb\",,\n", "line 3: PatientField is empty"},
      {kHeading + cutoff + "\nmatching,,,,Sex,heavy,,1,0\n", "line 4: Weight is no number"},
      {kHeading + cutoff + "matching,,,,Sex,1,,,0\n", "line 3: ExactMatch"},
      {kHeading + cutoff + "matching,,,,Sex,1,,1,no\n", "line 3: ignore is no number"},
      {kHeading + cutoff + "matching,,,,Sex,1,\"9\" x,1,0\n", "line 3: text stands behind"},
      {kHeading + cutoff + "matching,,,,\"Sex,1\n", "line 3: a quoted value never ends"},
      {kHeading + std::string("cutoff,,,,,,,,,40000\n"), "line 2: PotentialPatientMatch"},
      {kHeading + cutoff + "blocking,a,b,,,,,,,,,1\n", "line 3: more cells"},
      {kHeading + cutoff + "blocking,M\xFCller,b\n", "line 3: cell 2 is no text in UTF-8"},
  };
  for (const auto& [csv, reason] : cases) {
    const Failure failure = Raises([&text = csv] { ParseMatchRules(text); });
    EXPECT_EQ(failure.number, 3001) << csv;
    EXPECT_THAT(failure.description, HasSubstr(reason)) << csv;
  }
  // An ignored row may hold anything, and a column that the database lacks loses nothing silently.
  const MatchRules rules = ParseMatchRules(
      "Table,AbstractField,PatientField,FieldName,Weight,ExactMatch,ignore,PotentialPatientMatch,"
      "Extra\ncutoff,,,,,,,60\nmatching,,,old,,,1,,kept\n");
  MatchRegistry registry;
  registry.Fill("tblBlockingParameters", "('a', 'b', NULL)");
  EXPECT_EQ(Raises([&] { ReplaceMatchRules(registry.database, rules); }).description,
            "line 3: tblMatchingParameters has no column Extra");
  const auto fails = [&] { throw std::runtime_error("not written"); };
  EXPECT_THROW(ReplaceMatchRules(registry.database, ParseMatchRules(kHeading + cutoff), fails),
               std::runtime_error);
  EXPECT_EQ(registry.Registry("SELECT count(*) FROM tblBlockingParameters"), "1");
}

}  // namespace
}  // namespace qm::test
