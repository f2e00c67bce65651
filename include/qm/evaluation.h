// Evaluation: what the matching rules make of all abstracts of a registry, and, where the truth
// about them is known, how often they are right.
//
//   qm::Matcher().ReadMatchingParams(connection_string);
//   const auto summary = qm::SummarizeMatching(registry, registry);
//   for (const auto& bin : summary.scores) std::cout << bin.from << ' ' << bin.candidates << '\n';
//   const auto truth = qm::ReadTruth(text);
//   const auto evaluation = qm::EvaluateMatching(registry, registry, truth);
//   std::cout << "best cut-off " << evaluation.best << '\n';
//
// Both score every candidate of every abstract once, whatever the cut-off. `registry` holds the
// abstracts, `matching` the patients and the blocking rules; comparison rules and cut-off are those
// loaded on the calling thread. Of an abstract's candidates the best is the one of highest score,
// of equal ones that of the lowest PatientID. Memory does not grow with the number of pairs.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <qm/api.h>
#include <qm/connection.h>

namespace qm {

struct EvaluationOptions {
  std::optional<std::int16_t> cutoff;  ///< counts as the kept one instead of the thread's
  std::int32_t step = 5;               ///< of the cut-offs that are tabled; at least 1
  std::int32_t bin = 10;               ///< width of the histogram's bins; at least 1
  /// Called before each abstract.
  std::function<void(std::int32_t abstract_id, std::int64_t done, std::int64_t total)> progress;
};

struct ScoreBin {
  std::int32_t from = 0;
  std::int32_t to = 0;          ///< included
  std::int64_t candidates = 0;  ///< of this score
  std::int64_t best = 0;        ///< those that are their abstract's best
};

/// What one blocking rule contributes. Candidates are all patients that it brings to be scored,
/// pairs those of them at or above the cut-off; `only_…` those that no other rule brings.
struct BlockingCount {
  std::string abstract_field;
  std::string patient_field;
  std::int64_t abstracts = 0;  ///< whose value is not among the ignored ones
  std::int64_t candidates = 0;
  std::int64_t only_candidates = 0;
  std::int64_t pairs = 0;
  std::int64_t only_pairs = 0;
};

struct CutoffCount {
  std::int32_t cutoff = 0;
  std::int64_t pairs = 0;  ///< candidates at or above it
  std::int64_t links = 0;  ///< abstracts with at least one such candidate
  std::int64_t ties = 0;   ///< those of them with two best candidates of equal score
};

struct MatchSummary {
  std::int64_t abstracts = 0;
  std::int64_t candidates = 0;
  std::int32_t cutoff = 0;  ///< the kept one
  std::vector<ScoreBin> scores;
  std::vector<BlockingCount> blocking;
  std::vector<CutoffCount> cutoffs;  ///< ascending; the kept one is among them
};

QM_API MatchSummary SummarizeMatching(const std::shared_ptr<Connection>& registry,
                                      const std::shared_ptr<Connection>& matching,
                                      const EvaluationOptions& options = {});

/// The patient that each abstract truly belongs to, or none when that person is not registered.
using Truth = std::map<std::int32_t, std::optional<std::int32_t>>;

/// Reads CSV with the columns `PatientID` and `AbsRefID` or `Line`. Line n stands for the abstract
/// `first_abstract` + n - 1: in a fresh registry, the n-th that was imported. An empty PatientID
/// says that the person is not registered. A bad line is 3001 and named.
QM_API Truth ReadTruth(std::string_view csv, std::int32_t first_abstract = 1);

/// How right the candidates at or above one cut-off are. Without a find precision is 1, without a
/// registered person recall is 1; F1 is their harmonic mean.
struct Accuracy {
  std::int64_t found = 0;
  std::int64_t right = 0;
  double precision = 1;
  double recall = 1;
  double f1 = 0;
};

struct CutoffAccuracy {
  std::int32_t cutoff = 0;
  Accuracy best;   ///< each abstract's best candidate
  Accuracy pairs;  ///< all candidates
};

struct MatchEvaluation {
  std::int64_t abstracts = 0;    ///< those that the truth names
  std::int64_t registered = 0;   ///< whose person is registered
  std::int64_t not_blocked = 0;  ///< of these, whose patient is no candidate: no cut-off helps
  std::int32_t cutoff = 0;       ///< the kept one
  /// The cut-off of the greatest F1 of the best candidates; of equal ones that of the greatest F1
  /// of pairs, then the lowest; within a gap between two scores its middle.
  std::int32_t best = 0;
  std::vector<CutoffAccuracy> cutoffs;  ///< ascending; `cutoff` and `best` are among them
};

/// An abstract that the truth names and the registry lacks is 3021; others are left out.
QM_API MatchEvaluation EvaluateMatching(const std::shared_ptr<Connection>& registry,
                                        const std::shared_ptr<Connection>& matching,
                                        const Truth& truth, const EvaluationOptions& options = {});

}  // namespace qm
