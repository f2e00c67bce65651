#include "matching/candidate_search.h"

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

#include "matching/match_registry.h"
#include "matching/reference.h"
#include "support/raises.h"

namespace qm::test {
namespace {

constexpr const char* kSource = "qmDataObjects.Matcher.GetMatchingPatientIDs";

// Four patients and one abstract; blocking by name, scoring by names and sex.
class Search : public testing::Test {
 protected:
  Search() {
    registry.Fill("Patients",
                  "(1, 'L000', '', '1', 'LEE', 'ANN', '', '', ''),"
                  "(2, 'L000', '', '2', 'LEE', 'ANN', 'M', '', ''),"
                  "(9, 'L000', '', '2', 'LEE', 'ANN', '', '', ''),"
                  "(4, 'O165', '', '2', 'O''BRIEN', 'ANN', '', '', '')");
    registry.Fill("tblBlockingParameters", "(' LastName ', ' lastname ', '''''')");
    registry.LoadRules(
        "('lastname', 8, NULL, 1, 0), ('firstname', 2, NULL, 1, 0),"
        "('sex', 5, '9', 1, 0)");
    Abstracts("LEE", "ANN", "2");
  }

  void Abstracts(const std::string& last, const std::string& first, const std::string& sex) {
    registry.ChangeRegistry(
        "DELETE FROM Abstracts; INSERT INTO Abstracts (AbsRefID, LastName, firstname, sex) VALUES "
        "(5, '" +
        last + "', '" + first + "', '" + sex + "')");
  }
  std::string Local() {
    Abstract abstract = registry.data_sets.GetAbstract(5);
    return registry.matcher.GetMatchingPatientIDsLocal(registry.database, abstract);
  }
  std::string Remote(const std::string& key = "5") {
    return registry.matcher.GetMatchingPatientIDsRemote(registry.ConnectionText(),
                                                        [&](std::string_view name) {
                                                          EXPECT_EQ(name, "absrefid");
                                                          return Variant(key);
                                                        });
  }

