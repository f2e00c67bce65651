// The default rules find a registered person through the slips of real records, and keep apart the
// people who look alike.
#include <gtest/gtest.h>
#include <qm/matcher.h>
#include <qm/registry_setup.h>

#include "comparison/soundex.h"
#include "dataaccess/sql_text.h"
#include "support/sqlite_fixture.h"

namespace qm::test {
namespace {

struct Person {
  std::string last, first, middle, birth, number, sex = "2", race = "01";
};

std::string Values(const Person& p) {
  std::string list;
  for (const auto& value : {p.last, p.first, p.middle, p.birth, p.number, p.sex, p.race}) {
    list += ", " + SqlText(value);
  }
  return list + ")";
}

struct Case {
  std::string what;
  Person registered;
  Person incoming;
  bool same;
};

TEST(DefaultRules, PairsThatAreAndAreNotOnePerson) {
  const Person mary = {"SMITH", "MARGARET", "ANN", "19470211", "900123456"};
  const auto with = [](Person person, auto change) {
    change(person);
    return person;
  };
  const Case cases[] = {
      {"nothing differs", mary, mary, true},
      {"changed surname", mary, with(mary, [](Person& p) { p.last = "KOWALSKI"; }), true},
      {"changed surname, no number", mary,
       with(mary,
            [](Person& p) {
              p.last = "KOWALSKI";
              p.number = "";
            }),
       true},
      {"familiar name, no number", mary,
       with(mary,
            [](Person& p) {
              p.first = "MAGGIE";
              p.number = "999999999";
            }),
       true},
      {"familiar name, wrong digit", mary,
       with(mary,
            [](Person& p) {
              p.first = "PEGGY";
              p.number = "900123756";
            }),
       true},
      {"names exchanged", mary, with(mary, [](Person& p) { std::swap(p.first, p.last); }), true},
      {"day and month exchanged, no number", mary,
       with(mary,
            [](Person& p) {
              p.birth = "19471102";
              p.number = "";
            }),
       true},
      {"no birth date", mary, with(mary, [](Person& p) { p.birth = "99999999"; }), true},
      {"mistyped in surname, no middle name", mary,
       with(mary,
            [](Person& p) {
              p.last = "SMTIH";
              p.middle = "";
            }),
       true},
      {"lost marks",
       {"MUÑOZ", "ANA", "", "19500607", ""},
       {"MUNOZ", "ANA", "", "19500607", ""},
       true},
      {"lost apostrophe",
       {"O'BRIEN", "TOM", "J", "19500607", ""},
       {"OBRIEN", "TOM", "J", "19500607", "900700600"},
       true},
      {"hyphenated", mary, with(mary, [](Person& p) { p.last = "SMITH-LOPEZ"; }), true},
      {"twin", mary,
       with(mary,
            [](Person& p) {
              p.first = "ELEANOR";
              p.middle = "RUTH";
              p.number = "901555777";
            }),
       false},
      {"twin without number", mary,
       with(mary,
            [](Person& p) {
              p.first = "ELEANOR";
              p.middle = "RUTH";
              p.number = "";
            }),
       false},
      {"namesake a generation younger", mary,
       with(mary,
            [](Person& p) {
              p.birth = "19711030";
              p.number = "902777111";
            }),
       false},
      {"namesake without number", mary,
       with(mary,
            [](Person& p) {
              p.birth = "19711030";
              p.number = "";
            }),
       false},
      {"same day and first name, no more", mary,
       with(mary,
            [](Person& p) {
              p.last = "KOWALSKI";
              p.middle = "ROSE";
              p.number = "903111888";
            }),
       false},
      {"nothing known but first and last name",
       with(mary, [](Person& p) { p.birth = p.number = p.middle = ""; }),
       with(mary, [](Person& p) { p.birth = p.number = p.middle = ""; }), false},
      {"all empty", {"", "", "", "", "", "", ""}, {"", "", "", "", "", "", ""}, false},
      {"year alone", with(mary, [](Person& p) { p.birth = "1947"; }), mary, true},
  };

  const TempFolder folder;
  CreateRegistryFolder(folder.path());
  const std::string path = folder.File("registry.db");
  Matcher matcher;
  matcher.ReadMatchingParams(SqliteConnectionString(path));
  for (const Case& one : cases) {
    const std::string columns = "LastName, FirstName, MiddleName, BirthDate, SocSec, Sex, Race1) ";
    SqliteFile(path).Exec(
        "DELETE FROM Patients; DELETE FROM Abstracts; "
        "INSERT INTO Patients (PatientID, Soundex, " +
        columns + "VALUES (7, " + SqlText(BuiltInSoundex(one.registered.last)) +
        Values(one.registered) + "; INSERT INTO Abstracts (AbsRefID, " + columns + "VALUES (1" +
        Values(one.incoming));
    const std::string found = matcher.GetMatchingPatientIDsRemote(
        SqliteConnectionString(path), [](std::string_view) { return Variant(1); });
    EXPECT_EQ(found.starts_with(", 7:"), one.same) << one.what << ": " << found;
  }
}

}  // namespace
}  // namespace qm::test
