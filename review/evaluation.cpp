// How often the rules are right, by a truth that is known.
#include <qm/evaluation.h>

#include <algorithm>
#include <charconv>
#include <utility>

#include <qm/error.h>

#include "review/score_survey.h"
#include "runtime/csv_reader.h"
#include "runtime/text.h"

namespace qm {

namespace {

[[noreturn]] void Refuse(std::int64_t line, const std::string& reason) {
  throw Error(kErrBadArgument, "QMDataObjects2", "line " + std::to_string(line) + ": " + reason);
}

std::optional<std::int32_t> Number(std::string_view text) {
  text = Trim(text);
  std::int32_t value = 0;
  const auto read = std::from_chars(text.data(), text.data() + text.size(), value);
  if (read.ec != std::errc() || read.ptr != text.data() + text.size()) return std::nullopt;
  return value;
}

std::optional<std::int32_t> AbstractOfLine(std::int32_t line, std::int32_t first) {
  const std::int64_t id = std::int64_t{line} - 1 + first;
  const auto narrow = static_cast<std::int32_t>(id);
  return narrow == id ? std::optional(narrow) : std::nullopt;
}

// What reached one score: of best candidates and of all.
struct AtScore {
  std::int64_t best = 0;
  std::int64_t right_best = 0;
  std::int64_t pairs = 0;
  std::int64_t right_pairs = 0;
};

using Scores = std::map<std::int32_t, AtScore>;

Accuracy AccuracyOf(std::int64_t found, std::int64_t right, std::int64_t registered) {
  const auto share = [right](std::int64_t whole) {
    return whole == 0 ? 1.0 : static_cast<double>(right) / static_cast<double>(whole);
  };
  Accuracy accuracy{found, right, share(found), share(registered), 0};
  const double sum = accuracy.precision + accuracy.recall;
  if (sum > 0) accuracy.f1 = 2 * accuracy.precision * accuracy.recall / sum;
  return accuracy;
}

CutoffAccuracy AccuracyAt(const Scores& scores, std::int32_t cutoff, std::int64_t registered) {
  AtScore sum;
  for (auto at = scores.lower_bound(cutoff); at != scores.end(); ++at) {
    sum.best += at->second.best;
    sum.right_best += at->second.right_best;
    sum.pairs += at->second.pairs;
    sum.right_pairs += at->second.right_pairs;
  }
  return {cutoff, AccuracyOf(sum.best, sum.right_best, registered),
          AccuracyOf(sum.pairs, sum.right_pairs, registered)};
}

// Nothing changes between two scores that are met: the middle between them leaves most room to
// either side.
std::int32_t BestCutoff(const Scores& scores, std::int32_t kept, std::int64_t registered) {
  std::int32_t best = kept;
  std::optional<std::pair<double, double>> most;
  std::optional<std::int32_t> below;
  for (const auto& [score, at] : scores) {
    const CutoffAccuracy accuracy = AccuracyAt(scores, score, registered);
    const std::pair<double, double> f1{accuracy.best.f1, accuracy.pairs.f1};
    if (!most || f1 > *most) {
      most = f1;
      best = below ? score - (score - *below - 1) / 2 : score;
    }
    below = score;
  }
  return best;
}

}  // namespace

Truth ReadTruth(std::string_view csv, std::int32_t first_abstract) {
  CsvReader reader(csv);
  std::vector<CsvCell> row;
  const auto next = [&] {
    const bool more = reader.Next(row);
    if (!reader.Fault().empty()) Refuse(reader.Line(), std::string(reader.Fault()));
    return more;
  };
  next();
  std::optional<std::size_t> line_column;
  std::optional<std::size_t> abstract_column;
  std::optional<std::size_t> patient_column;
  for (std::size_t i = 0; i < row.size(); ++i) {
    const std::string_view name = Trim(row[i].text);
    if (EqualsIgnoreCase(name, "Line")) line_column = i;
    if (EqualsIgnoreCase(name, "AbsRefID")) abstract_column = i;
    if (EqualsIgnoreCase(name, "PatientID")) patient_column = i;
  }
  const auto id_column = abstract_column ? abstract_column : line_column;
  if (!patient_column || !id_column) {
    Refuse(1, "the heading lacks PatientID, or both AbsRefID and Line");
  }
  Truth truth;
  while (next()) {
    if (row.size() <= std::max(*patient_column, *id_column)) Refuse(reader.Line(), "too few cells");
    auto id = Number(row[*id_column].text);
    if (!id) Refuse(reader.Line(), "no number of an abstract");
    if (!abstract_column) id = AbstractOfLine(*id, first_abstract);
    if (!id) Refuse(reader.Line(), "no abstract has the number of this line");
    const auto patient = Number(row[*patient_column].text);
    if (!patient && !Trim(row[*patient_column].text).empty()) {
      Refuse(reader.Line(), "PatientID is no number");
    }
    if (!truth.emplace(*id, patient).second) {
      Refuse(reader.Line(), "abstract " + std::to_string(*id) + " stands twice");
    }
  }
  return truth;
}

MatchEvaluation EvaluateMatching(const std::shared_ptr<Connection>& registry,
                                 const std::shared_ptr<Connection>& matching, const Truth& truth,
                                 const EvaluationOptions& options) {
  MatchEvaluation result;
  result.cutoff = KeptCutoff(options);
  Scores scores;
  const auto wanted = [&](std::int32_t id) { return truth.contains(id); };
  auto expected = truth.begin();  // the first that has not been met
  const auto require = [&](Truth::const_iterator met) {
    if (expected == met) return;
    throw Error(kErrNoCurrentRecord, "QMDataObjects2",
                "abstract " + std::to_string(expected->first) + " of the truth does not exist");
  };
  const auto count = [&](std::int32_t id, const Recordset&, std::span<const Candidate> candidates) {
    const auto at = truth.find(id);
    require(at);
    ++expected;
    ++result.abstracts;
    const auto& patient = at->second;
    bool candidate_found = false;
    for (const Candidate& candidate : candidates) {
      const bool right = patient && candidate.match.patient_id == *patient;
      const bool best = &candidate == candidates.data();
      AtScore& score = scores[candidate.match.score];
      ++score.pairs;
      score.right_pairs += right ? 1 : 0;
      score.best += best ? 1 : 0;
      score.right_best += best && right ? 1 : 0;
      candidate_found = candidate_found || right;
    }
    result.registered += patient ? 1 : 0;
    result.not_blocked += patient && !candidate_found ? 1 : 0;
  };
  SurveyScores(registry, matching, options, wanted, count);
  require(truth.end());
  result.best = BestCutoff(scores, result.cutoff, result.registered);
  const std::int32_t least = scores.empty() ? result.cutoff : scores.begin()->first;
  const std::int32_t most = scores.empty() ? result.cutoff : scores.rbegin()->first;
  for (const std::int32_t cutoff :
       TabledCutoffs(least, most, std::max(options.step, 1), {result.cutoff, result.best})) {
    result.cutoffs.push_back(AccuracyAt(scores, cutoff, result.registered));
  }
  return result;
}

}  // namespace qm
