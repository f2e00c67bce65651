#include <qm/conversions.h>
#include <qm/error.h>
#include "expression/operators.h"

namespace qm {

namespace {

// Boolean, Byte, Integer or Long: the type whose bits an operand gives.
VarType BitType(const Variant& operand) {
  switch (operand.Type()) {
    case VarType::kBoolean:
    case VarType::kByte:
    case VarType::kInteger:
    case VarType::kNull:
      return operand.Type();
    case VarType::kEmpty:
      return VarType::kInteger;
    default:
      return VarType::kLong;
  }
}

VarType CommonType(VarType a, VarType b) {
  if (a == b) return a;
  return a == VarType::kLong || b == VarType::kLong ? VarType::kLong : VarType::kInteger;
}

Variant FromBits(std::int32_t bits, VarType type) {
  switch (type) {
    case VarType::kBoolean:
      return bits != 0;
    case VarType::kByte:
      return static_cast<std::uint8_t>(bits);
    case VarType::kInteger:
      return static_cast<std::int16_t>(bits);
    default:
      return bits;
  }
}

std::int32_t Combine(Operator op, std::int32_t a, std::int32_t b) {
  switch (op) {
    case Operator::kAnd:
      return a & b;
    case Operator::kOr:
      return a | b;
    case Operator::kXor:
      return a ^ b;
    case Operator::kEqv:
      return ~(a ^ b);
    default:
      return ~a | b;
  }
}

// Null is an unknown: the result is known only where it is the same whatever Null stands for.
Variant LogicWithNull(Operator op, const Variant& left, const Variant& right) {
  if (left.IsNull() && right.IsNull()) return Variant::Null();
  const Variant& known = left.IsNull() ? right : left;
  const VarType type = BitType(known);
  const std::int32_t bits = ToInt32(known);
  if (op == Operator::kAnd && bits == 0) return FromBits(0, type);
  if (op == Operator::kOr && bits != 0) return FromBits(bits, type);
  if (op == Operator::kImp) {
    if (left.IsNull() && bits != 0) return FromBits(bits, type);
    if (right.IsNull() && bits == 0) return FromBits(-1, type);
  }
  return Variant::Null();
}

}  // namespace

Variant Not(const Variant& operand) {
  if (operand.IsNull()) return operand;
  return FromBits(~ToInt32(operand), BitType(operand));
}

Variant Logic(Operator op, const Variant& left, const Variant& right) {
  if (left.IsNull() || right.IsNull()) return LogicWithNull(op, left, right);
  return FromBits(Combine(op, ToInt32(left), ToInt32(right)),
                  CommonType(BitType(left), BitType(right)));
}

}  // namespace qm
