#include <qm/variant.h>

namespace qm {

namespace {

struct TypeOf {
  VarType operator()(const Variant::EmptyValue&) const { return VarType::kEmpty; }
  VarType operator()(const Variant::NullValue&) const { return VarType::kNull; }
  VarType operator()(const Variant::NothingValue&) const { return VarType::kObject; }
  VarType operator()(std::int16_t) const { return VarType::kInteger; }
  VarType operator()(std::int32_t) const { return VarType::kLong; }
  VarType operator()(std::int64_t) const { return VarType::kLongLong; }
  VarType operator()(std::uint8_t) const { return VarType::kByte; }
  VarType operator()(float) const { return VarType::kSingle; }
  VarType operator()(double) const { return VarType::kDouble; }
  VarType operator()(bool) const { return VarType::kBoolean; }
  VarType operator()(const Date&) const { return VarType::kDate; }
  VarType operator()(const Currency&) const { return VarType::kCurrency; }
  VarType operator()(const std::string&) const { return VarType::kString; }
  VarType operator()(const Variant::ArrayPointer&) const { return VarType::kArray; }
};

}  // namespace

VarType Variant::Type() const noexcept { return std::visit(TypeOf{}, value_); }

bool operator==(const Variant& a, const Variant& b) {
  if (a.IsArray() && b.IsArray()) return a.Elements() == b.Elements();
  return a.value_ == b.value_;
}

std::string_view TypeName(VarType type) {
  switch (type) {
    case VarType::kEmpty:
      return "Empty";
    case VarType::kNull:
      return "Null";
    case VarType::kInteger:
      return "Integer";
    case VarType::kLong:
      return "Long";
    case VarType::kSingle:
      return "Single";
    case VarType::kDouble:
      return "Double";
    case VarType::kCurrency:
      return "Currency";
    case VarType::kDate:
      return "Date";
    case VarType::kString:
      return "String";
    case VarType::kObject:
      return "Nothing";
    case VarType::kBoolean:
      return "Boolean";
    case VarType::kByte:
      return "Byte";
    case VarType::kLongLong:
      return "LongLong";
    case VarType::kArray:
      return "Variant()";
  }
  return "Unknown";
}

}  // namespace qm
