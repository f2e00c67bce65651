// The check names each surprise of a rule set by its code, on an empty registry and on a filled
// one, and finds nothing in rules without surprises.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <qm/match_rules.h>

#include "matching/match_registry.h"

namespace qm::test {
namespace {

using testing::ElementsAreArray;
using testing::HasSubstr;

using Strings = std::vector<std::string>;

Strings Codes(const std::vector<RuleFinding>& findings) {
  Strings codes;
  for (const RuleFinding& finding : findings) {
    if (std::ranges::count(codes, finding.code) == 0) codes.push_back(finding.code);
  }
  return codes;
}

class RulesCheck : public testing::Test {
 protected:
  RulesCheck() {
    registry_.ChangeRegistry(
        "CREATE INDEX I ON Patients (socsec); CREATE INDEX J ON Patients"
        " (soundex);");
    Reset();
  }
  void Reset() const {
    registry_.Fill("tblBlockingParameters",
                   "('SocSec', 'socsec', ''''' ''999999999'''),"
                   " ('Soundex(<<LastName>>)', 'soundex', '''''')");
    registry_.Fill("tblMatchingParameters",
                   "('LastName', 10, NULL, 0, 0, NULL, 0), ('Sex', 5, '9', 1, 0, NULL, 0),"
                   " ('Nothing at all', NULL, NULL, NULL, NULL, NULL, 1)");
    registry_.Fill("tblTLCParameters", "(12)");
  }
  std::vector<RuleFinding> Check() const {
    return CheckMatchRules(registry_.database, ReadMatchRules(registry_.database));
  }
  void AddMatching(const std::string& row) const {
    registry_.ChangeRegistry("INSERT INTO tblMatchingParameters VALUES (" + row + ", NULL, 0)");
  }
  void AddBlocking(const std::string& row) const {
    registry_.ChangeRegistry("INSERT INTO tblBlockingParameters VALUES (" + row + ")");
  }

