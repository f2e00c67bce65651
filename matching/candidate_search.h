// The search behind both entry points of `Matcher` and behind the program's `match`: block the
// patient table with the abstract's values, score every candidate, keep those at the cut-off.
//
// The blocking rules are read afresh on every call; the comparison rules and the cut-off are the
// calling thread's (`Matcher::ReadMatchingParams`). Cost: one statement for the rules, one for the
// candidates, one scoring a candidate. Nothing is caught here: errors are those of the engine, of
// the script or of the scoring, and `LastRule` tells which rule was in work.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <qm/connection.h>
#include <qm/matcher.h>
#include <qm/recordset.h>

namespace qm {

enum class TieOrder {
  kRetrieval,  ///< equal scores as the engine delivered the candidates
  kPatientId   ///< equal scores by PatientID, the same on every engine
};

struct CandidateOptions {
  /// Escapes the quotes within values: apostrophes in blocking values, so that O'BRIEN is found,
  /// and double quotes in expressions. Without it such a value makes the query or the script fail.
  bool escape_quotes = false;
  TieOrder ties = TieOrder::kRetrieval;
  std::optional<std::int16_t> cutoff;  ///< instead of the thread's
  bool explain = false;                ///< fills `rules` of each candidate
  bool names = true;                   ///< fills the names of each candidate
};

struct Candidate {
  Match match;
  std::string lastname;
  std::string firstname;
  std::string middlename;
  std::vector<RuleScore> rules;
};

/// Candidates at or above the cut-off, best first. `abstract` stands on the abstract's row.
std::vector<Candidate> FindCandidates(const std::shared_ptr<Connection>& connection,
                                      const Recordset& abstract, const CandidateOptions& options);

/// What one blocking rule brings to be scored for one abstract.
struct BlockedPatients {
  std::string abstract_field;
  std::string patient_field;
  bool blocks = false;  ///< the abstract's value is not among the ignored ones
  std::vector<std::int32_t> patients;
};

/// Every blocking rule by itself, in table order, quotes escaped. Cost: one statement a rule.
std::vector<BlockedPatients> PatientsByRule(const std::shared_ptr<Connection>& connection,
                                            const Recordset& abstract);

/// The text that clients split: ", " + PatientID + ":" + score for each match.
std::string MatchText(const std::vector<Match>& matches);

/// After a failed load of rules, search or scoring on the calling thread: the rule that was in
/// work, by its trimmed field expression or, where it has none to show, by its place ("number 2 of
/// tblBlockingParameters"). Empty when nothing failed, or the failure lay outside the rules.
const std::string& LastRule();

}  // namespace qm