  MatchRegistry registry;
};

TEST_F(Search, BestFirstTiesAsRetrieved) {
  EXPECT_EQ(Local(), ", 2:15, 9:15, 1:10");  // 10 is the cut-off
  EXPECT_EQ(Remote(), ", 2:15, 9:15, 1:10");
  ASSERT_EQ(registry.matcher.Matches().size(), 3U);
  EXPECT_EQ(registry.matcher.Matches()[2], (Match{1, 10}));
  EXPECT_TRUE(Matcher().Matches().empty());
  Abstract abstract = registry.data_sets.GetAbstract(5);
  EXPECT_EQ(registry.matcher.GetMatchingPatientIDsRemote(registry.ConnectionText(), abstract),
            ", 2:15, 9:15, 1:10");
  registry.matcher.SetCutoffScore(16);
  EXPECT_EQ(Local(), "");
  EXPECT_TRUE(registry.matcher.Matches().empty());
}

TEST_F(Search, WithoutAConditionEveryPatientIsACandidate) {
  registry.matcher.SetCutoffScore(0);
  Abstracts("", "ANN", "9");
  EXPECT_EQ(Local(), ", 1:2, 2:2, 4:2, 9:2");  // the empty name is an ignored value
  registry.Fill("tblBlockingParameters", "");
  EXPECT_EQ(Remote(), ", 1:2, 2:2, 4:2, 9:2");
  registry.Fill("tblBlockingParameters",
                "('LastName', 'lastname', NULL), ('Soundex(\"O''Brien\")', 'soundex', NULL)");
  EXPECT_EQ(Local(), ", 4:2");
}

TEST_F(Search, Failures) {
  Abstracts("O''BRIEN", "ANN", "2");
  Failure failure = Raises([&] { Local(); });
  EXPECT_EQ(failure.number, -2147216504);
  EXPECT_EQ(failure.source, kSource);
  CandidateOptions options;
  options.escape_quotes = true;
  options.explain = true;
  const auto found =
      FindCandidates(registry.database, *registry.data_sets.GetAbstract(5).Recordset(1), options);
  ASSERT_EQ(found.size(), 1U);
  EXPECT_EQ(found[0].match, (Match{4, 15}));
  EXPECT_EQ(found[0].lastname + found[0].firstname, "O'BRIENANN");
  ASSERT_EQ(found[0].rules.size(), 3U);
  EXPECT_EQ(found[0].rules[0].abstract_value, "OBRIEN");

  // A value of quotes and marks stops nothing and runs nothing.
  registry.Fill("tblBlockingParameters", "('Left(<<LastName>>, 99)', 'lastname', NULL)");
  Abstracts("A\" & 1/0 & \"<<B>>", "ANN", "2");
  EXPECT_TRUE(
      FindCandidates(registry.database, *registry.data_sets.GetAbstract(5).Recordset(1), options)
          .empty());

  Abstracts("LEE", "ANN", "2");
  for (const auto& [rule, failing] : std::vector<std::pair<std::string, std::string>>{
           {"('nope', 'lastname', NULL)", "nope"},
           {"('Left(', 'lastname', NULL)", "Left("},
           {"('LastName', 'nope', NULL)",
            "of tblBlockingParameters (its "
            "PatientField)"},
           {"(NULL, 'lastname', NULL)", "number 1 of tblBlockingParameters"}}) {
    registry.Fill("tblBlockingParameters", rule);
    failure = Raises([&] { Remote(); });
    EXPECT_EQ(failure.number, -2147216504) << rule;
    EXPECT_EQ(failure.source, kSource);
    EXPECT_EQ(LastRule(), failing);
  }
  registry.Fill("tblBlockingParameters", "");
  // A script that fails for some patient fails the search, also where nobody can reach the cut-off.
  registry.LoadRules(
      "('sex', 5, NULL, 1, 0), ('Left(\"AB\", 1 - 2 * Len(<<middlename>>))', 1, NULL, 1, 0)");
  registry.matcher.SetCutoffScore(1000);
  EXPECT_EQ(Raises([&] { Remote(); }).number, -2147216504);
  EXPECT_EQ(LastRule(), "Left(\"AB\", 1 - 2 * Len(<<middlename>>))");
  EXPECT_EQ(Raises([&] { Remote("6"); }).number, -2147216504);  // no such abstract
  // A connection that cannot be made is its own error; a closed one is told as a result.
  EXPECT_EQ(Raises([&] {
              registry.matcher.GetMatchingPatientIDsRemote(
                  "Provider=None;", [](std::string_view) { return Variant(5); });
            }).number,
            kErrUnknownProvider);
  Abstract abstract = registry.data_sets.GetAbstract(5);
  EXPECT_EQ(registry.matcher.GetMatchingPatientIDsLocal(Connection::Create(), abstract),
            "Closed connection");
}

// Random people of few names, against the plain search.
TEST(SearchReference, RandomRows) {
  std::mt19937 random(5);
  const auto pick = [&](const std::vector<const char*>& from) {
    return std::string(from[random() % from.size()]);
  };
  const auto person = [&] {
    PlainRow row;
    row["lastname"] =
        pick({"SMITH", "smith ", "Smyth", "O'BRIEN", "'o brien", "OBRIEN", "LEE", "", " ",
              "UNKNOWN", "VANDERBERGHE-MONTGOMERY-SMITH", "VANDERBERGHE-MONTGOMERY-SMYTH"});
    row["firstname"] = pick({"ANN", "ANNE", "JOHN", "JON", "", "O'DELL", " ANN"});
    row["birthdate"] = pick({"19500102", "19500201", "19510102", "99999999", ""});
    row["socsec"] = std::to_string(123456780 + random() % 12);
    if (random() % 6 == 0) row.erase("firstname");
    if (random() % 6 == 0) row["socsec"] = "999999999";
    return row;
  };
  const auto sql = [](const PlainRow& row, const std::string& column) {
    const auto it = row.find(column);
    if (it == row.end()) return std::string("NULL");
    std::string text = "'";
    for (const char c : it->second) text += c == '\'' ? std::string("''") : std::string(1, c);
    return text + "'";
  };
  MatchRegistry registry;
  std::map<int, PlainRow> patients;
  std::string script = "BEGIN;";
  for (int key = 1; key <= 300; ++key) {
    PlainRow row = person();
    row["soundex"] = ReferenceSoundex(row["lastname"]);
    script +=
        "INSERT INTO Patients (PatientID, soundex, lastname, firstname, birthdate, socsec) "
        "VALUES (" +
        std::to_string(key);
    for (const char* column : {"soundex", "lastname", "firstname", "birthdate", "socsec"}) {
      script += ", " + sql(row, column);
    }
    script += ");";
    patients[key] = row;
  }
  registry.ChangeRegistry(script + "COMMIT;");
  registry.Fill(
      "tblBlockingParameters",
      "('Soundex(<<lastname>>)', 'soundex', ''''''), ('socsec', 'socsec', '''999999999'''),"
      "('firstname', 'lastname', '''''')");
  const std::vector<PlainBlock> blocks = {{"lastname", true, "soundex", "''"},
                                          {"socsec", false, "socsec", "'999999999'"},
                                          {"firstname", false, "lastname", "''"}};
  registry.LoadRules(
      "('lastname', 20.5, 'UNKNOWN', 0, 0), ('lastname', 4, NULL, 0, 2), ('firstname', 10, NULL, 0,"
      " 1), ('Soundex(<<lastname>>)', 5, NULL, 1, 0), ('birthdate', 25, '99999999', 0, 3),"
      " ('socsec', 40, '999999999,000000000', 0, 3), ('firstname', -3.5, NULL, 1, 0),"
      " ('lastname', 50.5, 'UNKNOWN', 1, 0), ('socsec', 45, '999999999', 1, 0)");
  const std::string none = "~!*&%^^";
  const std::vector<PlainRule> rules = {{"lastname", false, 20.5, "UNKNOWN", false, 0},
                                        {"lastname", false, 4, none, false, 2},
                                        {"firstname", false, 10, none, false, 1},
                                        {"lastname", true, 5, none, true, 0},
                                        {"birthdate", false, 25, "99999999", false, 3},
                                        {"socsec", false, 40, "999999999,000000000", false, 3},
                                        {"firstname", false, -3.5, none, true, 0},
                                        {"lastname", false, 50.5, "UNKNOWN", true, 0},
                                        {"socsec", false, 45, "999999999", true, 0}};
  for (int round = 0; round < 40; ++round) {
    const PlainRow abstract = person();
    std::string columns;
    for (const char* column : {"lastname", "firstname", "birthdate", "socsec"}) {
      columns += (columns.empty() ? "" : ", ") + sql(abstract, column) + " AS " + column;
    }
    CandidateOptions options;
    options.escape_quotes = true;
    options.ties = TieOrder::kPatientId;
    options.cutoff = static_cast<std::int16_t>(random() % 180);
    std::vector<std::pair<int, int>> found;
    for (const Candidate& candidate :
         FindCandidates(registry.database, *registry.Row(columns), options)) {
      found.emplace_back(candidate.match.patient_id, candidate.match.score);
    }
    EXPECT_EQ(found, ReferenceSearch(blocks, rules, abstract, patients, *options.cutoff))
        << columns;
  }
}

}  // namespace
}  // namespace qm::test
