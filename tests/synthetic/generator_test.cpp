// The generator: the same seed gives the same registry, what it writes fits the layout, and the
// library finds the registered people among the incoming ones.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <qm/data_sets.h>
#include <qm/importer.h>
#include <qm/matcher.h>
#include <qm/qm_connection.h>
#include <qm/registry_setup.h>
#include <qm/session.h>

#include <map>
#include <set>
#include <sstream>

#include "comparison/soundex.h"
#include "matching/candidate_search.h"
#include "runtime/text.h"
#include "support/raises.h"
#include "support/sqlite_fixture.h"
#include "synthetic/generator.h"
#include "synthetic/slips.h"

namespace qm::test {
namespace {

class Registry {
 public:
  Registry() {
    CreateRegistryFolder(folder.path() / "r", {{"16", "18"}});
    connection.SetControl(OpenSqlite(folder.File("r/control.db")));
    connection.SetRegistry(OpenSqlite(path));
  }
  void Generate(const SyntheticOptions& options) {
    std::ostringstream lines;
    std::ostringstream answers;
    GenerateRegistry(connection.Registry(), *data_sets.GetNAACCRLayout(18), options, lines,
                     answers);
    incoming = lines.str();
    truth = answers.str();
  }
  std::string Query(const std::string& text) const { return QueryText(path, text); }
  std::string Rows() const {
    std::string rows;
    for (const char* table : {"Patients", "Patients_2", "MedicalSum", "MedicalSum_2", "BaseIDs"}) {
      rows += Query(std::string("SELECT * FROM ") + table);
    }
    return rows;
  }
  // PatientID of each line, 0 for a newcomer.
  std::vector<int> Truth() const {
    std::istringstream in(truth);
    std::string line;
    std::getline(in, line);
    EXPECT_EQ(line, "Line,PatientID");
    std::vector<int> ids;
    while (std::getline(in, line)) {
      const std::size_t comma = line.find(',');
      EXPECT_EQ(line.substr(0, comma), std::to_string(ids.size() + 1));
      ids.push_back(comma + 1 < line.size() ? std::stoi(line.substr(comma + 1)) : 0);
    }
    return ids;
  }

