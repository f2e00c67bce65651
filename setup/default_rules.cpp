#include <array>
#include <string_view>

#include "dataaccess/sql_text.h"
#include "setup/schema.h"

namespace qm {

namespace {

struct BlockingRule {
  std::string_view abstract_field;
  std::string_view patient_field;
  std::string_view ignore_values;  // searched for the value in its quotes
};

struct MatchingRule {
  std::string_view alias;
  std::string_view field;
  int weight;
  std::string_view missing_values;  // searched for the value
  bool exact;
  int comparator;
};

// Values that do not block, in the quotes that the search puts around them; '' is an empty one.
constexpr std::string_view kNoNames = "'' 'UNKNOWN' 'NONE' 'BABY'";
constexpr std::string_view kNoDates = "'' '99999999' '00000000' '88888888'";
constexpr std::string_view kNoNumbers = "'' '999999999' '000000000' '888888888' '123456789'";

// Whoever agrees in one of these is scored: the sound of the surname, also where it stands in the
// place of the first name; the number; the day of birth. By the last two a surname changed by
// marriage does no harm.
constexpr std::array kBlockingRules = {
    BlockingRule{"Soundex(<<LastName>>)", "Soundex", "''"},
    BlockingRule{"Soundex(<<FirstName>>)", "Soundex", "''"},
    BlockingRule{"FirstName", "LastName", kNoNames},
    BlockingRule{"SocSec", "SocSec", kNoNumbers},
    BlockingRule{"BirthDate", "BirthDate", kNoDates},
};

// Year, then day and month in ascending order: the same for a date whose day and month changed
// places.
constexpr std::string_view kDayOfEitherOrder =
    "Left(<<BirthDate>>, 4) & Left(Mid(<<BirthDate>>, 5, 2), -2 * (Mid(<<BirthDate>>, 5, 2) <= "
    "Mid(<<BirthDate>>, 7, 2))) & Mid(<<BirthDate>>, 7, 2) & Left(Mid(<<BirthDate>>, 5, 2), -2 * "
    "(Mid(<<BirthDate>>, 5, 2) > Mid(<<BirthDate>>, 7, 2)))";

// These give "X" where a value is known and nothing where it is not. Such a rule holds when both
// sides know the value, and takes away what their agreement then gives back: so a value that
// disagrees counts against a pair, while one that is missing does not count.
constexpr std::string_view kMiddleNameKnown = R"(Left("X", Len(<<MiddleName>>)))";
constexpr std::string_view kBirthKnown =
    R"(Left("X", Len(Replace(Replace(<<BirthDate>>, "99999999", ""), "00000000", ""))))";
constexpr std::string_view kNumberKnown =
    R"(Left("X", Len(Replace(Replace(<<SocSec>>, "999999999", ""), "000000000", ""))))";

// Names have no list of missing values: it is searched for the value, so that "UNKNOWN" would
// take away "NOW" and every single letter of it.
constexpr std::array kMatchingRules = {
    MatchingRule{"Last name", "LastName", 6, "", false, 0},
    MatchingRule{"Sound of last name", "Soundex(<<LastName>>)", 10, "", true, 0},
    MatchingRule{"First name", "FirstName", 30, "", false, 0},
    MatchingRule{"Middle names known", kMiddleNameKnown, -12, "", true, 0},
    MatchingRule{"Middle initial", "Left(<<MiddleName>>, 1)", 20, "", true, 0},
    MatchingRule{"Sex", "Sex", 7, "9", true, 0},
    MatchingRule{"Race", "Race1", 4, "99", true, 0},
    MatchingRule{"Birth dates known", kBirthKnown, -24, "", true, 0},
    MatchingRule{"Birth date", "BirthDate", 14, "99999999 00000000 88888888", false, 3},
    MatchingRule{"Birth date, day and month in either order", kDayOfEitherOrder, 27,
                 "99999999 00000000 88888888", true, 0},
    MatchingRule{"Numbers known", kNumberKnown, -24, "", true, 0},
    MatchingRule{"Social security number", "SocSec", 48, "999999999 000000000 888888888", false, 3},
};

// Full agreement gives 106 with all values known; a namesake of another birth date and number
// stays below 60, as does a twin of another first name.
constexpr int kPotentialPatientMatch = 60;

}  // namespace

std::vector<std::string> DefaultRules() {
  std::vector<std::string> statements;
  statements.reserve(kBlockingRules.size() + kMatchingRules.size() + 1);
  int key = 0;
  for (const BlockingRule& rule : kBlockingRules) {
    statements.push_back(
        "INSERT INTO tblBlockingParameters (BlockingID, AbstractField, PatientField, ignorevalues)"
        " VALUES (" +
        std::to_string(++key) + ", " + SqlText(rule.abstract_field) + ", " +
        SqlText(rule.patient_field) + ", " + SqlText(rule.ignore_values) + ")");
  }
  key = 0;
  for (const MatchingRule& rule : kMatchingRules) {
    statements.push_back(
        "INSERT INTO tblMatchingParameters (MatchingID, FieldName, Weight, MissingValues,"
        " ExactMatch, StringComparatorParam, AliasName, ignore) VALUES (" +
        std::to_string(++key) + ", " + SqlText(rule.field) + ", " + std::to_string(rule.weight) +
        ", " + (rule.missing_values.empty() ? "NULL" : SqlText(rule.missing_values)) + ", " +
        (rule.exact ? "1, " : "0, ") + std::to_string(rule.comparator) + ", " +
        SqlText(rule.alias) + ", 0)");
  }
  statements.push_back("INSERT INTO tblTLCParameters (PotentialPatientMatch) VALUES (" +
                       std::to_string(kPotentialPatientMatch) + ")");
  return statements;
}

}  // namespace qm
