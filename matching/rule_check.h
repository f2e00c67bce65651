// The parts of the check of the matching rules: what a rule's own words tell, and what it does with
// records. Both leave their findings in one list, ordered by table and row at the end.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <qm/connection.h>
#include <qm/match_rules.h>

#include "matching/rule_tables.h"

namespace qm {

/// A rule under check.
struct CheckedRule {
  const RuleTableInfo* info = nullptr;
  std::size_t row = 0;
  std::string expression;                 ///< trimmed
  std::vector<std::string> fields;        ///< that it names
  std::string patient_field;              ///< blocking
  std::optional<std::string> not_values;  ///< ignorevalues or MissingValues
  bool exact = false;
  bool evaluable = true;  ///< its columns are there, so it can be tried on records
};

class RuleCheck {
 public:
  RuleCheck(std::shared_ptr<Connection> connection, const MatchRules& rules);

  std::vector<RuleFinding> Run(const RuleCheckProgress& progress);

  /// Adds a finding about a rule, or about a row or table as a whole.
  void Add(const CheckedRule& rule, std::string code, std::string what, std::string advice);
  void Add(const RuleTableInfo& info, std::optional<std::size_t> row, std::string code,
           std::string what, std::string advice);

  const std::shared_ptr<Connection>& connection() const { return connection_; }
  const std::vector<std::string>& abstract_columns() const { return abstract_columns_; }

 private:
  void CollectRules();
  void CheckTables();
  void CheckCutoff(double most);
  double CheckWeights();
  void CheckColumns(CheckedRule& rule);
  void CheckBlockingColumn(const CheckedRule& rule);
  bool HasIndexFor(const std::string& patient_field) const;
  void CheckIgnoredValues(const CheckedRule& rule);
  void CheckDuplicates();

  std::shared_ptr<Connection> connection_;
  const MatchRules& rules_;
  std::vector<std::string> abstract_columns_;
  std::vector<CheckedRule> checked_;
  struct Placed {
    std::size_t table;
    std::size_t row;
    RuleFinding finding;
  };
  std::vector<Placed> findings_;
};

/// Fields that an expression names, in `<<…>>` or as a whole.
std::vector<std::string> FieldsOf(std::string_view expression);
/// Names outside of texts that nothing defines, and whether an apostrophe begins a remark.
struct ScriptWords {
  std::vector<std::string> unknown;
  bool remark = false;
};
ScriptWords WordsOf(std::string_view expression);

/// Whether the value stands in the list as a word or words of its own, not as a piece of another.
bool StandsAlone(std::string_view list, std::string_view value);

/// The columns that the candidate query selects of a patient, and the remote search of an abstract.
const std::vector<std::string>& CandidateColumns();
const std::vector<std::string>& RemoteColumns();

/// Tries the rules on made-up records and on all of the database.
void CheckOnRecords(RuleCheck& check, const std::vector<CheckedRule>& rules,
                    const RuleCheckProgress& progress);

}  // namespace qm