  TempFolder folder;
  const std::string path = folder.File("r/registry.db");
  SessionScope session;
  QMConnection connection;
  QMDataSets data_sets;
  std::string incoming;
  std::string truth;
};

TEST(Generator, SameSeedSameRegistry) {
  const auto make = [](std::uint64_t seed) {
    Registry registry;
    registry.Generate({40, 20, seed});
    return std::array{registry.Rows(), registry.incoming, registry.truth};
  };
  const auto first = make(5);
  EXPECT_EQ(first, make(5));
  EXPECT_NE(first, make(6));
  // The arithmetic itself, which no platform may change.
  Random random(5, 1, 0);
  EXPECT_EQ(random.Next(), 0xA01ED68CC65C7354U);
}

TEST(Generator, RowsAndLinesFitTheLayout) {
  Registry registry;
  registry.Generate({300, 61, 9});
  EXPECT_EQ(registry.Query("SELECT BaseIDName, BaseID FROM BaseIDs ORDER BY 1"),
            "AbsRefID|0;MedRefID|300;PatientID|300");
  for (const char* table : {"Patients", "Patients_2", "MedicalSum", "MedicalSum_2"}) {
    EXPECT_EQ(registry.Query(std::string("SELECT count(*) FROM ") + table), "300") << table;
  }
  EXPECT_EQ(registry.Query("SELECT count(*) FROM Patients p JOIN MedicalSum m USING (PatientID)"),
            "300");
  EXPECT_EQ(registry.Query("SELECT count(*) FROM Patients WHERE SocSec NOT LIKE '9________'"), "0");
  EXPECT_EQ(registry.Query("SELECT count(*) FROM (SELECT SocSec FROM Patients WHERE SocSec <> "
                           "'999999999' GROUP BY 1 HAVING count(*) > 1)"),
            "0");
  Patient patient = registry.data_sets.GetPatient(17);
  EXPECT_EQ(patient.FieldByName("Soundex"),
            Variant(BuiltInSoundex(patient.FieldByName("LastName").Get<std::string>())));

  const auto layout = registry.data_sets.GetNAACCRLayout(18);
  std::istringstream in(registry.incoming);
  std::string line;
  int lines = 0;
  while (std::getline(in, line)) {
    ++lines;
    EXPECT_TRUE(IsValidUtf8(line));
    EXPECT_EQ(CharacterCount(line), 24194U);
    EXPECT_EQ(line[0], 'A');
    EXPECT_EQ(line.substr(16, 3), "180");
    const auto last = layout->FieldIndex("LastName");
    const auto start = static_cast<std::size_t>(layout->FieldStart(last)) - 1;
    EXPECT_NE(CharacterSlice(line, start, 1), " ");
  }
  EXPECT_EQ(lines, 61);
  int registered = 0;
  for (const int id : registry.Truth()) {
    EXPECT_LE(id, 300);
    registered += id > 0 ? 1 : 0;
  }
  EXPECT_THAT(registered, testing::AnyOf(30, 31));
}

TEST(Generator, RefusesAndLeavesTheRegistryAsItWas) {
  Registry registry;
  const std::string before = registry.Rows();
  const auto layout = registry.data_sets.GetNAACCRLayout(18);
  const auto generate = [&](const NAACCRLayout& used, const SyntheticOptions& options,
                            bool broken) {
    std::ostringstream out;
    if (broken) out.setstate(std::ios::badbit);
    std::ostringstream truth;
    return Raises(
               [&] { GenerateRegistry(registry.connection.Registry(), used, options, out, truth); })
        .number;
  };
  EXPECT_EQ(generate(*layout, {-1, 5, 1}, false), kErrBadArgument);
  EXPECT_EQ(generate(*layout, {5, 10000001, 1}, false), kErrBadArgument);
  EXPECT_EQ(generate(*layout, {5, 5, 1}, true), kErrEngine);
  QMDataSets other;
  EXPECT_EQ(generate(*other.GetNAACCRLayout(16), {5, 5, 1}, false), kErrBadArgument);
  SyntheticOptions misplaced{5, 5, 1};
  misplaced.before_commit = [] { throw Error(75, "", ""); };
  EXPECT_EQ(generate(*layout, misplaced, false), 75);
  EXPECT_EQ(registry.Rows(), before);
  EXPECT_EQ(generate(*layout, {5, 12, 1}, false), 0);
  EXPECT_EQ(generate(*layout, {5, 5, 1}, false), kErrNotAllowedHere);
}

TEST(Generator, SlipsOfEveryKindAtTheirRates) {
  const People people(3);
  constexpr int kCount = 4000;
  std::map<std::string, int> seen;
  std::set<std::string> numbers;
  for (int i = 0; i < kCount; ++i) {
    Random random(3, 99, static_cast<std::uint64_t>(i));
    const Person person = people.Make(i);
    numbers.insert(person.social_security);
    const Identity said = ReportedIdentity(person, people, random);
    const std::string birth = person.birth.Stored();
    const bool last = said.last_name == person.last_name;
    const bool first = said.first_name == person.first_name;
    const bool number = said.social_security == person.social_security;
    const bool missing = said.social_security.empty() || said.social_security == "999999999";
    if (last && first && number && said.birth == birth) ++seen["plain"];
    if (said.last_name == person.first_name) ++seen["exchanged"];
    if (Names::HasMark(person.last_name) && !Names::HasMark(said.last_name)) ++seen["lost mark"];
    if (said.last_name.find('-') != std::string::npos && !last) ++seen["hyphenated"];
    if (said.last_name == person.maiden_name && !last) ++seen["maiden name"];
    if (!first && said.first_name != person.last_name) ++seen["other first name"];
    if (missing) ++seen["no number"];
    if (!number && !missing) ++seen["wrong digit"];
    if (said.birth.empty() || said.birth == "99999999") ++seen["no birth"];
    if (said.birth == birth.substr(0, 4) + birth.substr(6) + birth.substr(4, 2))
      ++seen["exchanged day"];
    EXPECT_TRUE(IsValidUtf8(said.last_name + said.first_name));
  }
  EXPECT_EQ(numbers.size(), kCount);
  EXPECT_THAT(seen["plain"],
              testing::AllOf(testing::Gt(kCount * 45 / 100), testing::Lt(kCount * 7 / 10)));
  for (const char* kind :
       {"exchanged", "lost mark", "hyphenated", "maiden name", "other first name", "no number",
        "wrong digit", "no birth", "exchanged day"}) {
    EXPECT_GT(seen[kind], kCount / 500) << kind;
    EXPECT_LT(seen[kind], kCount / 5) << kind;
  }
}

TEST(Generator, TheDefaultRulesFindTheRegistered) {
  Registry registry;
  registry.Generate({3000, 200, 21});
  registry.connection.SetApplicationName("Velmora");
  Importer importer;
  ASSERT_EQ(importer.ImportFile(registry.folder.Write("incoming.txt", registry.incoming)).imported,
            200);
  Matcher().ReadMatchingParams(SqliteConnectionString(registry.path));
  CandidateOptions options;
  options.escape_quotes = true;
  options.ties = TieOrder::kPatientId;
  int right = 0;
  int found = 0;
  int registered = 0;
  const std::vector<int> truth = registry.Truth();
  for (std::size_t line = 0; line < truth.size(); ++line) {
    Abstract abstract = registry.data_sets.GetAbstract(static_cast<std::int32_t>(line + 1));
    const auto candidates =
        FindCandidates(registry.connection.Registry(), *abstract.Recordset(1), options);
    if (truth[line] > 0) ++registered;
    if (candidates.empty()) continue;
    ++found;
    if (candidates.front().match.patient_id == truth[line]) ++right;
  }
  EXPECT_EQ(registered, 100);
  EXPECT_GE(right, 97) << "recall, of 100";
  EXPECT_GE(right * 100, found * 97) << "precision: " << right << " of " << found;
}

}  // namespace
}  // namespace qm::test
