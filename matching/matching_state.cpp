#include "matching/matching_state.h"

#include "matching/candidate_search.h"
#include "runtime/thread_state.h"

namespace qm {

MatchingState& CurrentMatching() { return ThreadState<MatchingState>(); }

const std::string& LastRule() { return CurrentMatching().rule_in_work; }

}  // namespace qm
