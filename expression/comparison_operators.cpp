#include <compare>

#include <qm/conversions.h>
#include <qm/error.h>
#include "expression/operators.h"
#include "runtime/date_text.h"

namespace qm {

namespace {

bool IsDecided(Operator op, std::partial_ordering order) {
  switch (op) {
    case Operator::kEqual:
      return std::is_eq(order);
    case Operator::kNotEqual:
      return std::is_neq(order);
    case Operator::kLess:
      return std::is_lt(order);
    case Operator::kGreater:
      return std::is_gt(order);
    case Operator::kLessEqual:
      return std::is_lteq(order);
    default:
      return std::is_gteq(order);
  }
}

std::partial_ordering OrderNumbers(const Variant& a, const Variant& b) {
  const auto either = [&a, &b](VarType type) { return a.Type() == type || b.Type() == type; };
  if (either(VarType::kCurrency)) return ToCurrency(a).scaled <=> ToCurrency(b).scaled;
  // A double is taken at the precision of the single that it is compared with.
  if (either(VarType::kSingle) && either(VarType::kDouble)) return ToSingle(a) <=> ToSingle(b);
  return ToDouble(a) <=> ToDouble(b);
}

// What a text stands for beside a literal of another type.
Variant AsTypeOf(const Variant& literal, const Variant& text) {
  if (literal.Type() == VarType::kDate) return ToDate(text);
  return ToDouble(text);
}

std::partial_ordering OrderMixed(const Variant& number, bool number_literal, const Variant& text,
                                 bool text_literal) {
  if (number.IsEmpty()) return std::string() <=> text.Get<std::string>();
  if (number_literal) return OrderNumbers(number, AsTypeOf(number, text));
  if (text_literal) return ToText(number) <=> text.Get<std::string>();
  return std::partial_ordering::less;
}

std::partial_ordering Order(const Variant& left, const Variant& right, Literals literals) {
  if (left.IsText() && right.IsText()) {
    return left.Get<std::string>() <=> right.Get<std::string>();
  }
  if (right.IsText()) return OrderMixed(left, literals.left, right, literals.right);
  if (left.IsText()) {
    const auto reversed = OrderMixed(right, literals.right, left, literals.left);
    return std::is_lt(reversed)   ? std::partial_ordering::greater
           : std::is_gt(reversed) ? std::partial_ordering::less
                                  : reversed;
  }
  return OrderNumbers(left, right);
}

bool IsSameObject(const Variant& left, const Variant& right) {
  if (left.Type() != VarType::kObject || right.Type() != VarType::kObject) {
    RaiseRunTime(kErrObjectRequired);
  }
  return true;  // Nothing is the only reference there is
}

}  // namespace

void RefuseNonValue(const Variant& operand) {
  if (operand.Type() == VarType::kObject) RaiseRunTime(kErrObjectNotSet);
  if (operand.IsArray()) RaiseRunTime(kErrTypeMismatch);
}

Variant Compare(Operator op, const Variant& left, const Variant& right, Literals literals) {
  if (op == Operator::kIs) return IsSameObject(left, right);
  RefuseNonValue(left);
  RefuseNonValue(right);
  if (left.IsNull() || right.IsNull()) return Variant::Null();
  return IsDecided(op, Order(left, right, literals));
}

Variant Apply(Operator op, const Variant& left, const Variant& right, Literals literals) {
  if (op == Operator::kConcatenate) return Concatenate(left, right);
  if (op >= Operator::kAnd) return Logic(op, left, right);
  if (op >= Operator::kEqual) return Compare(op, left, right, literals);
  return Arithmetic(op, left, right);
}

}  // namespace qm
