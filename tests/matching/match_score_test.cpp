// Rules as loaded, field expressions, and the score of two rows.

#include <gtest/gtest.h>

#include <string>
#include <thread>
#include <tuple>
#include <vector>

#include "matching/candidate_search.h"
#include "matching/match_field.h"
#include "matching/match_registry.h"
#include "support/raises.h"

namespace qm::test {
namespace {

constexpr std::int32_t kMatcherError = -2147216504;

TEST(MatchingParameters, DefaultsAndIgnoredRows) {
  MatchRegistry registry;
  registry.Fill("tblMatchingParameters",
                "('f', 7, NULL, 1, NULL, NULL, 0), ('f', 100, NULL, 1, 0, 'left out', 1),"
                "(' f ', '2.6', '', 0, NULL, 'name', 2), ('f', 1, NULL, 1, 0, '', NULL)");
  registry.matcher.SetCutoffScore(99);
  EXPECT_TRUE(registry.matcher.ReadMatchingParams(registry.ConnectionText()));
  EXPECT_EQ(registry.matcher.CutoffScore(), 10);
  const auto rules = Matcher().Explain(*registry.Row("'X' AS f"), *registry.Row("'X' AS f"));
  ASSERT_EQ(rules.size(), 2U);  // Null does not differ from 1 either
  EXPECT_EQ(rules[0].weight, 7);
  EXPECT_TRUE(rules[0].exact && !rules[1].exact);
  EXPECT_EQ(rules[1].expression, "f");
  EXPECT_EQ(rules[1].added, 3);
  registry.LoadRules("");
  EXPECT_EQ(registry.matcher.GetMatchScore(*registry.Row("1"), *registry.Row("1")), 0);
}

TEST(MatchingParameters, AFailedLoadKeepsWhatItReached) {
  MatchRegistry registry;
  const auto fails = [&](const std::string& change) {
    registry.ChangeRegistry(change);
    const Failure failure =
        Raises([&] { registry.matcher.ReadMatchingParams(registry.ConnectionText()); });
    EXPECT_EQ(failure.number, kMatcherError) << change;
    EXPECT_EQ(failure.source, "qmDataObjects.Matcher.ReadMatchingParams");
    return failure.description;
  };
  registry.LoadRules("('f', 5, NULL, 1, 0)");
  registry.matcher.SetCutoffScore(55);
  const std::string set = "UPDATE tblMatchingParameters SET ";
  EXPECT_EQ(fails(set + "Weight = NULL"), "Invalid use of Null");
  EXPECT_EQ(fails(set + "Weight = 'heavy'"), "Type mismatch");
  EXPECT_EQ(fails(set + "Weight = 5, ExactMatch = NULL"), "Invalid use of Null");
  EXPECT_EQ(fails(set + "ExactMatch = 1, StringComparatorParam = 40000"), "Overflow");
  EXPECT_EQ(registry.matcher.CutoffScore(), 55);
  fails(set + "StringComparatorParam = 3; DELETE FROM tblTLCParameters");
  EXPECT_EQ(registry.matcher.CutoffScore(), 55);
  EXPECT_EQ(registry.matcher.GetMatchScore(*registry.Row("1 AS f"), *registry.Row("1 AS f")), 5);
  fails("DROP TABLE tblMatchingParameters");
  EXPECT_EQ(Raises([&] { registry.matcher.ReadMatchingParams("Provider=None;"); }).number,
            kMatcherError);
}

TEST(MatchingParameters, EachThreadHasItsOwn) {
  Matcher matcher;
  matcher.SetCutoffScore(31);
  EXPECT_EQ(Matcher().CutoffScore(), 31);
  std::thread([] { EXPECT_EQ(Matcher().CutoffScore(), 0); }).join();
}

TEST(EvaluateMatchField, ColumnsAndScripts) {
  MatchRegistry registry;
  const auto row = registry.Row(
      "'SMITH' AS f, 'a\"b' AS q, NULL AS n, 'x>>y' AS w, '<<l>>' AS l, 42 AS i, 'O''BRIEN' AS o");
  for (const auto& [expression, value] : std::vector<std::pair<std::string, std::string>>{
           {"f", "'SMITH'"},
           {"F", "'SMITH'"},
           {"n", "''"},
           {"i", "'42'"},
           {"o", "'O'BRIEN'"},
           {"Soundex(<<f>>)", "'S530'"},
           {"functions.soundex(<<F>>)", "'S530'"},
           {"<<f>> & \"(\" & <<f>> & <<i>>", "'SMITH(SMITH42'"},
           {"Len(<<n>>)", "'0'"},
           {"Soundex(<<n>>)", "''"},
           {"(Null)", "''"},
           {"(1 = 1)", "'True'"},
           {"Left(<<o>>, 2)", "'O''"}}) {
    std::string rewritten = expression;
    EXPECT_EQ(EvaluateMatchField(rewritten, *row), value) << expression;
  }
  for (const auto& [expression, number] : std::vector<std::pair<std::string, int>>{
           {"nope", kErrNoSuchItem},
           {"Len(<<nope>>)", kErrNoSuchItem},
           {"<<f>>", kErrNoSuchItem},   // its value between quotes is no column
           {"nope>>", kErrNoSuchItem},  // from the first character on
           {">>", kErrNoSuchItem},
           {"Len(<<w>>)", kErrNoSuchItem},  // a mark that the value brings in
           {"f>>", kErrSyntax},             // nothing to replace, without end
           {"Len(<<l>>)", kErrSyntax},      // the value brings its own mark again
           {"Left(<<q>>, 1)", 1006},        // "Expected ')'": the value ends its own literal
           {"Left(<<f>>, ", kErrSyntax},
           {"Soundex(Null)", kErrInvalidUseOfNull},
           {"<<f>> + (1)", kErrTypeMismatch}}) {
    std::string rewritten = expression;
    const Failure failure = Raises([&] { EvaluateMatchField(rewritten, *row); });
    EXPECT_EQ(failure.number, number) << expression << ": " << failure.description;
    EXPECT_EQ(failure.description.find("SMITH"), std::string::npos) << failure.description;
  }
  std::string twice = "<<f>> & (<<f>>)";
  EvaluateMatchField(twice, *row);
  EXPECT_EQ(twice, "\"SMITH\" & (\"SMITH\")");
}

TEST(GetMatchScore, OneRule) {
  MatchRegistry registry;
  const std::string a24(24, 'A');
  std::string e24;
  for (int i = 0; i < 24; ++i) e24 += "é";
  const std::string exact = "('f', 10, NULL, 1, 0)";
  const std::string similar = "('f', 10, NULL, 0, 3)";
  for (const auto& [rules, a, b, score] :
       std::vector<std::tuple<std::string, std::string, std::string, int>>{
           {exact, "Smith", "SMITH", 10},
           {exact, "Muñoz", "MUÑOZ", 10},
           {exact, "O'BRIEN", "OBRIEN", 10},
           {exact, a24 + "X", a24 + "Y", 10},
           {exact, e24 + "X", e24 + "Y", 10},
           {exact, a24.substr(1) + "X", a24.substr(1) + "Y", 0},
           {exact, "A", "A  ", 10},
           {exact, " A", "A", 0},
           {exact, "   ", "   ", 0},
           {exact, "''", "''", 0},
           {similar, " A", "A", 10},
           {similar, "", "A", 0},
           {similar, "ABCDEFGH", "ABCDEFGX", 9},  // 87.5 and 8.8 are rounded
           {"('f', 10, 'UNKNOWN', 1, 0)", "now", "now", 0},
           {"('f', 10, 'unknown', 1, 0)", "now", "now", 10},
           {"('f', 10, 'Z', 1, 0)", "A", "Z", 0},
           {"('f', 2.5, NULL, 1, 0)", "A", "A", 2},
           {"('f', 3.5, NULL, 1, 0)", "A", "A", 4},
           {"('f', 0.5, NULL, 1, 0), ('f', 0.5, NULL, 1, 0)", "A", "A", 0},
           {"('f', 1.5, NULL, 1, 0), ('f', 1.5, NULL, 1, 0)", "A", "A", 4},
           {"('f', -5, NULL, 1, 0)", "A", "A", -5},
           {"('Left(<<f>>, 2)', 10, NULL, 1, 0)", "ABx", "aby", 10},
           {"('f', 40000, NULL, 1, 0), ('f', -20000, NULL, 1, 0)", "A", "A", 20000}}) {
    registry.LoadRules(rules);
    const auto row = [&](std::string value) {
      for (std::size_t at = 0; (at = value.find('\'', at)) != std::string::npos; at += 2) {
        value.insert(at, 1, '\'');
      }
      return registry.Row("'" + value + "' AS f");
    };
    EXPECT_EQ(registry.matcher.GetMatchScore(*row(a), *row(b)), score) << rules << a << "|" << b;
  }
}

TEST(GetMatchScore, FailuresNameTheirPlaceAndRule) {
  MatchRegistry registry;
  for (const auto& [rule, number] : std::vector<std::pair<std::string, int>>{
           {"nope", kErrNoSuchItem}, {"Left(<<f>>,", kErrSyntax}, {"Soundex(Null)", 94}}) {
    registry.LoadRules("('f', 1, NULL, 1, 0), (' " + rule + " ', 1, NULL, 1, 0)");
    const Failure failure = Raises(
        [&] { registry.matcher.GetMatchScore(*registry.Row("1 AS f"), *registry.Row("1 AS f")); });
    EXPECT_EQ(failure.number, number);
    EXPECT_TRUE(failure.source.ends_with(", GetMatchScore")) << failure.source;
    EXPECT_EQ(LastRule(), rule);
  }
  for (const char* weight : {"40000", "3e9", "1e308"}) {
    registry.LoadRules("('f', " + std::string(weight) + ", NULL, 1, 0)");
    EXPECT_EQ(Raises([&] {
                registry.matcher.GetMatchScore(*registry.Row("1 AS f"), *registry.Row("1 AS f"));
              }).number,
              kErrOverflow);
  }
}

TEST(GetMatchScore, TheComparisonLibraryScores) {
  MatchRegistry registry;
  registry.LoadRules("('f', 50, NULL, 0, 42), ('Soundex(<<f>>)', 5, NULL, 1, 0)");
  SetComparisonLibrary(QM_SAMPLE_LIBRARY);
  const auto a = registry.Row("'LEE' AS f");
  const auto b = registry.Row("'LOW' AS f");
  EXPECT_EQ(registry.matcher.GetMatchScore(*a, *b), 26);  // 0.42 of 50, and L003 twice
  EXPECT_EQ(registry.matcher.Get_Soundex("Lee"), "L040");
  registry.LoadRules("('f', 50, NULL, 0, -1)");
  EXPECT_EQ(Raises([&] { registry.matcher.GetMatchScore(*a, *b); }).number, kErrOverflow);
  SetComparisonLibrary("");
  EXPECT_EQ(registry.matcher.Get_Soundex("Lee"), "L000");
  EXPECT_EQ(registry.matcher.Get_StringMatch_Score("A", "A"), 0);
}

}  // namespace
}  // namespace qm::test