  MatchRegistry registry_;
};

TEST_F(RulesCheck, OneRuleAtATimeOnAnEmptyRegistry) {
  EXPECT_THAT(Codes(Check()), ElementsAreArray(Strings{}));
  struct Case {
    bool blocking;
    std::string row;
    Strings codes;
  };
  const Case cases[] = {
      {false, "'MiddleName', 5, 'UNKNOWN', 0, 0", {"missing-swallows"}},
      {false, "'MiddleName', 5, 'unknown', 0, 0", {"missing-case"}},
      {false, "'Sex', 5, '99999', 1, 3", {"duplicate", "missing-swallows"}},
      {false, "'Race1', 5, '99 98', 1, 0", {}},
      {false, "'Race1', 5, '9998', 1, 0", {"missing-swallows"}},
      {false, "'FirstName', 5, 'NO NAME,UNKNOWN', 1, 0", {"missing-swallows"}},
      {false, "'SocSec', 5, '999999999 000000000', 0, 3", {}},
      {false, "'SocSec', 0.4, NULL, 0, 3", {"weight-lost"}},
      {false, "'SocSec', 2.5, NULL, 0, 3", {"rounding-shift"}},
      {false, "'SocSec', 2, NULL, 0, 7", {"comparator-unknown"}},
      {false, "'soundex', 2, NULL, 1, 0", {"abstract-column"}},
      {false, "'HeldFor2', 2, NULL, 1, 0", {"candidate-column"}},
      {false, "'<<LastName>> & \"x\"', 2, NULL, 1, 0", {"expression-fails"}},
      {false, "'Left(<<LastName>>, 1', 2, NULL, 1, 0", {"expression-fails"}},
      {false, "'Left(LastName, 1)', 2, NULL, 1, 0", {"unknown-name"}},
      {false, "'Left(<<LastName>>, vbLf) & (1)', 2, NULL, 1, 0", {"expression-fails"}},
      {false, "'CLng(<<SocSec>>)', 2, NULL, 1, 0", {"expression-fails"}},
      {false, "'Left(<<LastName>>, 1) ''the initial', 2, NULL, 1, 0", {"remark"}},
      {false, "'NoFunction(<<LastName>>)', 2, NULL, 1, 0", {"expression-fails"}},
      {false,
       "'Year(DateSerial(\"0\" & Left(<<BirthDate>>, 4), \"0\" & Mid(<<BirthDate>>, 5, 2), 1))',"
       " 2, NULL, 1, 0",
       {"expression-fails"}},
      {false, "'(<<LastName>> & <<FirstName>>)', 2, NULL, 1, 0", {"long-value"}},
      {false, "'FirstName', NULL, NULL, 1, 0", {"not-loaded"}},
      {false, "'LastName', 1, NULL, 0, NULL", {"duplicate"}},
      {true, "'SocSec', 'socsec', '999999999'", {"duplicate", "ignore-unquoted", "ignore-empty"}},
      {true, "'HeldFor2', 'soundex', ''''''", {"remote-column"}},
      {true, "'FirstName', 'firstname', ''''''", {"blocking-index"}},
      {true, "'FirstName', 'nickname', ''''''", {"patient-column"}},
      {true, "'NoField', 'socsec', ''''''", {"abstract-column"}},
  };
  for (const Case& c : cases) {
    Reset();
    c.blocking ? AddBlocking(c.row) : AddMatching(c.row);
    const auto findings = Check();
    Strings codes = Codes(findings);
    Strings expected = c.codes;
    std::ranges::sort(codes);
    std::ranges::sort(expected);
    EXPECT_THAT(codes, ElementsAreArray(expected)) << c.row;
    for (const RuleFinding& finding : findings) {
      EXPECT_EQ(finding.key, c.blocking ? "3" : "4") << c.row;
      EXPECT_EQ(finding.table, c.blocking ? "tblBlockingParameters" : "tblMatchingParameters");
    }
  }
}

TEST_F(RulesCheck, TablesAsAWhole) {
  struct Case {
    std::string change;
    Strings codes;
  };
  const Case cases[] = {
      {"DELETE FROM tblBlockingParameters", {"no-rules"}},
      {"UPDATE tblMatchingParameters SET ignore = 1", {"no-rules", "cutoff-unreachable"}},
      {"UPDATE tblMatchingParameters SET ignore = -1 WHERE FieldName = 'Sex'", {"ignore-unclear"}},
      {"UPDATE tblMatchingParameters SET ignore = NULL WHERE FieldName = 'Sex'",
       {"ignore-unclear", "cutoff-unreachable"}},
      {"UPDATE tblTLCParameters SET PotentialPatientMatch = 16", {"cutoff-unreachable"}},
      {"UPDATE tblTLCParameters SET PotentialPatientMatch = 0", {"cutoff-zero"}},
      {"DELETE FROM tblTLCParameters", {"not-loaded"}},
      {"INSERT INTO tblTLCParameters VALUES (1)", {"cutoff-rows"}},
      {"UPDATE tblMatchingParameters SET Weight = 30000 WHERE ignore = 0", {"score-overflow"}},
  };
  for (const Case& c : cases) {
    Reset();
    registry_.ChangeRegistry(c.change);
    EXPECT_THAT(Codes(Check()), ElementsAreArray(c.codes)) << c.change;
  }
}

TEST_F(RulesCheck, CountsWhatHappensToTheRecordsThatAreThere) {
  registry_.Fill("Patients",
                 "(1, 'N000', '01', '1', 'NOW', 'A', 'B', '1', ''),"
                 " (2, 'U525', '01', '1', 'UNKNOWN', 'A', '', '', ''),"
                 " (3, '', '01', '1', 'MONTGOMERY-FITZWILLIAMSON', 'A\"B', '', 'x', '7'),"
                 " (4, '', '01', '1', 'MONTGOMERY-FITZWILLIAMSOM', 'A', '', '8', '7')");
  registry_.ChangeRegistry(
      "DELETE FROM tblMatchingParameters;"
      "UPDATE tblBlockingParameters SET ignorevalues = NULL WHERE rowid = 1;");
  AddMatching("'LastName', 9, 'UNKNOWN', 0, 0");
  AddMatching("'UCase(<<FirstName>>)', 9, NULL, 1, 0");
  AddMatching("'CStr(1 / Len(<<BirthDate>>))', 9, NULL, 1, 0");
  std::map<std::string, std::string> told;
  for (const RuleFinding& finding : Check()) told[finding.code] = finding.what;
  EXPECT_EQ(told.size(), 5U);
  EXPECT_THAT(told["missing-swallows"], HasSubstr("1 of 4 patients and 0 of 0 abstracts"));
  EXPECT_THAT(told["missing-swallows"], HasSubstr("e.g. NOW"));
  EXPECT_THAT(told["long-value"], HasSubstr("2 of 4 patients"));
  EXPECT_THAT(told["long-value"], HasSubstr("different ones become equal"));
  EXPECT_THAT(told["quote-in-value"], HasSubstr("1 of 4 patients"));
  EXPECT_THAT(told["expression-fails"], HasSubstr("fails for 1 of 4 patients and 0 of 0"));
  EXPECT_THAT(told["expression-fails"], HasSubstr("error 11"));
  EXPECT_THAT(told["ignore-empty"], HasSubstr("all 2 patients whose socsec is empty"));
}

}  // namespace
}  // namespace qm::test
