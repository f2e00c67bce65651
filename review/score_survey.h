// One pass over the abstracts of a registry with all candidates of each, whatever their score: what
// summary and evaluation count.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <set>
#include <span>

#include <qm/evaluation.h>
#include <qm/recordset.h>

#include "matching/candidate_search.h"

namespace qm {

/// `candidates` best first, equal scores by PatientID; `abstract` stands on the abstract's row.
using SurveyVisitor = std::function<void(std::int32_t id, const Recordset& abstract,
                                         std::span<const Candidate> candidates)>;

/// Visits the abstracts by ascending identifier; `wanted`, when given, says which.
void SurveyScores(const std::shared_ptr<Connection>& registry,
                  const std::shared_ptr<Connection>& matching, const EvaluationOptions& options,
                  const std::function<bool(std::int32_t id)>& wanted, const SurveyVisitor& visit);

/// The cut-off that counts as the kept one.
std::int32_t KeptCutoff(const EvaluationOptions& options);

/// The multiples of the step from the one at or below `least` to the one above `most`, and
/// `besides`.
std::set<std::int32_t> TabledCutoffs(std::int32_t least, std::int32_t most, std::int32_t step,
                                     std::initializer_list<std::int32_t> besides);

/// The multiple of `width` at or below the value.
std::int32_t FloorTo(std::int32_t value, std::int32_t width);

}  // namespace qm
