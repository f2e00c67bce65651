#include "matching/matching_state.h"

#include "matching/candidate_search.h"

namespace qm {

MatchingState& CurrentMatching() {
  static thread_local MatchingState state;
  return state;
}

const std::string& LastRule() { return CurrentMatching().rule_in_work; }

}  // namespace qm
