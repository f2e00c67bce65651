// FormatNumber, FormatCurrency, FormatPercent and FormatDateTime, in US form.
#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>

#include <qm/conversions.h>
#include <qm/error.h>
#include "expression/functions.h"
#include "expression/moment.h"
#include "runtime/number_text.h"

namespace qm {

namespace {

constexpr std::int32_t kMostDecimals = 255;

// A number by its decimal digits: 0.digits times ten to the power of `exponent`.
struct Decimal {
  bool negative = false;
  std::string digits;
  int exponent = 0;
};

Decimal DecimalOfScaled(std::int64_t ten_thousandths) {
  const bool negative = ten_thousandths < 0;
  const auto bits = static_cast<std::uint64_t>(ten_thousandths);
  std::string digits = std::to_string(negative ? 0 - bits : bits);
  const int exponent = static_cast<int>(digits.size()) - 4;
  return {negative, std::move(digits), exponent};
}

Decimal DecimalOfReal(double value, int precision) {
  std::array<char, 64> form{};
  const char* end = std::to_chars(form.data(), form.data() + form.size(), std::abs(value),
                                  std::chars_format::scientific, precision - 1)
                        .ptr;
  const char* mark = std::find(static_cast<const char*>(form.data()), end, 'e');
  std::string digits(static_cast<const char*>(form.data()), mark);
  digits.erase(std::remove(digits.begin(), digits.end(), '.'), digits.end());
  int exponent = 0;
  std::from_chars(mark + (mark[1] == '+' ? 2 : 1), end, exponent);
  return {value < 0, std::move(digits), exponent + 1};
}

Decimal ToDecimal(const Variant& value) {
  if (value.IsNull()) RaiseRunTime(kErrTypeMismatch);
  if (const auto* amount = value.GetIf<Currency>()) return DecimalOfScaled(amount->scaled);
  return DecimalOfReal(ToDouble(value), value.Type() == VarType::kSingle ? 7 : 15);
}

// Leaves `decimals` digits behind the point, halves away from zero; returns the digits of the
// whole part followed by those.
std::string RoundedDigits(const Decimal& number, int decimals) {
  std::string digits = number.digits;
  if (number.exponent < 0) {
    digits.insert(0, static_cast<std::size_t>(std::min(-number.exponent, decimals + 1)), '0');
  }
  const auto kept = static_cast<std::size_t>(std::max(number.exponent, 0) + decimals);
  const bool up = kept < digits.size() && digits[kept] >= '5';
  digits.resize(kept, '0');
  if (!up) return digits;
  auto at = digits.rbegin();
  for (; at != digits.rend() && *at == '9'; ++at) *at = '0';
  if (at == digits.rend()) return "1" + digits;
  ++*at;
  return digits;
}

struct Style {
  int decimals = 2;
  bool leading_zero = true;
  bool group = true;
  bool parentheses = false;
};

// A three-valued argument: the system's choice where it is -2 or not given.
bool Choice(Arguments args, std::size_t index, bool system_choice) {
  constexpr std::int32_t kUseDefault = -2;
  const Variant* given = OptionalArgument(args, index);
  const std::int32_t choice = given == nullptr ? kUseDefault : ToInt32(*given);
  return choice == kUseDefault ? system_choice : choice != 0;
}

// The arguments behind the number: decimals, leading zero, parentheses, groups of digits.
Style ToStyle(Arguments args, bool parentheses) {
  Style style;
  const std::int32_t decimals = WholeArgument(args, 1, -1, -1);
  if (decimals > kMostDecimals) RaiseRunTime(kErrInvalidCall);
  if (decimals >= 0) style.decimals = decimals;
  style.leading_zero = Choice(args, 2, true);
  style.parentheses = Choice(args, 3, parentheses);
  style.group = Choice(args, 4, true);
  return style;
}

std::string Formatted(const Decimal& number, const Style& style, std::string_view before,
                      std::string_view behind) {
  const std::string digits = RoundedDigits(number, style.decimals);
  const bool zero = digits.find_first_not_of('0') == std::string::npos;
  const auto decimals = static_cast<std::size_t>(style.decimals);
  std::string whole = digits.substr(0, digits.size() - decimals);
  whole.erase(0, std::min(whole.size(), whole.find_first_not_of('0')));
  if (whole.empty() && (style.leading_zero || decimals == 0)) whole = "0";
  if (style.group) {
    for (std::size_t at = whole.size(); at > 3; at -= 3) whole.insert(at - 3, ",");
  }
  const bool negative = number.negative && !zero;
  std::string text = !negative ? "" : style.parentheses ? "(" : "-";
  text.append(before).append(whole);
  if (decimals > 0) text.append(".").append(digits, digits.size() - decimals);
  text.append(behind);
  return negative && style.parentheses ? text + ")" : text;
}

Variant FormatNumber(Arguments args) {
  const Style style = ToStyle(args, false);
  return Formatted(ToDecimal(args[0]), style, "", "");
}

Variant FormatCurrency(Arguments args) {
  const Style style = ToStyle(args, true);
  return Formatted(ToDecimal(args[0]), style, "$", "");
}

Variant FormatPercent(Arguments args) {
  const Style style = ToStyle(args, false);
  Decimal number = ToDecimal(args[0]);
  number.exponent += 2;
  return Formatted(number, style, "", "%");
}

std::string LongDate(const Moment& moment) {
  const CalendarDay day = moment.Calendar();
  std::string text(WeekdayName(static_cast<int>(DaysIntoWeek(moment.day, 1)) + 1));
  text.append(", ").append(MonthName(day.month)).append(" ").append(std::to_string(day.day));
  return text.append(", ").append(std::to_string(day.year));
}

std::string ShortTime(const Moment& moment) {
  const auto two = [](std::int64_t n) { return (n < 10 ? "0" : "") + std::to_string(n); };
  return two(moment.second / 3600) + ":" + two(moment.second / 60 % 60);
}

std::string ShortDate(const Moment& moment) {
  const CalendarDay day = moment.Calendar();
  return std::to_string(day.month) + "/" + std::to_string(day.day) + "/" + std::to_string(day.year);
}

// FormatDateTime(date[, form]): 0 general, 1 long date, 2 short date, 3 long time, 4 short time.
Variant FormatDateTime(Arguments args) {
  const std::int32_t form = WholeArgument(args, 1, 0, 0);
  if (args[0].IsNull()) RaiseRunTime(kErrTypeMismatch);
  const Moment moment = ToMoment(args[0]);
  switch (form) {
    case 0:
      return DateText(DateOf(moment));
    case 1:
      return LongDate(moment);
    case 2:
      return ShortDate(moment);
    case 3:
      return DateText(DateOf(Moment{0, moment.second}));
    case 4:
      return ShortTime(moment);
    default:
      RaiseRunTime(kErrInvalidCall);
  }
}

constexpr std::array kFormatFunctions = {
    Function{"FormatNumber", 1, 5, FormatNumber},
    Function{"FormatCurrency", 1, 5, FormatCurrency},
    Function{"FormatPercent", 1, 5, FormatPercent},
    Function{"FormatDateTime", 1, 2, FormatDateTime},
};

}  // namespace

std::span<const Function> FormatFunctions() { return kFormatFunctions; }

}  // namespace qm
