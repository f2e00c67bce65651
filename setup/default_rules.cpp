#include <array>
#include <string_view>

#include "setup/schema.h"
#include "setup/sql_text.h"

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
  double weight;
  std::string_view missing_values;  // searched for the value
  bool exact;
  int comparator;
};

constexpr std::string_view kNoNames = "'' 'UNKNOWN' 'NONE' 'BABY'";
constexpr std::string_view kNoDates = "'' '99999999' '00000000' '88888888' '99/99/9999'";
constexpr std::string_view kNoNumbers = "'' '999999999' '000000000' '888888888' '123456789'";

constexpr std::array kBlockingRules = {
    BlockingRule{"Soundex(<<LastName>>)", "Soundex", "''"},
    BlockingRule{"SocSec", "SocSec", kNoNumbers},
    BlockingRule{"BirthDate", "BirthDate", kNoDates},
    BlockingRule{"FirstName", "LastName", kNoNames},
};

constexpr std::array kMatchingRules = {
    MatchingRule{"Last name", "LastName", 20, "", false, 0},
};

constexpr int kPotentialPatientMatch = 60;

}  // namespace

std::vector<std::string> DefaultRules() {
  std::vector<std::string> statements;
  for (const BlockingRule& rule : kBlockingRules) {
    statements.push_back(
        "INSERT INTO tblBlockingParameters (AbstractField, PatientField, ignorevalues) VALUES (" +
        SqlText(rule.abstract_field) + ", " + SqlText(rule.patient_field) + ", " +
        SqlText(rule.ignore_values) + ")");
  }
  for (const MatchingRule& rule : kMatchingRules) {
    statements.push_back(
        "INSERT INTO tblMatchingParameters (FieldName, Weight, MissingValues, ExactMatch,"
        " StringComparatorParam, AliasName, ignore) VALUES (" +
        SqlText(rule.field) + ", " + std::to_string(rule.weight) + ", " +
        (rule.missing_values.empty() ? "NULL" : SqlText(rule.missing_values)) + ", " +
        (rule.exact ? "1, " : "0, ") + std::to_string(rule.comparator) + ", " +
        SqlText(rule.alias) + ", 0)");
  }
  statements.push_back("INSERT INTO tblTLCParameters (PotentialPatientMatch) VALUES (" +
                       std::to_string(kPotentialPatientMatch) + ")");
  return statements;
}

}  // namespace qm
