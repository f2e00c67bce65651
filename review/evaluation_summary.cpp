// What the rules make of all abstracts: scores, blocking rules, cut-offs.
#include <qm/evaluation.h>

#include <algorithm>
#include <unordered_map>

#include "review/score_survey.h"

namespace qm {

namespace {

struct PairsAtScore {
  std::int64_t candidates = 0;
  std::int64_t best = 0;
  std::int64_t ties = 0;
};

using PairScores = std::map<std::int32_t, PairsAtScore>;

void CountScores(std::span<const Candidate> candidates, PairScores& scores) {
  for (const Candidate& candidate : candidates) ++scores[candidate.match.score].candidates;
  if (candidates.empty()) return;
  PairsAtScore& best = scores[candidates.front().match.score];
  ++best.best;
  const bool tie = candidates.size() > 1 && candidates[1].match.score == candidates[0].match.score;
  if (tie) ++best.ties;
}

void CountBlocking(const std::vector<BlockedPatients>& rules, std::span<const Candidate> candidates,
                   std::int32_t cutoff, std::vector<BlockingCount>& counts) {
  counts.resize(rules.size());
  std::unordered_map<std::int32_t, int> bringers;
  for (const BlockedPatients& rule : rules) {
    for (const std::int32_t patient : rule.patients) ++bringers[patient];
  }
  std::unordered_map<std::int32_t, bool> reaches;
  for (const Candidate& candidate : candidates) {
    reaches[candidate.match.patient_id] = candidate.match.score >= cutoff;
  }
  for (std::size_t i = 0; i < rules.size(); ++i) {
    BlockingCount& count = counts[i];
    count.abstract_field = rules[i].abstract_field;
    count.patient_field = rules[i].patient_field;
    count.abstracts += rules[i].blocks ? 1 : 0;
    for (const std::int32_t patient : rules[i].patients) {
      const bool only = bringers[patient] == 1;
      const bool pair = reaches[patient];
      ++count.candidates;
      count.only_candidates += only ? 1 : 0;
      count.pairs += pair ? 1 : 0;
      count.only_pairs += only && pair ? 1 : 0;
    }
  }
}

std::vector<ScoreBin> Histogram(const PairScores& scores, std::int32_t width) {
  std::vector<ScoreBin> bins;
  for (const auto& [score, at] : scores) {
    const std::int32_t from = FloorTo(score, width);
    while (bins.empty() || bins.back().from < from) {
      const std::int32_t next = bins.empty() ? from : bins.back().from + width;
      bins.push_back({next, next + width - 1, 0, 0});
    }
    bins.back().candidates += at.candidates;
    bins.back().best += at.best;
  }
  return bins;
}

}  // namespace

MatchSummary SummarizeMatching(const std::shared_ptr<Connection>& registry,
                               const std::shared_ptr<Connection>& matching,
                               const EvaluationOptions& options) {
  MatchSummary summary;
  summary.cutoff = KeptCutoff(options);
  PairScores scores;
  SurveyScores(registry, matching, options, {},
               [&](std::int32_t, const Recordset& abstract, std::span<const Candidate> candidates) {
                 ++summary.abstracts;
                 summary.candidates += static_cast<std::int64_t>(candidates.size());
                 CountScores(candidates, scores);
                 CountBlocking(PatientsByRule(matching, abstract), candidates, summary.cutoff,
                               summary.blocking);
               });
  summary.scores = Histogram(scores, std::max(options.bin, 1));
  const std::int32_t least = scores.empty() ? summary.cutoff : scores.begin()->first;
  const std::int32_t most = scores.empty() ? summary.cutoff : scores.rbegin()->first;
  for (const std::int32_t cutoff :
       TabledCutoffs(least, most, std::max(options.step, 1), {summary.cutoff})) {
    CutoffCount count{cutoff, 0, 0, 0};
    for (auto at = scores.lower_bound(cutoff); at != scores.end(); ++at) {
      count.pairs += at->second.candidates;
      count.links += at->second.best;
      count.ties += at->second.ties;
    }
    summary.cutoffs.push_back(count);
  }
  return summary;
}

}  // namespace qm
