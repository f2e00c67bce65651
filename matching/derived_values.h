// DerivedValues: what a rule's expression makes of each value of one column, in the form in which
// values are compared, each text once. So an expression is evaluated once a distinct value, not
// once a patient. Where a plain column holds nothing but such texts, its own codes serve.
//
// Order of calls: `Extend` after values were added to the column, then the rest. Reading is safe
// for many threads at once.
#pragma once

#include <cstddef>
#include <cstdint>
#include <limits>
#include <span>
#include <string_view>
#include <vector>

#include "matching/patient_rows.h"
#include "matching/rule_expression.h"

namespace qm {

class DerivedValues {
 public:
  using Code = PatientRows::Code;
  /// In place of a code where the expression fails.
  static constexpr Code kFailed = std::numeric_limits<Code>::max();

  /// A fixed expression that reads at most one column, the one at `column`.
  DerivedValues(const RuleExpression& expression, std::size_t column)
      : expression_(expression), column_(column), same_(expression.IsColumn()) {}

  /// Takes in those of the column's values that are new; with two threads when they are many.
  void Extend(const PatientRows::Column& column, std::span<const Code> values, int threads);

  const RuleExpression& expression() const { return expression_; }
  std::size_t column() const { return column_; }
  /// Whether the column's own codes serve.
  bool IsSame() const { return same_; }
  /// Another number whenever texts were added or changed their codes.
  std::uint32_t version() const { return version_; }
  /// Whether the expression fails for some value.
  bool AnyFailed() const { return any_failed_; }

  Code Of(Code value) const { return same_ ? value : of_value_[value]; }
  /// The codes by value; null where they are the same.
  const Code* Codes() const { return same_ ? nullptr : of_value_.data(); }
  std::size_t Limit(const PatientRows::Column& column) const {
    return same_ ? column.Limit() : texts_.Limit() + 1;
  }
  /// Code 0 is the empty text, as is one of its own where the column holds it.
  std::string_view Text(Code code, const PatientRows::Column& column) const {
    return same_ ? column.Text(code) : code == 0 ? std::string_view() : texts_.Name(code - 1);
  }
  bool Has(Code code, const PatientRows::Column& column) const {
    return code == 0 || Texts(column).Has(code - 1);
  }
  /// The texts, each number one less than its code.
  const NameDictionary& Texts(const PatientRows::Column& column) const {
    return same_ ? column.values : texts_;
  }
  /// Codes of texts with blanks in front, which are compared without them.
  const std::vector<Code>& indented() const { return indented_; }
  std::size_t Bytes() const {
    return same_ ? 0 : texts_.Bytes() + of_value_.capacity() * sizeof(Code);
  }

 private:
  void NoteIndented(std::string_view text, Code code);
  void Derive(const PatientRows::Column& column, std::vector<Code> values, int threads);

  RuleExpression expression_;
  std::size_t column_;
  bool same_;
  bool any_failed_ = false;
  std::uint32_t version_ = 0;
  NameDictionary texts_;
  std::vector<Code> of_value_;  // where they are not the same
  std::vector<bool> seen_;      // the column's codes taken in
  std::vector<Code> indented_;
};

}  // namespace qm
