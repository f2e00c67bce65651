// Conversions from one type into another, and the questions what type a value has.
#include <array>

#include <qm/conversions.h>
#include "expression/functions.h"
#include "runtime/date_text.h"

namespace qm {

namespace {

template <auto kConvert>
Variant Convert(Arguments args) {
  return kConvert(args[0]);
}

Variant TextOf(Arguments args) { return ToText(args[0]); }

Variant IsDateValue(Arguments args) {
  if (args[0].Type() == VarType::kDate) return true;
  return args[0].IsText() && ReadDate(args[0].Get<std::string>()).has_value();
}

Variant IsNumericValue(Arguments args) { return IsNumeric(args[0]); }
Variant IsNullValue(Arguments args) { return args[0].IsNull(); }
Variant IsEmptyValue(Arguments args) { return args[0].IsEmpty(); }
Variant IsArrayValue(Arguments args) { return args[0].IsArray(); }
Variant IsObjectValue(Arguments args) { return args[0].Type() == VarType::kObject; }

// An argument left out, as an element of an array, is of the type Error.
Variant TypeNameOf(Arguments args) {
  return IsOmitted(args[0]) ? Variant("Error") : Variant(TypeName(args[0].Type()));
}
Variant VarTypeOf(Arguments args) {
  constexpr std::int16_t kErrorType = 10;
  return IsOmitted(args[0]) ? kErrorType : static_cast<std::int16_t>(args[0].Type());
}

constexpr std::array kConversions = {
    Function{"CStr", 1, 1, TextOf},
    Function{"CInt", 1, 1, Convert<ToInt16>},
    Function{"CLng", 1, 1, Convert<ToInt32>},
    Function{"CDbl", 1, 1, Convert<ToDouble>},
    Function{"CSng", 1, 1, Convert<ToSingle>},
    Function{"CBool", 1, 1, Convert<ToBool>},
    Function{"CByte", 1, 1, Convert<ToByte>},
    Function{"CCur", 1, 1, Convert<ToCurrency>},
    Function{"CDate", 1, 1, Convert<ToDate>},
};

constexpr std::array kTypeTests = {
    Function{"IsNumeric", 1, 1, IsNumericValue}, Function{"IsNull", 1, 1, IsNullValue},
    Function{"IsEmpty", 1, 1, IsEmptyValue},     Function{"IsDate", 1, 1, IsDateValue},
    Function{"IsArray", 1, 1, IsArrayValue},     Function{"IsObject", 1, 1, IsObjectValue},
    Function{"TypeName", 1, 1, TypeNameOf},      Function{"VarType", 1, 1, VarTypeOf},
};

}  // namespace

std::span<const Function> ConversionFunctions() { return kConversions; }
std::span<const Function> TypeTestFunctions() { return kTypeTests; }

}  // namespace qm
