#include <qm/conversions.h>

#include <cmath>
#include <limits>
#include <type_traits>
#include <utility>

#include <qm/error.h>
#include "runtime/date_text.h"
#include "runtime/number_text.h"
#include "runtime/text.h"

namespace qm {

namespace {

NumberText NumberOfText(const std::string& text) {
  const auto number = ReadNumber(text);
  if (!number) RaiseRunTime(kErrTypeMismatch);
  if (!std::isfinite(number->value)) RaiseRunTime(kErrOverflow);
  return *number;
}

// A &H or &O text fills the bits of a whole-number target: &HFFFF is -1 in 16 bits.
template <typename Whole>
std::optional<Whole> FromBits(const Variant& value) {
  const auto* text = value.GetIf<std::string>();
  if (text == nullptr) return std::nullopt;
  const NumberText number = NumberOfText(*text);
  if (!number.bits) return std::nullopt;
  using Unsigned = std::make_unsigned_t<Whole>;
  if (*number.bits > std::numeric_limits<Unsigned>::max()) RaiseRunTime(kErrOverflow);
  return static_cast<Whole>(static_cast<Unsigned>(*number.bits));
}

double Narrow(double whole, double low, double high) {
  if (!(whole >= low && whole <= high)) RaiseRunTime(kErrOverflow);
  return whole;
}

}  // namespace

double RoundHalfEven(double value) {
  const double floor = std::floor(value);
  const double rest = value - floor;
  if (rest < 0.5) return floor;
  if (rest > 0.5) return floor + 1;
  return std::fmod(floor, 2) == 0 ? floor : floor + 1;
}

std::int16_t NarrowInt16(double whole) {
  return static_cast<std::int16_t>(Narrow(whole, -32768, 32767));
}

std::int32_t NarrowInt32(double whole) {
  return static_cast<std::int32_t>(Narrow(whole, -2147483648.0, 2147483647.0));
}

double ToDouble(const Variant& value) {
  switch (value.Type()) {
    case VarType::kEmpty:
      return 0;
    case VarType::kNull:
      RaiseRunTime(kErrInvalidUseOfNull);
    case VarType::kInteger:
      return value.Get<std::int16_t>();
    case VarType::kLong:
      return value.Get<std::int32_t>();
    case VarType::kSingle:
      return static_cast<double>(value.Get<float>());
    case VarType::kDouble:
      return value.Get<double>();
    case VarType::kCurrency:
      return static_cast<double>(value.Get<Currency>().scaled) / 10000;
    case VarType::kDate:
      return value.Get<Date>().serial;
    case VarType::kString:
      return NumberOfText(value.Get<std::string>()).value;
    case VarType::kBoolean:
      return value.Get<bool>() ? -1 : 0;
    case VarType::kByte:
      return value.Get<std::uint8_t>();
    case VarType::kLongLong:
      return static_cast<double>(value.Get<std::int64_t>());
    case VarType::kObject:
      RaiseRunTime(kErrObjectNotSet);
    case VarType::kArray:
      break;
  }
  RaiseRunTime(kErrTypeMismatch);
}

std::int16_t ToInt16(const Variant& value) {
  if (const auto* whole = value.GetIf<std::int32_t>()) {
    const auto narrow = static_cast<std::int16_t>(*whole);
    if (narrow != *whole) RaiseRunTime(kErrOverflow);
    return narrow;
  }
  if (const auto bits = FromBits<std::int16_t>(value)) return *bits;
  return NarrowInt16(RoundHalfEven(ToDouble(value)));
}

std::int32_t ToInt32(const Variant& value) {
  if (const auto* whole = value.GetIf<std::int32_t>()) return *whole;
  if (const auto bits = FromBits<std::int32_t>(value)) return *bits;
  return NarrowInt32(RoundHalfEven(ToDouble(value)));
}

std::uint8_t ToByte(const Variant& value) {
  // True is 255, the byte of all its bits.
  if (const auto* flag = value.GetIf<bool>()) return *flag ? 255 : 0;
  return static_cast<std::uint8_t>(Narrow(RoundHalfEven(ToDouble(value)), 0, 255));
}

float ToSingle(const Variant& value) {
  const double wide = ToDouble(value);
  constexpr double kLargest = static_cast<double>(std::numeric_limits<float>::max());
  return static_cast<float>(Narrow(wide, -kLargest, kLargest));
}

Currency ToCurrency(const Variant& value) {
  if (const auto* same = value.GetIf<Currency>()) return *same;
  const auto* text = value.GetIf<std::string>();
  const auto exact = text != nullptr ? ReadTenThousandths(*text) : std::nullopt;
  if (exact) return Currency{*exact};
  // A double is scaled as a double while that keeps its fraction, so that -0.00005 is a half.
  const double amount = ToDouble(value);
  constexpr double kWhole = 4503599627370496.0;
  const double scaled = amount * 10000;
  return std::abs(scaled) < kWhole ? Currency{static_cast<std::int64_t>(RoundHalfEven(scaled))}
                                   : CurrencyOf(amount);
}

Currency CurrencyOf(long double amount) {
  const long double scaled = std::nearbyint(amount * 10000);  // halves to the even neighbour
  constexpr long double kLimit = 9223372036854775808.0L;
  if (!(scaled >= -kLimit && scaled < kLimit)) RaiseRunTime(kErrOverflow);
  return Currency{static_cast<std::int64_t>(scaled)};
}

bool ToBool(const Variant& value) {
  if (const auto* flag = value.GetIf<bool>()) return *flag;
  if (const auto* text = value.GetIf<std::string>()) {
    if (EqualsIgnoreCase(*text, "True") || EqualsIgnoreCase(*text, "#TRUE#")) return true;
    if (EqualsIgnoreCase(*text, "False") || EqualsIgnoreCase(*text, "#FALSE#")) return false;
  }
  return ToDouble(value) != 0;
}

std::string ToText(const Variant& value) {
  switch (value.Type()) {
    case VarType::kEmpty:
      return {};
    case VarType::kNull:
      RaiseRunTime(kErrInvalidUseOfNull);
    case VarType::kInteger:
      return std::to_string(value.Get<std::int16_t>());
    case VarType::kLong:
      return std::to_string(value.Get<std::int32_t>());
    case VarType::kSingle:
      return RealText(static_cast<double>(value.Get<float>()), 7);
    case VarType::kDouble:
      return RealText(value.Get<double>(), 15);
    case VarType::kCurrency:
      return ScaledText(value.Get<Currency>().scaled);
    case VarType::kDate:
      return DateText(value.Get<Date>());
    case VarType::kString:
      return value.Get<std::string>();
    case VarType::kBoolean:
      return value.Get<bool>() ? "True" : "False";
    case VarType::kByte:
      return std::to_string(value.Get<std::uint8_t>());
    case VarType::kLongLong:
      return std::to_string(value.Get<std::int64_t>());
    case VarType::kObject:
      RaiseRunTime(kErrObjectNotSet);
    case VarType::kArray:
      break;
  }
  RaiseRunTime(kErrTypeMismatch);
}

std::string ToText(Variant&& value) {
  return value.IsText() ? value.TakeText() : ToText(std::as_const(value));
}

std::string ToTextOrEmpty(const Variant& value) {
  return value.IsNull() ? std::string() : ToText(value);
}

std::string ToTextOrEmpty(Variant&& value) {
  return value.IsNull() ? std::string() : ToText(std::move(value));
}

std::optional<double> ParseNumber(std::string_view text) {
  const auto number = ReadNumber(text);
  if (!number || !std::isfinite(number->value)) return std::nullopt;
  return number->value;
}

bool IsNumeric(const Variant& value) {
  switch (value.Type()) {
    case VarType::kString:
      return ParseNumber(value.Get<std::string>()).has_value();
    case VarType::kNull:
    case VarType::kDate:
    case VarType::kObject:
    case VarType::kArray:
      return false;
    default:
      return true;
  }
}

}  // namespace qm
