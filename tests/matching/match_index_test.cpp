#include <qm/match_index.h>

#include <gtest/gtest.h>

#include <atomic>
#include <random>
#include <span>
#include <string>
#include <thread>
#include <vector>

#include "matching/batch_search.h"
#include "matching/candidate_search.h"
#include "matching/match_registry.h"
#include "support/raises.h"

namespace qm::test {
namespace {

// Blocking and comparison rules of which each round takes some.
const std::vector<std::string> kBlocks = {
    "('Soundex(<<lastname>>)', 'soundex', '''''')", "('firstname', 'LastName', NULL)",
    "('socsec', 'socsec', '''999999999''')", "('Left(<<birthdate>>, 8)', 'birthdate', NULL)",
    "('lastname', 'ward', NULL)"};
const std::vector<std::string> kRules = {
    "('lastname', 20.5, 'UNKNOWN', 0, 0)",
    "(' lastname ', 4, NULL, 0, 2)",
    "('firstname', 10, NULL, 0, 1)",
    "('firstname', -3.5, NULL, 1, 0)",
    "('Soundex(<<lastname>>)', 5, NULL, 1, 0)",
    "('Left(<<firstname>>, 1)', 6, 'ANN', 0, 0)",
    "('birthdate', 25, '99999999', 0, 3)",
    "('socsec', 40, '999999999,000000000', 0, 3)",
    "('Left(\"X\", Len(Replace(<<socsec>>, \"999999999\", \"\")))', -12.5, NULL, 1, 0)",
    "('<<lastname>> & Left(<<firstname>>, 2)', 7.7, NULL, 0, 0)",
    "('Left(<<lastname>>, 3 + 0 * Year(Now))', 5, NULL, 1, 0)"};
const std::vector<std::string> kFailingRules = {
    "('Trim(<<firstname>>)<<lastname>>', 3, NULL, 1, 0)",  // no expression
    "('Left(\"<<sex>>\", 3)', 3, NULL, 1, 0)",             // a mark within a literal
    "('CDbl(<<socsec>>) & \"\"', 2, NULL, 1, 0)",          // fails for what is no number
    "('PatientID', 1, NULL, 1, 0)",                        // fails: the abstract has none
    "('sex', 100000, NULL, 1, 0)"};                        // overflows

class IndexedRegistry : public MatchRegistry {
 public:
  // An odd one has values and rules that fail.
  IndexedRegistry(unsigned seed, bool is_odd) : random(seed), odd(is_odd) {
    ChangeRegistry("ALTER TABLE Patients ADD COLUMN ward TEXT");
    for (int i = 0; i < 120; ++i) AddPatient();
    Write();
  }

  std::size_t Below(std::size_t bound) { return random() % bound; }

  std::string Pick(const std::vector<const char*>& from) {
    return std::string("'") + from[Below(from.size())] + "'";
  }
  // The columns that both sides have.
  std::vector<std::string> Person() {
    return {
        Pick({"1", "2", "9", "", "'' & 1"}),
        Pick({"SMITH", "Smyth", "O''BRIEN", "OBRIEN", "LEE", "", " ", "UNKNOWN", " LEE", "Müller",
              "MÜLLER", "A\"B", odd ? "LE\nE" : "LEA", "VANDERBERGHE-MONTGOMERY-SMITH"}),
        Below(7) == 0 ? "NULL" : Pick({"ANN", "ANNE", "JOHN", "JON", "", "O''DELL", " ANN", "ann"}),
        Pick({"19500102", "19500201", "19510102", "99999999", ""}),
        Below(6) == 0 ? Pick({"999999999", "", "X"})
                      : "'" + std::to_string(123456780 + Below(12)) + "'"};
  }
  void AddPatient() {
    const auto person = Person();
    Queue(
        "INSERT INTO Patients (PatientID, sex, lastname, firstname, birthdate, socsec, soundex,"
        " ward) VALUES (" +
        std::to_string(++last_id));
    for (const std::string& value : person) Queue(", " + value);
    Queue(", " + Pick({"S530", "L000", "O165", ""}) + ", " +
          (Below(3) == 0 ? "NULL" : Pick({"LEE", "SMITH", ""})) + ");");
  }
  // A patient added, changed or removed; gives its identifier.
  std::int32_t ChangeSomething() {
    if (Below(3) == 0) {
      AddPatient();
      Write();
      return last_id;
    }
    const auto id = static_cast<std::int32_t>(Below(static_cast<std::size_t>(last_id)) + 1);
    Queue(Below(3) == 0
              ? "DELETE FROM Patients"
              : "UPDATE Patients SET lastname = " + Person()[1] + ", socsec = " + Person()[4]);
    Queue(" WHERE PatientID = " + std::to_string(id) + ";");
    Write();
    return id;
  }
  std::string Some(const std::vector<std::string>& from, std::size_t one_of) {
    std::string some;
    for (const std::string& each : from) {
      if (Below(one_of) == 0) some += (some.empty() ? "" : ", ") + each;
    }
    return some;
  }
  void ChangeRules() {
    Fill("tblBlockingParameters", Below(8) == 0 ? "" : Some(kBlocks, 2));
    const std::string failing = odd ? Some(kFailingRules, 3) : "";
    const std::string rules = Some(kRules, 2);
    LoadRules(rules + (rules.empty() || failing.empty() ? "" : ", ") + failing);
    matcher.SetCutoffScore(static_cast<std::int16_t>(Below(90)));
  }
  std::string Abstract() {
    const auto person = Person();
    return "SELECT " + person[0] + " AS sex, " + person[1] + " AS lastname, " + person[2] +
           " AS firstname, " + person[3] + " AS birthdate, " + person[4] + " AS socsec";
  }

