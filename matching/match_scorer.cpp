#include "matching/match_scorer.h"

#include <algorithm>
#include <cmath>
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

// Totals that cannot overflow.
constexpr double kMostOfAll = 16000;

std::vector<int> ColumnsOf(const RuleExpression& expression, const RowTexts& record) {
  std::vector<int> columns;
  for (const std::string& name : expression.fields()) columns.push_back(record.Find(name));
  return columns;
}

// Whether `MakeCompared` would make `compared` of the value; mostly the first character tells.
bool EqualsCompared(std::string_view value, std::string_view compared, std::string& room) {
  std::size_t same = 0;
  for (char c : value.substr(0, kComparedCharacters)) {
    if (c == '\'') continue;
    if (c >= 'a' && c <= 'z') c = static_cast<char>(c - 'a' + 'A');
    if (static_cast<unsigned char>(c) >= 0x80 || same == compared.size()) {
      MakeCompared(value, room);
      return room == compared;
    }
    if (c != compared[same++]) return false;
  }
  return same == compared.size();
}

// A library may give any result; one that cannot be loaded fails at the first comparison.
bool IsComparisonBuiltIn() {
  try {
    return FindComparisonLibrary() == nullptr;
  } catch (const Error&) {
    return false;
  }
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
  FindBounds();
}

void MatchScorer::FindBounds() {
  const auto& rules = CurrentMatching().rules;
  is_bounded_ = IsComparisonBuiltIn();
  double sum = 0;
  for (std::size_t i = 0; i < rules.size() && is_bounded_; ++i) {
    Applied& applied = rules_[i];
    sum += std::abs(rules[i].weight) + 1;
    is_bounded_ = (applied.expression.IsColumn() || applied.is_repeatable) &&
                  sum < kMostOfAll;  // not for a weight that is no number either
    if (!is_bounded_) return;
    const double most =
        rules[i].exact_match != 0 ? rules[i].weight : std::max(0.0, rules[i].weight);
    applied.most = static_cast<std::int32_t>(std::ceil(most));
  }
}

void MatchScorer::BindColumns(const RowTexts& block) {
  if (bound_to_ == &block) return;
  for (Applied& applied : rules_) applied.columns = ColumnsOf(applied.expression, block);
  bound_to_ = &block;
}

const std::string& MatchScorer::Evaluate(Applied& applied, const RowTexts& record,
                                         std::span<const int> columns, std::string& room) {
  const bool found = std::ranges::all_of(columns, [](int column) { return column >= 0; });
  Known* known = nullptr;
  if (found && applied.expression.IsColumn()) {
    MakeCompared(record.Text(columns[0]), room);
    return room;
  }
  if (found && applied.is_repeatable) {
    const std::string_view field = record.Text(columns[0]);
    applied.known.resize(kMostKnown);
    known = &applied.known[std::hash<std::string_view>{}(field) % kMostKnown];
    if (known->is_known && known->field == field) return known->compared;
  }
  fields_.resize(columns.size());
  for (std::size_t i = 0; found && i < columns.size(); ++i) {
    fields_[i] = record.Text(columns[i]);
  }
  if (!found || !applied.expression.Evaluate(fields_, values_, MatchScriptEngine(), value_)) {
    std::string rewritten = applied.expression.text();
    const std::string quoted = EvaluateMatchField(rewritten, record, values_);
    value_.assign(quoted, 1, quoted.size() - 2);
    known = nullptr;  // such a value may have become part of the script
  }
  MakeCompared(value_, room);
  if (known != nullptr) *known = {fields_[0], room, true};
  return room;
}

void MatchScorer::EvaluateAbstract(const MatchRule& rule, Applied& applied) {
  std::string room;
  std::string value = Evaluate(applied, abstract_, ColumnsOf(applied.expression, abstract_), room);
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

// With every approximate rule in full agreement. Scripts run all the same: they may fail.
bool MatchScorer::CanReach(std::int32_t cutoff, const RowTexts& block, std::size_t& i) {
  const auto& rules = CurrentMatching().rules;
  std::int32_t most = 0;
  for (i = 0; i < rules_.size(); ++i) {
    Applied& applied = rules_[i];
    const bool exact = rules[i].exact_match != 0;
    if (!applied.expression.IsColumn()) {
      const std::string& patient = Evaluate(applied, block, applied.columns, patient_value_);
      if (exact && patient != *applied.abstract_value) continue;
    } else if (exact && !EqualsCompared(block.Text(applied.columns[0]), *applied.abstract_value,
                                        patient_value_)) {
      continue;
    }
    if (!applied.abstract_is_missing) most += applied.most;
  }
  return most >= cutoff;
}

std::int16_t MatchScorer::Total(const RowTexts& block, std::vector<RuleScore>* rules,
                                std::size_t& i) {
  const MatchingState& state = CurrentMatching();
  std::int32_t total = 0;
  for (i = 0; i < rules_.size(); ++i) {
    const MatchRule& rule = state.rules[i];
    Applied& applied = rules_[i];
    if (!applied.abstract_value) EvaluateAbstract(rule, applied);
    const std::string& patient = Evaluate(applied, block, applied.columns, patient_value_);
    const std::string_view b = Trim(patient);
    const bool exact = rule.exact_match != 0;
    const bool skipped = applied.abstract_is_missing || IsMissing(b, rule);
    const std::int32_t before = total;
    std::int16_t agreement = 0;
    if (!skipped && !exact) {
      agreement = Compare(applied, b);
      total = AddAgreement(total, rule, agreement);
    } else if (!skipped && *applied.abstract_value == patient) {
      agreement = 100;
      total = AddEquality(total, rule);
    }
    if (rules == nullptr) continue;
    rules->push_back({applied.expression.text(), std::string(Trim(*applied.abstract_value)),
                      std::string(b), skipped, exact, agreement, rule.weight,
                      ChangeOf(before, total)});
  }
  is_started_ = true;
  return NarrowInt16(total);
}

// `body` tells which rule is in work.
template <typename Body>
auto MatchScorer::Trapped(Body body) {
  std::size_t i = 0;
  try {
    return body(i);
  } catch (const Error& error) {
    if (!rules_.empty()) {
      CurrentMatching().rule_in_work = rules_[std::min(i, rules_.size() - 1)].expression.text();
    }
    throw error.As(error.number(), error.source() + ", GetMatchScore");
  }
}

std::int16_t MatchScorer::Score(const RowTexts& block, std::vector<RuleScore>* rules) {
  BindColumns(block);
  return Trapped([&](std::size_t& rule) { return Total(block, rules, rule); });
}

std::int16_t MatchScorer::Score(const Recordset& block, std::vector<RuleScore>* rules) {
  bound_to_ = nullptr;
  return Score(RecordsetTexts(block), rules);
}

std::optional<std::int16_t> MatchScorer::ScoreFrom(std::int16_t cutoff, const RowTexts& block,
                                                   std::vector<RuleScore>* rules) {
  // The first candidate brings the abstract's side, and tells what the candidates lack.
  if (is_bounded_ && is_started_ && bound_to_ == &block) {
    const auto can_reach = [&](std::size_t& rule) { return CanReach(cutoff, block, rule); };
    if (!Trapped(can_reach)) return std::nullopt;
  }
  const std::int16_t score = Score(block, rules);
  return score >= cutoff ? std::optional(score) : std::nullopt;
}

}  // namespace qm
