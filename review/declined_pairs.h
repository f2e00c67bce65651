// The table QMDecisions: the pairs of abstract and patient that a reviewer declined. Who did, and
// why, stands in the audit log. A registry without the table has none; whoever adds to it makes
// sure of it first (`EnsureOwnTable`).
#pragma once

#include <cstdint>
#include <set>
#include <string>
#include <utility>

namespace qm {

/// All of them by abstract and patient, in one query of the session's registry.
std::set<std::pair<std::int32_t, std::int32_t>> DeclinedPairs();
/// The patients declined for one abstract.
std::set<std::int32_t> DeclinedPatients(std::int32_t abstract_id);

void AddDeclinedPair(std::int32_t abstract_id, std::int32_t patient_id);
void RemoveDeclinedPair(std::int32_t abstract_id, std::int32_t patient_id);

/// Of the last decision that declined all offers of an abstract at once, its digest; empty when
/// there was none. By it the decision is known again, so that it does not decline later offers.
std::string LastWholeDecline(std::int32_t abstract_id);
void SetLastWholeDecline(std::int32_t abstract_id, const std::string& digest);

}  // namespace qm