  void Queue(const std::string& text) { script += text; }
  void Write() { ChangeRegistry("BEGIN;" + std::exchange(script, "") + "COMMIT;"); }

  std::mt19937 random;
  bool odd;
  std::string script;
  std::int32_t last_id = 0;
};

std::string TextOf(std::span<const Match> matches) {
  return MatchText({matches.begin(), matches.end()});
}

// What the search in the database finds, or how it fails.
std::string InDatabase(const IndexedRegistry& registry, const Recordset& abstract) {
  CandidateOptions options;
  options.escape_quotes = true;
  options.ties = TieOrder::kPatientId;
  std::vector<Match> matches;
  try {
    for (const Candidate& each : FindCandidates(registry.database, abstract, options)) {
      matches.push_back(each.match);
    }
  } catch (const Error& error) {
    return "failed: " + error.source();
  }
  return TextOf(matches);
}

std::string InIndex(const MatchIndex& index, const Recordset& abstract) {
  try {
    return TextOf(index.Search(abstract));
  } catch (const Error& error) {
    return "failed: " + error.source();
  }
}

TEST(MatchIndex, FindsWhatTheDatabaseFindsBeforeAndAfterChanges) {
  for (const bool odd : {false, true}) {
    IndexedRegistry registry(7, odd);
    int found = 0;
    int failed = 0;
    for (int round = 0; round < 20; ++round) {
      registry.ChangeRules();
      MatchIndex index(registry.database);
      for (int step = 0; step < 12; ++step) {
        const auto abstract = registry.database->Execute(registry.Abstract());
        const std::string expected = InDatabase(registry, *abstract);
        EXPECT_EQ(InIndex(index, *abstract), expected) << "round " << round << ", step " << step;
        found += expected.starts_with(", ") ? 1 : 0;
        failed += expected.ends_with("GetMatchScore") ? 1 : 0;
        for (std::size_t i = registry.Below(6); i > 0; --i) {
          index.Refresh(registry.database, registry.ChangeSomething());
        }
      }
    }
    EXPECT_GT(odd ? failed : found, 50);
  }
}

// Rules of plain equality, most of them needed: marks alone pass over nearly all. More rules than
// have a lane, some of one column, and rows that came, went and changed their codes since.
TEST(MatchIndex, PassesOverNobodyWhoReachesTheCutOff) {
  const std::string always =
      "('lastname', 40, 'UNKNOWN', 1, 0), ('birthdate', 25.5, '99999999', 1, 0), "
      "('firstname', 30, NULL, 1, 0), ('sex', 23, '9', 1, 0)";
  const std::vector<std::string> sometimes = {"('Left(<<lastname>>, 2)', 7.5, NULL, 1, 0)",
                                              "('firstname', -9, NULL, 1, 0)",
                                              "('birthdate', 11, NULL, 0, 0)"};
  IndexedRegistry registry(9, false);
  int found = 0;
  for (int round = 0; round < 12; ++round) {
    registry.Fill("tblBlockingParameters", round % 3 == 0 ? "" : kBlocks[0] + ", " + kBlocks[3]);
    const std::string more = registry.Some(sometimes, 2);
    registry.LoadRules(always + (more.empty() ? "" : ", " + more));
    registry.ChangeRegistry(
        "UPDATE Patients SET lastname = upper(trim(lastname)), firstname = upper(trim(firstname));"
        "DELETE FROM Patients WHERE lastname LIKE 'M%' OR lastname LIKE 'O%'");
    MatchIndex index(registry.database);
    for (int step = 0; step < 12; ++step) {
      const auto abstract = registry.database->Execute(
          "SELECT sex, lastname, firstname, birthdate, socsec FROM Patients LIMIT 1 OFFSET " +
          std::to_string(registry.Below(80)));
      for (const std::int16_t cutoff : {40, 65, 66, 88, 103}) {
        registry.matcher.SetCutoffScore(cutoff);
        const std::string expected = InDatabase(registry, *abstract);
        EXPECT_EQ(TextOf(index.Search(*abstract, cutoff)), expected) << round << ' ' << step;
        found += expected.empty() ? 0 : 1;
      }
      const std::size_t times = step == 6 ? 600 : 1;  // often enough to put the rows in order anew
      index.Refresh(registry.database,
                    std::vector<std::int32_t>(times, registry.ChangeSomething()));
    }
  }
  EXPECT_GT(found, 300);
}

// As one, in partitions, by threads: all the same, explanations included.
TEST(BatchSearch, FindsWhatTheDatabaseFindsInAnyMemory) {
  IndexedRegistry registry(8, false);
  std::string abstracts;
  for (int i = 0; i < 24; ++i) {
    abstracts += (i == 0 ? "" : " UNION ALL ") + registry.Abstract();
  }
  for (int i = 0; i < 9000; ++i) registry.AddPatient();
  registry.Write();
  for (int round = 0; round < 2; ++round) {
    registry.ChangeRules();
    registry.Fill("tblBlockingParameters",
                  kBlocks[2] + ", " + kBlocks[static_cast<std::size_t>(round)]);
    CandidateOptions one;
    one.escape_quotes = one.explain = true;
    one.ties = TieOrder::kPatientId;
    one.cutoff = 40;
    std::vector<std::vector<Candidate>> expected;
    const auto rows = registry.database->Execute(abstracts);
    for (const Recordset& row : rows->Rows()) {
      expected.push_back(FindCandidates(registry.database, row, one));
    }
    for (const std::int64_t memory : {0, 1}) {
      BatchOptions options;
      options.candidates = one;
      options.memory = memory << 18U;
      options.threads = 2;
      options.shown = {"lastname"};
      std::size_t place = 0;
      const auto again = registry.database->Execute(abstracts);
      BatchSearch(registry.database, options).Run(*again, [&](const BatchSearch::Record& record) {
        const auto& found = record.Candidates();
        const auto& wanted = expected.at(place++);
        ASSERT_EQ(found.size(), wanted.size());
        for (std::size_t i = 0; i < found.size(); ++i) {
          ASSERT_EQ(found[i].match, wanted[i].match);
          ASSERT_EQ(found[i].lastname + found[i].firstname,
                    wanted[i].lastname + wanted[i].firstname);
          ASSERT_EQ(found[i].rules, wanted[i].rules);
        }
      });
      EXPECT_EQ(place, expected.size());
    }
  }
}

constexpr const char* kManyPatients =
    "WITH RECURSIVE n(i) AS (SELECT 2 UNION ALL SELECT i + 1 FROM n WHERE i < 1500) "
    "INSERT INTO Patients (PatientID, lastname, city, town) SELECT i, '', '', '' FROM n;";

TEST(MatchIndex, RefusesBlockingThatItCannotDo) {
  const struct {
    const char* column;
    const char* change;
    std::int32_t number;
  } cases[] = {{"lastname", "", 0},
               {"city", "", 0},  // nothing that it could compare otherwise
               {"city", "UPDATE Patients SET city = 'Rome' WHERE PatientID = 1500", 3251},
               {"town", "UPDATE Patients SET town = '12' WHERE PatientID = 1500", 3251},
               {"lastname", "UPDATE Patients SET lastname = x'4C4545' WHERE PatientID = 9", 3251},
               {"lastname", "UPDATE Patients SET lastname = 'L' || char(0) || 'E'", 0},
               {"lastname", "UPDATE Patients SET PatientID = 3000000000 WHERE PatientID = 9", 3251},
               {"room", "", 3251},
               {"lower(lastname)", "", 3251},
               {"7lastname", "", 3251}};
  for (const auto& each : cases) {
    SCOPED_TRACE(std::string(each.column) + ": " + each.change);
    MatchRegistry registry;
    registry.ChangeRegistry(
        "ALTER TABLE Patients ADD COLUMN room INTEGER; ALTER TABLE Patients ADD COLUMN city TEXT "
        "COLLATE NOCASE; ALTER TABLE Patients ADD COLUMN town TEXT COLLATE RTRIM;"
        "INSERT INTO Patients (PatientID, lastname, room) VALUES (1, 'LEE', 7);");
    registry.ChangeRegistry(kManyPatients);
    registry.ChangeRegistry(each.change);
    registry.Fill("tblBlockingParameters",
                  std::string("('lastname', '") + each.column + "', NULL)");
    // Who is told of the progress may use the connection, so that patients are read otherwise.
    for (const bool told : {false, true}) {
      const MatchIndexProgress tell = [](std::int64_t, std::int64_t) {};
      const auto make = [&] {
        MatchIndex index(registry.database, told ? tell : MatchIndexProgress());
      };
      if (each.number == 0) {
        EXPECT_NO_THROW(make());
      } else {
        EXPECT_EQ(Raises(make).number, each.number);
      }
    }
  }
}

// What is told may close the connection that the patients come from.
TEST(MatchIndex, LeavesTheConnectionToWhoIsTold) {
  for (const std::int64_t memory : {std::int64_t{0}, std::int64_t{1} << 18U}) {
    MatchRegistry registry;
    registry.ChangeRegistry(
        "ALTER TABLE Patients ADD COLUMN city TEXT;"
        "ALTER TABLE Patients ADD COLUMN town TEXT;");
    registry.ChangeRegistry(kManyPatients);
    registry.Fill("tblBlockingParameters", "('lastname', 'lastname', NULL)");
    const auto close = [&] { registry.database->Close(); };
    const auto reopen = [&] { registry.database->Open(); };
    MatchManyOptions options;
    options.memory = memory;
    options.progress = [&](std::int64_t, std::int64_t) { close(); };
    const auto abstracts = OpenSqlite(registry.registry_path)
                               ->Execute("SELECT 'LEE' AS lastname UNION ALL SELECT 'DOE'");
    const auto search = [&](const auto& found) {
      MatchMany(registry.database, *abstracts, found, options);
    };
    EXPECT_EQ(Raises([&] { search([](std::int64_t, std::span<const Match>) {}); }).number,
              kErrObjectClosed);
    reopen();
    options.progress = {};
    int told = 0;
    search([&](std::int64_t, std::span<const Match>) {
      if (told++ == 0) close();
    });
    EXPECT_EQ(told, 2);
  }
}

// What it refuses to take in leaves it as it was, and searches without end let it go on.
TEST(MatchIndex, RefreshesAmongSearches) {
  MatchRegistry registry;
  registry.ChangeRegistry("INSERT INTO Patients (PatientID, lastname) VALUES (1, 'LEE')");
  registry.Fill("tblBlockingParameters", "('lastname', 'lastname', NULL)");
  registry.LoadRules("('lastname', 20, NULL, 1, 0)");
  MatchIndex index(registry.database);
  const auto search = [&] { return TextOf(index.Search([](auto) { return "LEE"; })); };
  std::atomic<bool> ends{false};
  {
    const auto search_on = [&] {
      while (!ends) search();
    };
    const std::jthread one(search_on);
    const std::jthread other(search_on);
    const std::jthread third(search_on);
    for (int i = 0; i < 20; ++i) index.Refresh(registry.database, 1);
    ends = true;
  }
  registry.ChangeRegistry("UPDATE Patients SET lastname = x'4C4545'");
  EXPECT_EQ(Raises([&] { index.Refresh(registry.database, 1); }).number, kErrNotSupported);
  EXPECT_EQ(search(), ", 1:20");
  registry.ChangeRegistry("DELETE FROM Patients");
  index.Refresh(registry.database, 1);
  EXPECT_EQ(search(), "");
}

TEST(MatchIndex, FailsInTheWordsOfTheDatabaseAndWithNoValue) {
  MatchRegistry registry;
  registry.ChangeRegistry("INSERT INTO Patients (PatientID, lastname) VALUES (1, 'LEE')");
  const struct {
    const char* block;
    const char* rule;
    const char* lastname;
  } cases[] = {{"", "('<<lastname>>', 20, NULL, 1, 0)", "'ELLIOTT'"},
               {"('<<lastname>>', 'lastname', NULL)", "", "'ELLIOTT'"},
               {"('nosuch', 'lastname', NULL)", "", "'ELLIOTT'"},
               {"('lastname', 'lastname', NULL)", "", "'ELL' || char(0) || 'IOTT'"}};
  for (const auto& each : cases) {
    registry.Fill("tblBlockingParameters", each.block);
    registry.LoadRules(each.rule);
    const auto abstract = registry.Row(std::string(each.lastname) + " AS lastname");
    CandidateOptions options;
    options.escape_quotes = true;
    const auto expected = Raises([&] { FindCandidates(registry.database, *abstract, options); });
    const MatchIndex index(registry.database);
    const auto raised = Raises([&] { index.Search(*abstract); });
    EXPECT_EQ(raised.number, expected.number);
    EXPECT_EQ(raised.source, expected.source);
    EXPECT_EQ(raised.description, expected.description);
    EXPECT_EQ(raised.description.find("ELL"), std::string::npos);
    const auto row = registry.Row(std::string(each.lastname) + " AS lastname");
    const auto found = [](std::int64_t, std::span<const Match>) {};
    EXPECT_EQ(Raises([&] { MatchMany(registry.database, *row, found); }).description,
              expected.description);
  }
}

}  // namespace
}  // namespace qm::test
