// MatchRules: the three tables that matching is ruled by, as one value: read from a database, kept
// as one readable CSV file, checked, and put in place of those of a database.
//
//   const auto rules = qm::ReadMatchRules(connection);
//   file << qm::MatchRulesCsv(rules);                     // edit it …
//   const auto edited = qm::ParseMatchRules(text);        // … refused whole when a row is bad
//   for (const auto& finding : qm::CheckMatchRules(connection, edited))
//     std::cout << finding.code << ' ' << finding.what << ' ' << finding.advice << '\n';
//   qm::ReplaceMatchRules(connection, edited);
//
// The file has a line for each row: the column `Table` (blocking, matching, cutoff), then the
// columns of the three tables by their names, those a registry has besides included. It loses
// nothing: a cell without quotes is Null when it is empty, and a number when it is written as one;
// "" in quotes is empty text, and "9" the text of that digit. Rows stand in the order of their
// tables, ignored rules included. A cell of a column that the row's table lacks is empty.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include <qm/api.h>
#include <qm/connection.h>
#include <qm/variant.h>

namespace qm {

/// One of the tables, with its columns as the database names them.
struct RuleTable {
  struct Row {
    std::vector<Variant> values;  ///< one a column
    std::int64_t line = 0;        ///< in the file, from 1; 0 when it came from a database
  };
  std::vector<std::string> columns;
  std::vector<Row> rows;

  /// The value in the column of that name, without regard to case; Null when there is none.
  Variant Value(const Row& row, std::string_view column) const;
};

struct MatchRules {
  RuleTable blocking;  ///< tblBlockingParameters: who is compared
  RuleTable matching;  ///< tblMatchingParameters: how; with the ignored rules
  RuleTable cutoff;    ///< tblTLCParameters: from which score on; its first row counts
};

/// A comparison rule that counts: its `ignore` is there and not 1.
QM_API bool IsActiveRule(const RuleTable& matching, const RuleTable::Row& row);

/// Reads all three; errors of the engine pass.
QM_API MatchRules ReadMatchRules(const std::shared_ptr<Connection>& connection);

QM_API std::string MatchRulesCsv(const MatchRules& rules);
/// Refuses with 3001, naming line and reason, what is no such file, and every row that would keep
/// the rules from loading: no expression, a weight that is no number, a second key, no cut-off.
QM_API MatchRules ParseMatchRules(std::string_view csv);

/// Puts the rules in place of those of the database, in one transaction; `before_commit` runs in
/// it. A column with values that the database lacks is 3265; one that the rules lack becomes Null.
QM_API void ReplaceMatchRules(const std::shared_ptr<Connection>& connection,
                              const MatchRules& rules,
                              const std::function<void()>& before_commit = {});

/// Something about a rule that would surprise whoever wrote it.
struct RuleFinding {
  std::string code;       ///< one stable word for the kind: "missing-swallows", …
  std::string table;      ///< as the database names it
  std::string key;        ///< the row's own key, else its place; empty for the table as a whole
  std::int64_t line = 0;  ///< in the file, or 0
  std::string rule;       ///< its expression
  std::string what;       ///< what happens; may quote values of patients
  std::string advice;     ///< what to do
};

/// How many of the patients and abstracts together have been looked at.
using RuleCheckProgress = std::function<void(std::int64_t done, std::int64_t total)>;

/// Looks at each rule that counts by itself, and at what it does with every patient and abstract of
/// the database; also on an empty one. Findings come table by table in the order of the rows. Cost:
/// one evaluation of each comparison rule a record. Changes nothing. An engine without a query plan
/// tells nothing of indexes.
QM_API std::vector<RuleFinding> CheckMatchRules(const std::shared_ptr<Connection>& connection,
                                                const MatchRules& rules,
                                                const RuleCheckProgress& progress = {});

}  // namespace qm
