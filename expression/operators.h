// The operators of the expression language on variants: which type a result has, what Null, Empty
// and texts do, and when arithmetic overflows into the next wider type.
//
// Errors are run-time errors: 6 overflow, 11 division by zero, 13 a text that is no number or an
// array, 5 a root of a negative number, 91 Nothing where a value is needed, 424 `Is` without
// objects.
#pragma once

#include <cstdint>

#include <qm/variant.h>

namespace qm {

enum class Operator : std::uint8_t {
  kPower,
  kNegate,
  kMultiply,
  kDivide,
  kIntegerDivide,
  kModulo,
  kAdd,
  kSubtract,
  kConcatenate,
  kEqual,
  kNotEqual,
  kLess,
  kGreater,
  kLessEqual,
  kGreaterEqual,
  kIs,
  kNot,
  kAnd,
  kOr,
  kXor,
  kEqv,
  kImp
};

/// Which operands of a comparison stand as literals in the text. A number and a text compare by
/// the type of the literal one; when neither is literal, the number is the lesser.
struct Literals {
  bool left = false;
  bool right = false;
};

/// Arithmetic and comparisons take no objects and no arrays.
void RefuseNonValue(const Variant& operand);
Variant Negate(const Variant& operand);
Variant Arithmetic(Operator op, const Variant& left, const Variant& right);
Variant Concatenate(const Variant& left, const Variant& right);
Variant Compare(Operator op, const Variant& left, const Variant& right, Literals literals);
Variant Not(const Variant& operand);
/// And, Or, Xor, Eqv, Imp: on booleans with three values, on numbers bit by bit.
Variant Logic(Operator op, const Variant& left, const Variant& right);

/// Any binary operator.
Variant Apply(Operator op, const Variant& left, const Variant& right, Literals literals);

/// A whole number as Byte, Integer, Long or Double: the first from `narrowest` on that holds it.
Variant WholeNumber(std::int64_t value, VarType narrowest);
/// Raises overflow for what is no finite number.
double Finite(double value);

}  // namespace qm
