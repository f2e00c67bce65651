#include "matching/candidate_search.h"

#include <algorithm>
#include <utility>

#include <qm/conversions.h>

#include "dataaccess/text_rows.h"
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

// A blocking rule as it applies to one abstract.
struct BlockingRule {
  std::string abstract_field;
  std::string patient_field;
  std::string condition;  // empty when the abstract's value does not block
};

std::vector<BlockingRule> BlockingRules(const std::shared_ptr<Connection>& connection,
                                        const Recordset& abstract, bool escape_quotes) {
  MatchingState& state = CurrentMatching();
  std::vector<BlockingRule> result;
  const auto rules = connection->CreateRecordset();
  rules->Open("SELECT * FROM tblBlockingParameters", connection);
  for (const Recordset& row : rules->Rows()) {
    BlockingRule& rule = result.emplace_back();
    state.rule_in_work = "number " + std::to_string(result.size()) + " of tblBlockingParameters";
    rule.abstract_field = Trim(ToText(row.Value("AbstractField")));
    rule.patient_field = Trim(ToTextOrEmpty(row.Value("PatientField")));
    state.rule_in_work = rule.abstract_field;
    std::string expression = rule.abstract_field;
    const std::string value = EvaluateMatchField(
        expression, abstract, escape_quotes ? ValueText::kEscaped : ValueText::kPlain);
    const Variant ignored = row.Value("ignorevalues");
    if (!ignored.IsNull() && ToText(ignored).find(value) != std::string::npos) continue;
    rule.condition = rule.patient_field + " = " + (escape_quotes ? EscapedLiteral(value) : value);
  }
  state.rule_in_work = "of tblBlockingParameters (its PatientField)";
  return result;
}

// Empty: all patients.
std::string BlockingCondition(const std::vector<BlockingRule>& rules) {
  std::string condition;
  for (const BlockingRule& rule : rules) {
    if (rule.condition.empty()) continue;
    condition.append(condition.empty() ? " WHERE " : " OR ").append(rule.condition);
  }
  return condition;
}

Candidate MakeCandidate(const TextRows& row, std::int16_t score) {
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
      BlockingCondition(BlockingRules(connection, abstract, options.escape_quotes));

  std::vector<Candidate> found;
  MatchScorer scorer(abstract, options.escape_quotes ? ValueText::kEscaped : ValueText::kPlain);
  TextRows rows(connection, query);
  state.rule_in_work.clear();
  while (rows.Next()) {
    std::vector<RuleScore> rules;
    const auto score = scorer.ScoreFrom(cutoff, rows, options.explain ? &rules : nullptr);
    if (!score) continue;
    found.push_back(MakeCandidate(rows, *score));
    found.back().rules = std::move(rules);
  }

  std::stable_sort(found.begin(), found.end(), [&](const Candidate& x, const Candidate& y) {
    if (x.match.score != y.match.score) return x.match.score > y.match.score;
    return options.ties == TieOrder::kPatientId && x.match.patient_id < y.match.patient_id;
  });
  return found;
}

std::vector<BlockedPatients> PatientsByRule(const std::shared_ptr<Connection>& connection,
                                            const Recordset& abstract) {
  std::vector<BlockedPatients> result;
  for (BlockingRule& rule : BlockingRules(connection, abstract, true)) {
    BlockedPatients& blocked = result.emplace_back();
    blocked.abstract_field = std::move(rule.abstract_field);
    blocked.patient_field = std::move(rule.patient_field);
    blocked.blocks = !rule.condition.empty();
    if (!blocked.blocks) continue;
    CurrentMatching().rule_in_work = blocked.abstract_field;
    const auto rows = connection->CreateRecordset();
    rows->Open("SELECT PatientID FROM Patients WHERE " + rule.condition, connection);
    for (const Recordset& row : rows->Rows()) {
      blocked.patients.push_back(ToInt32(row.Value("PatientID")));
    }
  }
  CurrentMatching().rule_in_work.clear();
  return result;
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
