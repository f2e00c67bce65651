// MatchScorer: scores candidates against one abstract by the calling thread's rules.
//
// Each rule's expression is read once. The abstract's value of a rule is evaluated at the first
// candidate that needs it and kept, so a scorer lives no longer than the abstract's row stands and
// the rules stay. The columns of the candidates are found once for each recordset that they come
// in. Cost of a candidate: one evaluation and one comparison a rule; a script is not run again for
// a value that it met not long ago. Of a candidate that cannot reach the cut-off even if every
// approximate rule agreed, only the columns of exact rules and of scripts are read.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <qm/matcher.h>
#include <qm/recordset.h>

#include "comparison/prepared_comparator.h"
#include "dataaccess/text_rows.h"
#include "matching/match_field.h"
#include "matching/matching_state.h"
#include "matching/rule_expression.h"

namespace qm {

/// So many characters of a value take part in a comparison.
inline constexpr std::size_t kComparedCharacters = 24;

/// The evaluator's upper-cased value, in its quotes, as it is compared: cut, without quotes and
/// blanks behind.
std::string ComparedText(std::string_view value);

/// The same for a value without quotes and in any case, written into `compared`.
void MakeCompared(std::string_view value, std::string& compared);

/// Whether a trimmed value counts as missing; an empty one always does.
bool IsMissing(std::string_view value, const MatchRule& rule);
/// The running total after a rule whose sides agree by so many hundredths.
std::int32_t AddAgreement(std::int32_t total, const MatchRule& rule, std::int16_t agreement);
/// The same after an exact rule whose sides are equal.
std::int32_t AddEquality(std::int32_t total, const MatchRule& rule);
/// What a rule added, held within 32 bits: two totals may lie further apart, though no sensible
/// weight gets there.
std::int32_t ChangeOf(std::int32_t before, std::int32_t total);
/// A degree of agreement in hundredths.
std::int16_t AgreementOf(double proportion);

class MatchScorer {
 public:
  explicit MatchScorer(const Recordset& abstract, ValueText values = ValueText::kPlain);

  /// The weighted agreement of the row that `block` stands on; `rules`, when given, receives what
  /// each rule did. A failure keeps its number and description; its source gains
  /// ", GetMatchScore".
  std::int16_t Score(const RowTexts& block, std::vector<RuleScore>* rules = nullptr);
  std::int16_t Score(const Recordset& block, std::vector<RuleScore>* rules = nullptr);
  /// The same; none when it is below the cut-off.
  std::optional<std::int16_t> ScoreFrom(std::int16_t cutoff, const RowTexts& block,
                                        std::vector<RuleScore>* rules = nullptr);

 private:
  struct Known {
    std::string field{};
    std::string compared{};
    bool is_known = false;
  };
  // A rule as it applies to the abstract.
  struct Applied {
    explicit Applied(RuleExpression read) : expression(std::move(read)) {}

    RuleExpression expression;
    std::vector<int> columns{};  // of the candidates, for the expression's fields
    std::optional<std::string> abstract_value{};
    bool abstract_is_missing = false;
    std::optional<PreparedComparator> prepared{};
    bool is_repeatable = false;  // equal fields give equal results
    std::vector<Known> known{};  // by hash of the field: what its script made of it
    std::int32_t most = 0;       // it adds no more, where that is known
  };

  void FindBounds();
  void BindColumns(const RowTexts& block);
  void EvaluateAbstract(const MatchRule& rule, Applied& applied);
  // What is compared of a record: in `room`, or as it is remembered.
  const std::string& Evaluate(Applied& applied, const RowTexts& record,
                              std::span<const int> columns, std::string& room);
  std::int16_t Compare(const Applied& applied, std::string_view patient) const;
  std::int16_t Total(const RowTexts& block, std::vector<RuleScore>* rules, std::size_t& rule);
  bool CanReach(std::int32_t cutoff, const RowTexts& block, std::size_t& rule);
  template <typename Body>
  auto Trapped(Body body);

  RecordsetTexts abstract_;
  ValueText values_;
  std::vector<Applied> rules_;
  bool is_bounded_ = false;  // no rule fails, unless its script does, and no total overflows
  bool is_started_ = false;  // the abstract's side of every rule is known
  const RowTexts* bound_to_ = nullptr;
  std::vector<std::string> fields_;
  std::string value_;
  std::string patient_value_;
};

}  // namespace qm
