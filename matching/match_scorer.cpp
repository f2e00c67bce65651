#include "matching/match_scorer.h"

#include <algorithm>
#include <cstddef>
#include <functional>
#include <string_view>
#include <utility>

#include <qm/conversions.h>
#include <qm/error.h>

#include "comparison/comparison.h"
#include "comparison/comparison_library.h"
#include "matching/match_field.h"
#include "matching/matching_state.h"
#include "runtime/text.h"

namespace qm {

namespace {

constexpr std::size_t kMostKnown = 256;

std::vector<int> ColumnsOf(const RuleExpression& expression, const Recordset& record) {
  std::vector<int> columns;
  for (const std::string& name : expression.fields()) columns.push_back(record.FieldOrdinal(name));
  return columns;
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

bool IsMissing(std::string_view value, const MatchRule& rule) {
  return rule.missing_values.find(value) != std::string::npos;
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
    : abstract_(abstract), values_(values) {
  const auto& rules = CurrentMatching().rules;
  rules_.reserve(rules.size());
  for (const MatchRule& rule : rules) {
    Applied& applied = rules_.emplace_back(RuleExpression(Trim(rule.field_expression)));
    const RuleExpression& expression = applied.expression;
    applied.is_repeatable =
        !expression.IsColumn() && expression.IsFixed() && expression.fields().size() == 1;
  }
}

void MatchScorer::BindColumns(const Recordset& block) {
  if (bound_to_ == &block) return;
  for (Applied& applied : rules_) applied.columns = ColumnsOf(applied.expression, block);
  bound_to_ = &block;
}

void MatchScorer::Evaluate(Applied& applied, const Recordset& record, std::span<const int> columns,
                           std::string& compared) {
  const bool found = std::ranges::all_of(columns, [](int column) { return column >= 0; });
  fields_.resize(columns.size());
  for (std::size_t i = 0; found && i < columns.size(); ++i) {
    fields_[i] = ToTextOrEmpty(record.Value(columns[i]));
  }
  Known* known = nullptr;
  if (found && applied.is_repeatable) {
    applied.known.resize(kMostKnown);
    known = &applied.known[std::hash<std::string>{}(fields_[0]) % kMostKnown];
    if (known->is_known && known->field == fields_[0]) {
      compared = known->compared;
      return;
    }
  }
  if (!found || !applied.expression.Evaluate(fields_, values_, MatchScriptEngine(), value_)) {
    std::string rewritten = applied.expression.text();
    const std::string quoted = EvaluateMatchField(rewritten, record, values_);
    value_.assign(quoted, 1, quoted.size() - 2);
    known = nullptr;  // such a value may have become part of the script
  }
  MakeCompared(value_, compared);
  if (known != nullptr) *known = {fields_[0], compared, true};
}

void MatchScorer::EvaluateAbstract(const MatchRule& rule, Applied& applied) {
  std::string value;
  Evaluate(applied, abstract_, ColumnsOf(applied.expression, abstract_), value);
  const std::string_view trimmed = Trim(value);
  applied.abstract_is_missing = IsMissing(trimmed, rule);
  if (rule.exact_match == 0) applied.prepared.emplace(trimmed, rule.comparator_parameter);
  applied.abstract_value = std::move(value);
}

std::int16_t MatchScorer::Compare(const Applied& applied, std::string_view patient) const {
  const PreparedComparator& prepared = *applied.prepared;
  const bool built_in = FindComparisonLibrary() == nullptr;
  return AgreementOf(built_in ? prepared.Compare(patient)
                              : CompareStrings(prepared.text(), patient, prepared.parameter()));
}

std::int16_t MatchScorer::Score(const Recordset& block, std::vector<RuleScore>* rules) {
  MatchingState& state = CurrentMatching();
  BindColumns(block);
  std::size_t i = 0;
  try {
    std::int32_t total = 0;
    for (; i < rules_.size(); ++i) {
      const MatchRule& rule = state.rules[i];
      Applied& applied = rules_[i];
      if (!applied.abstract_value) EvaluateAbstract(rule, applied);
      Evaluate(applied, block, applied.columns, patient_value_);
      const std::string_view b = Trim(patient_value_);
      const bool exact = rule.exact_match != 0;
      const bool skipped = applied.abstract_is_missing || IsMissing(b, rule);
      const std::int32_t before = total;
      std::int16_t agreement = 0;
      if (!skipped && !exact) {
        agreement = Compare(applied, b);
        total = AddAgreement(total, rule, agreement);
      } else if (!skipped && *applied.abstract_value == patient_value_) {
        agreement = 100;
        total = AddEquality(total, rule);
      }
      if (rules == nullptr) continue;
      rules->push_back({applied.expression.text(), std::string(Trim(*applied.abstract_value)),
                        std::string(b), skipped, exact, agreement, rule.weight,
                        ChangeOf(before, total)});
    }
    return NarrowInt16(total);
  } catch (const Error& error) {
    if (!rules_.empty()) {
      state.rule_in_work = rules_[std::min(i, rules_.size() - 1)].expression.text();
    }
    throw error.As(error.number(), error.source() + ", GetMatchScore");
  }
}

}  // namespace qm
