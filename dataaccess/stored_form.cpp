#include "dataaccess/stored_form.h"

#include <chrono>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <limits>
#include <string>

#include <qm/error.h>

#include "dataaccess/data_error.h"

namespace qm {

namespace {

constexpr std::int64_t kSecondsADay = 86400;
constexpr double kLastSerial = 2958466;  // the first day of the year 10000

std::string DateText(Date date) {
  if (!(std::abs(date.serial) < kLastSerial)) RaiseData(kErrWrongType, "a date out of range");
  const double whole = std::trunc(date.serial);
  auto day = static_cast<std::int64_t>(whole);
  auto second = static_cast<std::int64_t>(std::llround(std::abs(date.serial - whole) * 86400.0));
  if (second == kSecondsADay) {
    ++day;
    second = 0;
  }
  constexpr std::chrono::sys_days kDayZero{std::chrono::year{1899} / 12 / 30};
  const std::chrono::year_month_day date_of{kDayZero + std::chrono::days{day}};
  char text[32];
  const int size = std::snprintf(text, sizeof text, "%04d-%02u-%02u", int{date_of.year()},
                                 unsigned{date_of.month()}, unsigned{date_of.day()});
  std::string result(text, static_cast<std::size_t>(size));
  if (second != 0) {
    std::snprintf(text, sizeof text, " %02d:%02d:%02d", static_cast<int>(second / 3600),
                  static_cast<int>(second / 60 % 60), static_cast<int>(second % 60));
    result += text;
  }
  return result;
}

Variant WholeNumber(std::int64_t value) {
  const bool fits = value >= std::numeric_limits<std::int32_t>::min() &&
                    value <= std::numeric_limits<std::int32_t>::max();
  return fits ? Variant(static_cast<std::int32_t>(value)) : Variant(value);
}

double AsReal(const Variant& value) {
  if (const auto* whole = value.GetIf<std::int32_t>()) return *whole;
  if (const auto* large = value.GetIf<std::int64_t>()) return static_cast<double>(*large);
  return value.Get<double>();
}

bool IsNumber(const Variant& value) {
  const VarType type = value.Type();
  return type == VarType::kLong || type == VarType::kLongLong || type == VarType::kDouble;
}

}  // namespace

Variant StoredForm(const Variant& value) {
  switch (value.Type()) {
    case VarType::kEmpty:
    case VarType::kNull:
      return Variant::Null();
    case VarType::kInteger:
      return std::int32_t{value.Get<std::int16_t>()};
    case VarType::kByte:
      return std::int32_t{value.Get<std::uint8_t>()};
    case VarType::kBoolean:
      return std::int32_t{value.Get<bool>() ? -1 : 0};
    case VarType::kLongLong:
      return WholeNumber(value.Get<std::int64_t>());
    case VarType::kSingle:
      return double{value.Get<float>()};
    case VarType::kCurrency:
      return static_cast<double>(value.Get<Currency>().scaled) / 10000.0;
    case VarType::kDate:
      return DateText(value.Get<Date>());
    case VarType::kLong:
    case VarType::kDouble:
    case VarType::kString:
      return value;
    case VarType::kObject:
    case VarType::kArray:
      break;
  }
  RaiseData(kErrWrongType, TypeName(value.Type()));
}

bool SameStored(const Variant& a, const Variant& b) {
  if (a == b) return true;
  const bool real = a.Type() == VarType::kDouble || b.Type() == VarType::kDouble;
  return real && IsNumber(a) && IsNumber(b) && AsReal(a) == AsReal(b);
}

}  // namespace qm
