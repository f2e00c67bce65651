// MatchingState: what matching holds for each thread: rules and cut-off as last loaded, and the
// script engine. All matchers of a thread share it; it ends with the thread.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "expression/script_engine.h"

namespace qm {

/// Missing values of a rule without a list of them: no value occurs in it but the empty one.
inline constexpr const char* kNoMissingValues = "~!*&%^^";

/// One comparison rule.
struct MatchRule {
  std::string field_expression;
  double weight = 0;
  std::string missing_values;
  std::int32_t exact_match = 0;
  std::int16_t comparator_parameter = 0;
  std::string alias_name;  ///< kept for the client's tables; no comparison uses it
};

struct MatchingState {
  std::vector<MatchRule> rules;  ///< in the order in which the database gave them
  std::int16_t cutoff_score = 0;
  std::unique_ptr<ScriptEngine> script_engine;
  std::string rule_in_work;  ///< see `LastRule`

  bool HoldsAnything() const { return !rules.empty() || cutoff_score != 0; }
};

/// The calling thread's state.
MatchingState& CurrentMatching();

}  // namespace qm
