#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

#include <qm/conversions.h>
#include <qm/error.h>
#include "expression/operators.h"
#include "runtime/date_text.h"

namespace qm {

namespace {

bool IsSmallWhole(VarType type) {
  return type == VarType::kEmpty || type == VarType::kByte || type == VarType::kBoolean ||
         type == VarType::kInteger;
}

// Byte, Integer or Long of two whole operands.
VarType WholeType(VarType a, VarType b) {
  if (!IsSmallWhole(a) || !IsSmallWhole(b)) return VarType::kLong;
  const bool bytes = (a == VarType::kByte && (b == VarType::kByte || b == VarType::kEmpty)) ||
                     (b == VarType::kByte && a == VarType::kEmpty);
  return bytes ? VarType::kByte : VarType::kInteger;
}

// The type in which + - * compute, before an overflow widens it.
VarType ResultType(Operator op, VarType a, VarType b) {
  const auto either = [a, b](VarType type) { return a == type || b == type; };
  if (either(VarType::kDate)) {
    const bool difference = op == Operator::kSubtract && a == b;
    return difference || op == Operator::kMultiply ? VarType::kDouble : VarType::kDate;
  }
  const bool floating =
      either(VarType::kDouble) || either(VarType::kString) || either(VarType::kLongLong);
  if (either(VarType::kCurrency)) {
    const bool scales = op == Operator::kMultiply && (floating || either(VarType::kSingle));
    return scales ? VarType::kDouble : VarType::kCurrency;
  }
  if (floating) return VarType::kDouble;
  if (either(VarType::kSingle)) {
    return either(VarType::kLong) ? VarType::kDouble : VarType::kSingle;
  }
  return WholeType(a, b);
}

double Compute(Operator op, double a, double b) {
  if (op == Operator::kAdd) return a + b;
  if (op == Operator::kSubtract) return a - b;
  return a * b;
}

Variant CurrencyResult(Operator op, const Variant& left, const Variant& right) {
  // The 64 bits of a long double's mantissa hold any amount.
  const auto a = static_cast<long double>(ToCurrency(left).scaled);
  const auto b = static_cast<long double>(ToCurrency(right).scaled);
  long double result = 0;
  if (op == Operator::kAdd) {
    result = a + b;
  } else if (op == Operator::kSubtract) {
    result = a - b;
  } else {
    result = std::nearbyint(a * b / 10000);
  }
  constexpr long double kLimit = 9223372036854775808.0L;
  if (result < -kLimit || result >= kLimit) RaiseRunTime(kErrOverflow);
  return Currency{static_cast<std::int64_t>(result)};
}

Variant SingleOrDouble(double value) {
  constexpr double kLargest = static_cast<double>(std::numeric_limits<float>::max());
  if (std::abs(value) > kLargest) return Finite(value);
  return static_cast<float>(value);
}

Variant Divide(const Variant& left, const Variant& right) {
  const double dividend = ToDouble(left);
  const double divisor = ToDouble(right);
  if (divisor == 0) RaiseRunTime(dividend == 0 ? kErrOverflow : kErrDivisionByZero);
  const VarType a = left.Type();
  const VarType b = right.Type();
  const auto fits_single = [](VarType type) {
    return type == VarType::kSingle || IsSmallWhole(type);
  };
  const bool single =
      (a == VarType::kSingle || b == VarType::kSingle) && fits_single(a) && fits_single(b);
  return single ? SingleOrDouble(dividend / divisor) : Variant(Finite(dividend / divisor));
}

// \ and Mod round their operands to whole numbers first.
Variant DivideWhole(Operator op, const Variant& left, const Variant& right) {
  const std::int64_t dividend = ToInt32(left);
  const std::int64_t divisor = ToInt32(right);
  if (divisor == 0) RaiseRunTime(kErrDivisionByZero);
  const std::int64_t result = op == Operator::kModulo ? dividend % divisor : dividend / divisor;
  if (result > std::numeric_limits<std::int32_t>::max()) RaiseRunTime(kErrOverflow);
  return WholeNumber(result, WholeType(left.Type(), right.Type()));
}

Variant Power(double base, double exponent) {
  const bool undefined =
      (base < 0 && exponent != std::trunc(exponent)) || (base == 0 && exponent < 0);
  if (undefined) RaiseRunTime(kErrInvalidCall);
  return Finite(std::pow(base, exponent));
}

}  // namespace

Variant WholeNumber(std::int64_t value, VarType narrowest) {
  if (narrowest == VarType::kByte && value >= 0 && value <= 255) {
    return static_cast<std::uint8_t>(value);
  }
  using Short = std::numeric_limits<std::int16_t>;
  if (narrowest != VarType::kLong && value >= Short::min() && value <= Short::max()) {
    return static_cast<std::int16_t>(value);
  }
  using Long = std::numeric_limits<std::int32_t>;
  if (value >= Long::min() && value <= Long::max()) return static_cast<std::int32_t>(value);
  return static_cast<double>(value);
}

double Finite(double value) {
  if (!std::isfinite(value)) RaiseRunTime(kErrOverflow);
  return value;
}

Variant Negate(const Variant& operand) {
  RefuseNonValue(operand);
  switch (operand.Type()) {
    case VarType::kNull:
      return operand;
    case VarType::kSingle:
      return -operand.Get<float>();
    case VarType::kDate:
      return ToDate(Variant(-operand.Get<Date>().serial));
    case VarType::kCurrency:
      return CurrencyResult(Operator::kSubtract, Variant(Currency{0}), operand);
    case VarType::kLong:
      return WholeNumber(-static_cast<std::int64_t>(operand.Get<std::int32_t>()), VarType::kLong);
    case VarType::kEmpty:
    case VarType::kBoolean:
    case VarType::kByte:
    case VarType::kInteger:
      return WholeNumber(-static_cast<std::int64_t>(ToInt16(operand)), VarType::kInteger);
    default:
      return 0.0 - ToDouble(operand);
  }
}

Variant Arithmetic(Operator op, const Variant& left, const Variant& right) {
  RefuseNonValue(left);
  RefuseNonValue(right);
  if (left.IsNull() || right.IsNull()) return Variant::Null();
  switch (op) {
    case Operator::kPower:
      return Power(ToDouble(left), ToDouble(right));
    case Operator::kDivide:
      return Divide(left, right);
    case Operator::kIntegerDivide:
    case Operator::kModulo:
      return DivideWhole(op, left, right);
    case Operator::kAdd:
      if (left.IsText() && (right.IsText() || right.IsEmpty())) return Concatenate(left, right);
      if (left.IsEmpty() && right.IsText()) return right;
      break;
    default:
      break;
  }
  const VarType type = ResultType(op, left.Type(), right.Type());
  if (type == VarType::kCurrency) return CurrencyResult(op, left, right);
  // Two 32-bit numbers multiply exactly in 64 bits, but not always in a double.
  if (type == VarType::kByte || type == VarType::kInteger || type == VarType::kLong) {
    const std::int64_t a = ToInt32(left);
    const std::int64_t b = ToInt32(right);
    const std::int64_t result = op == Operator::kAdd        ? a + b
                                : op == Operator::kSubtract ? a - b
                                                            : a * b;
    return WholeNumber(result, type);
  }
  const double result = Compute(op, ToDouble(left), ToDouble(right));
  if (type == VarType::kDate) return ToDate(Variant(result));
  return type == VarType::kSingle ? SingleOrDouble(result) : Variant(Finite(result));
}

Variant Concatenate(const Variant& left, const Variant& right) {
  if (left.IsNull() && right.IsNull()) return Variant::Null();
  std::string text = ToTextOrEmpty(left);
  text += ToTextOrEmpty(right);
  return text;
}

}  // namespace qm
