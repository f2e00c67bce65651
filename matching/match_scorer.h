// MatchScorer: scores candidates against one abstract by the calling thread's rules.
//
// The abstract's value of a rule is evaluated at the first candidate that needs it and kept, so a
// scorer lives no longer than the abstract's row stands and the rules stay. Cost of a candidate:
// one evaluation and one comparison a rule.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <qm/matcher.h>
#include <qm/recordset.h>

#include "matching/match_field.h"

namespace qm {

/// So many characters of a value take part in a comparison.
inline constexpr std::size_t kComparedCharacters = 24;

/// The evaluator's upper-cased value, in its quotes, as it is compared: cut, without quotes and
/// blanks behind.
std::string ComparedText(std::string_view value);

class MatchScorer {
 public:
  explicit MatchScorer(const Recordset& abstract, ValueText values = ValueText::kPlain);

  /// The weighted agreement of the row that `block` stands on; `rules`, when given, receives what
  /// each rule did. A failure keeps its number and description; its source gains
  /// ", GetMatchScore".
  std::int16_t Score(const Recordset& block, std::vector<RuleScore>* rules = nullptr);

 private:
  const Recordset& abstract_;
  ValueText values_;
  std::vector<std::optional<std::string>> abstract_values_;
};

}  // namespace qm
