// FindCriteria: the one condition of `Recordset::Find`, read once and held against many values.
//
//   column operator value
//   column    a bare name, or [any name]
//   operator  = <> < <= > >= LIKE
//   value     'text' with doubled quotes, a number, #date#, Null (with = and <> only)
//
// Anything else, a second condition included, is 3001. Letters match without regard to case. Where
// the value is a number or a date, a text in the column counts as what it reads as; a text sought
// in a column of numbers likewise. What reads as neither meets `<>` alone. A Null in the column
// meets `= Null` and nothing else.
#pragma once

#include <compare>
#include <optional>
#include <string>
#include <string_view>

#include <qm/variant.h>

namespace qm {

class FindCriteria {
 public:
  explicit FindCriteria(std::string_view text);

  const std::string& column() const { return column_; }
  /// `value` is in stored form.
  bool Meets(const Variant& value) const;

 private:
  enum class Operator { kEqual, kUnequal, kLess, kLessOrEqual, kGreater, kGreaterOrEqual, kLike };
  enum class Kind { kText, kNumber, kDate, kNull };

  void ReadColumn(std::string_view& rest);
  void ReadOperator(std::string_view& rest);
  void ReadValue(std::string_view& rest);
  std::partial_ordering Compare(const Variant& value) const;

  std::string column_;
  Operator operator_ = Operator::kEqual;
  Kind kind_ = Kind::kNull;
  std::string text_;              // in capitals
  std::optional<double> number_;  // what it is, or what the text reads as
};

}  // namespace qm
