// The table QMDecisions: the pairs of abstract and patient that a reviewer declined. Who did, and
// why, stands in the audit log. A registry without the table has none; whoever adds to it makes
// sure of it first (`EnsureOwnTable`).
#pragma once

#include <cstdint>
#include <set>
#include <utility>

namespace qm {

/// All of them by abstract and patient, in one query of the session's registry.
std::set<std::pair<std::int32_t, std::int32_t>> DeclinedPairs();
/// The patients declined for one abstract.
std::set<std::int32_t> DeclinedPatients(std::int32_t abstract_id);

void AddDeclinedPair(std::int32_t abstract_id, std::int32_t patient_id);
void RemoveDeclinedPair(std::int32_t abstract_id, std::int32_t patient_id);

}  // namespace qm
