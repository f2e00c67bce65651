// Review: many abstracts linked at once, by score alone or by a reviewer's file of decisions.
//
// A decisions file is CSV (RFC 4180, UTF-8): abstract, patient, reviewer, note, with or without
// that line at its head; reviewer and note may be missing. The patient is a registered patient's
// identifier, `new` for a new patient, `no` when none of the abstract's present offers is the
// person, or `no 1021` when that one is not.
//
// Order of calls: as for `Linker`, whose operations these are; both need the matching rules
// (`Matcher::ReadMatchingParams`). Every abstract is a transaction of its own: a run that was
// interrupted is run again and goes on where it stopped.
#pragma once

#include <cstdint>
#include <functional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include <qm/api.h>
#include <qm/error.h>
#include <qm/linker.h>

namespace qm {

enum class Verdict {
  kLink,       ///< the abstract is of that patient
  kNew,        ///< of a new patient
  kNoOffer,    ///< of none of those offered now
  kNotPatient  ///< not of that patient
};

/// One row of a decisions file.
struct Decision {
  std::int32_t abstract_id = 0;
  Verdict verdict = Verdict::kLink;
  std::int32_t patient_id = 0;
  std::string reviewer;
  std::string note;
  std::int64_t line = 0;  ///< where the row begins, from 1
};

/// All rows of a decisions file. Anything that is no decision, and two that contradict each other,
/// are error 3001, naming `name`, the line and the reason but no value.
QM_API std::vector<Decision> ReadDecisions(std::string_view text, std::string_view name);

struct DecisionCounts {
  std::int64_t linked = 0;        ///< to registered patients
  std::int64_t new_patients = 0;  ///< made and linked
  std::int64_t declined = 0;      ///< pairs
  std::int64_t skipped = 0;       ///< rows that were carried out before
  std::int64_t failed = 0;        ///< rows that the registry refused
};

/// Told of a row that the registry refused (linked otherwise meanwhile, locked, not there).
using RefusedDecision = std::function<void(const Decision& decision, const Error& reason)>;
/// Told before each row, and at the end, how many are done.
using ReviewProgress = std::function<void(std::int64_t done)>;

/// Carries the rows out in their order; a refused one is told and the others go on. `file` is
/// named in the audit log.
QM_API DecisionCounts CarryOut(Linker& linker, std::span<const Decision> decisions,
                               const std::string& file, const RefusedDecision& refused,
                               const ReviewProgress& progress = {});

enum class AutoOutcome {
  kLinked,   ///< or, when nothing is to be changed, would be linked
  kReview,   ///< no offer, several, or one with too small a score
  kRefused,  ///< locked, or changed by others meanwhile
};

/// What became of one abstract; `reason` tells why it was refused.
using AutoVisitor = std::function<void(std::int32_t abstract_id, AutoOutcome outcome,
                                       std::span<const OfferedMatch> offers, const Error* reason)>;

/// Goes over all unlinked abstracts by ascending identifier and links those whose only offer scores
/// at least `least`; with `dry_run` nothing is changed. `progress` is told how many of `total`.
QM_API void LinkByScore(
    Linker& linker, std::int16_t least, bool dry_run, const AutoVisitor& visit,
    const std::function<void(std::int64_t done, std::int64_t total)>& progress = {});

}  // namespace qm
