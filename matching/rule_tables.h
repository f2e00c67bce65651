// The three tables that matching is ruled by: their names, in files and in the database, and what
// their columns must hold for the rules to load.
#pragma once

#include <array>
#include <string>
#include <string_view>

#include <qm/match_rules.h>

namespace qm {

struct RuleTableInfo {
  std::string_view file_name;  ///< in the column `Table`
  std::string_view table;
  std::string_view key;
  RuleTable MatchRules::*member;
};

inline constexpr std::array kRuleTables = {
    RuleTableInfo{"blocking", "tblBlockingParameters", "BlockingID", &MatchRules::blocking},
    RuleTableInfo{"matching", "tblMatchingParameters", "MatchingID", &MatchRules::matching},
    RuleTableInfo{"cutoff", "tblTLCParameters", "", &MatchRules::cutoff}};

/// Why the row would keep the rules from loading, or fail every search; empty when it would not.
std::string WhyNotLoaded(const RuleTableInfo& info, const RuleTable& table,
                         const RuleTable::Row& row);

/// The row's own key, else its place from 1.
std::string RuleKey(const RuleTableInfo& info, const RuleTable& table, const RuleTable::Row& row);

}  // namespace qm
