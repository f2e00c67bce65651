// The figures of summary and evaluation against pairs whose scores are known, and the score that
// the manual works out by hand.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <qm/evaluation.h>
#include <qm/matcher.h>
#include <qm/registry_setup.h>

#include <numeric>

#include "support/raises.h"
#include "support/sqlite_fixture.h"

namespace qm::test {
namespace {

using testing::HasSubstr;

constexpr const char* kColumns = "LastName, FirstName, MiddleName, BirthDate, SocSec, Sex, Race1";

class EvaluationTest : public testing::Test {
 protected:
  EvaluationTest() {
    CreateRegistryFolder(folder_.path(), {{"18"}});
    path_ = folder_.File("registry.db");
  }
  void Load() {
    matcher_.ReadMatchingParams(SqliteConnectionString(path_));
    registry_ = OpenSqlite(path_);
  }
  void Exec(const std::string& script) const { SqliteFile(path_).Exec(script); }

  TempFolder folder_;
  std::string path_;
  Matcher matcher_;
  std::shared_ptr<Connection> registry_;
};

TEST_F(EvaluationTest, TheManualsScore) {
  Exec(std::string("INSERT INTO Patients (PatientID, Soundex, ") + kColumns +
       ") VALUES (7, 'S530', 'SMITH', 'MARGARET', 'ANN', '19470211', '900123456', '2', '01');"
       "INSERT INTO Abstracts (AbsRefID, " +
       kColumns + ") VALUES (1, 'SMYTH', 'MARGRET', '', '19471102', '900123465', '2', '99')");
  Load();
  std::vector<int> added;
  const auto abstract = registry_->Execute("SELECT * FROM Abstracts");
  const auto patient = registry_->Execute("SELECT * FROM Patients");
  for (const RuleScore& rule : matcher_.Explain(*abstract, *patient)) added.push_back(rule.added);
  EXPECT_EQ(added, (std::vector{5, 10, 29, 0, 0, 7, 0, -24, 7, 27, -24, 43}));
  EXPECT_EQ(std::reduce(added.begin(), added.end()), 80);
}

// Abstracts 1 to 5 block by sex; the number gives 10 points, the first name 5, the last name 2.
// Scores: 1: patient 1 15, 2 5. 2: patients 1 and 2 5 (a tie), 3 12. 3: patient 4 7. 4: none.
// 5: patient 4 2.
TEST_F(EvaluationTest, CountsOfKnownPairs) {
  Exec(
      "DELETE FROM tblBlockingParameters; DELETE FROM tblMatchingParameters;"
      "INSERT INTO tblBlockingParameters VALUES (1, 'Sex', 'Sex', ''''''), (2, 'SocSec', 'SocSec',"
      " '''''');"
      "INSERT INTO tblMatchingParameters VALUES (1, 'SocSec', 10, NULL, 1, 0, '', 0),"
      " (2, 'FirstName', 5, NULL, 1, 0, '', 0), (3, 'LastName', 2, NULL, 1, 0, '', 0);"
      "UPDATE tblTLCParameters SET PotentialPatientMatch = 6;"
      "INSERT INTO Patients (PatientID, SocSec, FirstName, LastName, Sex) VALUES"
      " (1, '11', 'A', 'X', '1'), (2, '22', 'A', 'Y', '1'), (3, '33', 'C', 'Z', '3'),"
      " (4, '44', 'D', 'W', '2');"
      "INSERT INTO Abstracts (AbsRefID, SocSec, FirstName, LastName, Sex) VALUES"
      " (1, '11', 'A', 'Q', '1'), (2, '33', 'A', 'Z', '1'), (3, '', 'D', 'W', '2'),"
      " (4, '99', 'A', 'X', ''), (5, '55', 'E', 'W', '2');");
  Load();
  EvaluationOptions options;
  options.bin = 10;
  const MatchSummary summary = SummarizeMatching(registry_, registry_, options);
  EXPECT_EQ(summary.abstracts, 5);
  EXPECT_EQ(summary.candidates, 7);
  ASSERT_EQ(summary.scores.size(), 2U);
  EXPECT_EQ(summary.scores[0].candidates, 5);
  EXPECT_EQ(summary.scores[0].best, 2);
  EXPECT_EQ(summary.scores[1].best, 2);
  struct Blocking {
    std::int64_t abstracts, candidates, only, pairs, only_pairs;
  };
  const Blocking blocking[] = {{4, 6, 5, 2, 1}, {4, 2, 1, 2, 1}};
  for (int i = 0; i < 2; ++i) {
    const BlockingCount& count = summary.blocking.at(static_cast<std::size_t>(i));
    EXPECT_EQ(count.abstracts, blocking[i].abstracts) << i;
    EXPECT_EQ(count.candidates, blocking[i].candidates) << i;
    EXPECT_EQ(count.only_candidates, blocking[i].only) << i;
    EXPECT_EQ(count.pairs, blocking[i].pairs) << i;
    EXPECT_EQ(count.only_pairs, blocking[i].only_pairs) << i;
  }
  std::map<int, std::vector<std::int64_t>> cutoffs;
  for (const CutoffCount& at : summary.cutoffs) cutoffs[at.cutoff] = {at.pairs, at.links, at.ties};
  EXPECT_EQ(cutoffs,
            (std::map<int, std::vector<std::int64_t>>{
                {0, {7, 4, 0}}, {5, {6, 3, 0}}, {6, {3, 3, 0}}, {10, {2, 2, 0}}, {15, {1, 1, 0}}}));

  // Right: 1 with 15, 3 with 7; 2 truly is patient 1, 4 is not blocked, 5 is nobody.
  const Truth truth = ReadTruth("Line,PatientID\r\n1,1\r\n2,1\r\n3,4\r\n4,1\r\n5,\r\n");
  const MatchEvaluation evaluation = EvaluateMatching(registry_, registry_, truth, options);
  EXPECT_EQ(evaluation.abstracts, 5);
  EXPECT_EQ(evaluation.registered, 4);
  EXPECT_EQ(evaluation.not_blocked, 1);
  EXPECT_EQ(evaluation.best, 4);  // between 2 and 5: of pairs, abstract 2 is right from there
  for (const CutoffAccuracy& at : evaluation.cutoffs) {
    if (at.cutoff != 6) continue;
    EXPECT_EQ(at.best.found, 3);
    EXPECT_EQ(at.best.right, 2);
    EXPECT_DOUBLE_EQ(at.best.precision, 2.0 / 3);
    EXPECT_DOUBLE_EQ(at.best.recall, 0.5);
    EXPECT_DOUBLE_EQ(at.best.f1, 4.0 / 7);
    EXPECT_EQ(at.pairs.found, 3);
  }
  EXPECT_EQ(Raises([&] {
              EvaluateMatching(registry_, registry_, ReadTruth("Line,PatientID\n1,1\n9,\n", 2));
            }).description,
            "abstract 10 of the truth does not exist");
}

TEST(TruthFile, BadLinesAreNamed) {
  EXPECT_EQ(ReadTruth("PatientID,AbsRefID,Line\n5,30,1\n,31,2\n"),
            (Truth{{30, 5}, {31, std::nullopt}}));
  const std::pair<const char*, const char*> cases[] = {
      {"", "line 1: the heading lacks"},
      {"Line,Patient\n", "line 1: the heading lacks"},
      {"Line,PatientID\n1,1\nx,1\n", "line 3: "},
      {"Line,PatientID\n1,x\n", "line 2: PatientID"},
      {"Line,PatientID\n1\n", "line 2: too few"},
      {"Line,PatientID\n1,1\n1,2\n", "line 3: abstract 1"},
  };
  for (const auto& [csv, reason] : cases) {
    EXPECT_THAT(Raises([&text = csv] { ReadTruth(text); }).description, HasSubstr(reason)) << csv;
  }
  EXPECT_THAT(Raises([] { ReadTruth("Line,PatientID\n2147483647,1\n", 2); }).description,
              HasSubstr("line 2: no abstract has"));
}

}  // namespace
}  // namespace qm::test
