#include "matching/candidate_search.h"

#include <algorithm>
#include <utility>

#include <qm/conversions.h>

#include "matching/match_field.h"
#include "matching/match_scorer.h"
#include "matching/matching_state.h"
#include "runtime/text.h"

namespace qm {

namespace {

// A quoted value with its inner apostrophes doubled.
std::string EscapedLiteral(const std::string& quoted) {
  std::string result = "'";
  for (std::size_t i = 1; i + 1 < quoted.size(); ++i) {
    if (quoted[i] == '\'') result.push_back('\'');
    result.push_back(quoted[i]);
  }
  return result.append("'");
}

// The condition that a patient is a candidate: one blocking field agrees. Empty: all patients.
std::string BlockingCondition(const std::shared_ptr<Connection>& connection,
                              const Recordset& abstract, bool escape_quotes) {
  MatchingState& state = CurrentMatching();
  std::string condition;
  const auto rules = connection->CreateRecordset();
  rules->Open("SELECT * FROM tblBlockingParameters", connection);
  int number = 0;
  for (const Recordset& rule : rules->Rows()) {
    state.rule_in_work = "number " + std::to_string(++number) + " of tblBlockingParameters";
    std::string expression(Trim(ToText(rule.Value("AbstractField"))));
    state.rule_in_work = expression;
    const std::string value = EvaluateMatchField(
        expression, abstract, escape_quotes ? ValueText::kEscaped : ValueText::kPlain);
    const Variant ignored = rule.Value("ignorevalues");
    if (!ignored.IsNull() && ToText(ignored).find(value) != std::string::npos) continue;
    condition.append(condition.empty() ? " WHERE " : " OR ")
        .append(Trim(ToTextOrEmpty(rule.Value("PatientField"))))
        .append(" = ")
        .append(escape_quotes ? EscapedLiteral(value) : value);
  }
  state.rule_in_work = "of tblBlockingParameters (its PatientField)";
  return condition;
}

Candidate MakeCandidate(const Recordset& row, std::int16_t score) {
  Candidate candidate;
  candidate.match = {ToInt32(Variant(ToText(row.Value("PatientID")))), score};
  candidate.lastname = ToTextOrEmpty(row.Value("lastname"));
  candidate.firstname = ToTextOrEmpty(row.Value("firstname"));
  candidate.middlename = ToTextOrEmpty(row.Value("middlename"));
  return candidate;
}

}  // namespace

std::vector<Candidate> FindCandidates(const std::shared_ptr<Connection>& connection,
                                      const Recordset& abstract, const CandidateOptions& options) {
  MatchingState& state = CurrentMatching();
  state.rule_in_work.clear();
  const std::int16_t cutoff = options.cutoff.value_or(state.cutoff_score);
  const std::string query =
      "SELECT PatientID, soundex, race1, sex, lastname, firstname, middlename, birthdate, socsec "
      "from Patients" +
      BlockingCondition(connection, abstract, options.escape_quotes);

  std::vector<Candidate> found;
  MatchScorer scorer(abstract, options.escape_quotes ? ValueText::kEscaped : ValueText::kPlain);
  const auto rows = connection->CreateRecordset();
  rows->Open(query, connection);
  state.rule_in_work.clear();
  for (const Recordset& row : rows->Rows()) {
    std::vector<RuleScore> rules;
    const std::int16_t score = scorer.Score(row, options.explain ? &rules : nullptr);
    if (score < cutoff) continue;
    found.push_back(MakeCandidate(row, score));
    found.back().rules = std::move(rules);
  }
  rows->Close();

  std::stable_sort(found.begin(), found.end(), [&](const Candidate& x, const Candidate& y) {
    if (x.match.score != y.match.score) return x.match.score > y.match.score;
    return options.ties == TieOrder::kPatientId && x.match.patient_id < y.match.patient_id;
  });
  return found;
}

std::string MatchText(const std::vector<Match>& matches) {
  std::string text;
  for (const Match& match : matches) {
    text.append(", ")
        .append(std::to_string(match.patient_id))
        .append(":")
        .append(std::to_string(match.score));
  }
  return text;
}

}  // namespace qm
