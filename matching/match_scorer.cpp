#include "matching/match_scorer.h"

#include <algorithm>
#include <cstddef>
#include <string_view>

#include <qm/conversions.h>
#include <qm/error.h>

#include "comparison/comparison.h"
#include "matching/match_field.h"
#include "matching/matching_state.h"
#include "runtime/text.h"

namespace qm {

namespace {

std::string ComparedValue(const std::string& expression, const Recordset& record,
                          ValueText values) {
  std::string rewritten = expression;
  return ComparedText(UpperCase(EvaluateMatchField(rewritten, record, values)));
}

bool IsMissing(std::string_view value, const MatchRule& rule) {
  return rule.missing_values.find(value) != std::string::npos;
}

// What one rule says about two buffers; `total` is the running total that it changes.
RuleScore ApplyRule(const MatchRule& rule, const std::string& abstract, const std::string& patient,
                    std::int32_t& total) {
  const std::string_view a = Trim(abstract);
  const std::string_view b = Trim(patient);
  RuleScore result;
  result.expression = Trim(rule.field_expression);
  result.abstract_value = a;
  result.patient_value = b;
  result.exact = rule.exact_match != 0;
  result.weight = rule.weight;
  result.skipped = IsMissing(a, rule) || IsMissing(b, rule);
  if (result.skipped) return result;
  const std::int32_t before = total;
  if (!result.exact) {
    result.agreement = AgreementOf(CompareStrings(a, b, rule.comparator_parameter));
    total = AddAgreement(total, rule, result.agreement);
  } else if (abstract == patient) {
    result.agreement = 100;
    total = AddEquality(total, rule);
  }
  result.added = ChangeOf(before, total);
  return result;
}

}  // namespace

// The cut comes before the quotes go.
std::string ComparedText(std::string_view value) {
  std::string buffer(CharacterSlice(value, 0, kComparedCharacters + 1));
  std::erase(buffer, '\'');
  buffer.erase(buffer.find_last_not_of(' ') + 1);
  return buffer;
}

void MakeCompared(std::string_view value, std::string& compared) {
  if (IsAscii(value)) {
    compared.assign(value.substr(0, kComparedCharacters));
    for (char& c : compared) c = c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c;
  } else {
    compared = CharacterSlice(UpperCase(value), 0, kComparedCharacters);
  }
  std::erase(compared, '\'');
  compared.erase(compared.find_last_not_of(' ') + 1);
}

std::int32_t AddAgreement(std::int32_t total, const MatchRule& rule, std::int16_t agreement) {
  return NarrowInt32(RoundHalfEven(total + agreement * rule.weight / 100));
}

std::int32_t AddEquality(std::int32_t total, const MatchRule& rule) {
  return NarrowInt32(RoundHalfEven(total + rule.weight));
}

std::int32_t ChangeOf(std::int32_t before, std::int32_t total) {
  return static_cast<std::int32_t>(
      std::clamp<std::int64_t>(std::int64_t{total} - before, INT32_MIN, INT32_MAX));
}

std::int16_t AgreementOf(double proportion) { return NarrowInt16(RoundHalfEven(proportion * 100)); }

MatchScorer::MatchScorer(const Recordset& abstract, ValueText values)
    : abstract_(abstract), values_(values), abstract_values_(CurrentMatching().rules.size()) {}

std::int16_t MatchScorer::Score(const Recordset& block, std::vector<RuleScore>* rules) {
  MatchingState& state = CurrentMatching();
  try {
    std::int32_t total = 0;
    for (std::size_t i = 0; i < abstract_values_.size(); ++i) {
      const MatchRule& rule = state.rules[i];
      state.rule_in_work = Trim(rule.field_expression);
      auto& abstract_value = abstract_values_[i];
      if (!abstract_value) abstract_value = ComparedValue(state.rule_in_work, abstract_, values_);
      const std::string patient_value = ComparedValue(state.rule_in_work, block, values_);
      RuleScore score = ApplyRule(rule, *abstract_value, patient_value, total);
      if (rules != nullptr) rules->push_back(std::move(score));
    }
    const std::int16_t result = NarrowInt16(total);
    state.rule_in_work.clear();
    return result;
  } catch (const Error& error) {
    throw error.As(error.number(), error.source() + ", GetMatchScore");
  }
}

}  // namespace qm
