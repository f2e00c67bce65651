#include "runtime/number_text.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <limits>
#include <utility>

#include <qm/error.h>

#include "runtime/text.h"

namespace qm {

namespace {

bool IsSpace(char c) { return c == ' ' || (c >= '\t' && c <= '\r'); }

int DigitValue(char c) {
  if (IsDigit(c)) return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  return 16;
}

std::optional<NumberText> ReadRadix(std::string_view text) {
  const char kind = text.size() > 1 ? text[1] : ' ';
  const bool hex = kind == 'H' || kind == 'h';
  if (!hex && kind != 'O' && kind != 'o') return std::nullopt;
  text.remove_prefix(2);
  if (text.empty()) return std::nullopt;
  const unsigned base = hex ? 16 : 8;
  std::uint64_t bits = 0;
  for (const char c : text) {
    const auto digit = static_cast<unsigned>(DigitValue(c));
    if (digit >= base || bits > std::numeric_limits<std::uint64_t>::max() / base) {
      return std::nullopt;
    }
    bits = bits * base + digit;
  }
  return NumberText{static_cast<double>(bits), bits};
}

// The pieces of a decimal number as they are met: digits without separators for the conversion,
// and the marks that may stand before or behind them.
struct Reader {
  std::string_view rest;
  bool negative = false;
  bool sign = false;
  bool currency = false;
  bool parenthesis = false;

  char Peek() const { return rest.empty() ? '\0' : rest.front(); }
  void Next() { rest.remove_prefix(1); }

  bool TakeMark(bool leading) {
    const char c = Peek();
    if (IsSpace(c)) {
    } else if ((c == '+' || c == '-') && !sign && !parenthesis) {
      sign = true;
      negative = c == '-';
    } else if (c == '$' && !currency) {
      currency = true;
    } else if (leading && c == '(' && !sign && !parenthesis) {
      parenthesis = true;
      negative = true;
    } else {
      return false;
    }
    Next();
    return true;
  }

  // Digits with an optional fraction into `digits`; false when there is none.
  bool TakeMantissa(std::string& digits) {
    bool any = false;
    for (; IsDigit(Peek()) || (any && Peek() == ','); Next()) {
      if (Peek() == ',') continue;
      digits += Peek();
      any = true;
    }
    if (Peek() != '.') return any;
    digits += '.';
    for (Next(); IsDigit(Peek()); Next()) {
      digits += Peek();
      any = true;
    }
    return any;
  }

  bool TakeExponent(std::string& digits) {
    const char letter = Peek();
    if (letter != 'e' && letter != 'E' && letter != 'd' && letter != 'D') return true;
    Next();
    digits += 'e';
    if (Peek() == '+' || Peek() == '-') {
      if (Peek() == '-') digits += '-';
      Next();
    }
    if (!IsDigit(Peek())) return false;
    for (; IsDigit(Peek()); Next()) digits += Peek();
    return true;
  }
};

// A decimal number without its marks: "1234.5e-3".
struct Decimal {
  std::string digits;
  bool negative = false;
};

double Convert(const std::string& digits) {
  double value = 0;
  const auto [end, code] = std::from_chars(digits.data(), digits.data() + digits.size(), value);
  static_cast<void>(end);
  if (code != std::errc::result_out_of_range) return value;
  // Out of range is too large or too small; only a negative exponent, or zeros behind the point
  // without any exponent, make it small.
  const auto exponent = digits.find('e');
  const bool small = exponent == std::string::npos
                         ? digits.find_first_of("123456789.") == digits.find('.')
                         : digits.find('-', exponent) != digits.npos;
  return small ? 0 : std::numeric_limits<double>::infinity();
}

int ExponentOf(std::string_view text) {
  constexpr int kHuge = 1000000;
  int value = 0;
  const auto [end, code] = std::from_chars(text.data(), text.data() + text.size(), value);
  static_cast<void>(end);
  if (code == std::errc()) return std::clamp(value, -kHuge, kHuge);
  return text.starts_with('-') ? -kHuge : kHuge;
}

// By its digits, since no floating-point number of every platform holds 64 bits.
std::int64_t TenThousandths(const Decimal& number) {
  std::string_view mantissa = number.digits;
  std::int64_t whole_digits = 4;
  if (const auto mark = mantissa.find('e'); mark != std::string_view::npos) {
    whole_digits += ExponentOf(mantissa.substr(mark + 1));
    mantissa = mantissa.substr(0, mark);
  }
  const auto point = std::min(mantissa.find('.'), mantissa.size());
  whole_digits += static_cast<std::int64_t>(point);
  std::string digits(mantissa.substr(0, point));
  if (point < mantissa.size()) digits += mantissa.substr(point + 1);
  const auto first = std::min(digits.find_first_not_of('0'), digits.size());
  digits.erase(0, first);
  whole_digits -= static_cast<std::int64_t>(first);
  if (digits.empty() || whole_digits < 0) return 0;
  constexpr int kMostDigits = 19;
  if (whole_digits > kMostDigits) RaiseRunTime(kErrOverflow);
  const auto count = static_cast<std::size_t>(whole_digits);
  std::uint64_t value = 0;
  for (std::size_t i = 0; i < count; ++i) {
    value = value * 10 + static_cast<std::uint64_t>(i < digits.size() ? digits[i] - '0' : 0);
  }
  if (count < digits.size() && digits[count] >= '5') {
    const bool half =
        digits[count] == '5' && digits.find_first_not_of('0', count + 1) == digits.npos;
    if (!half || value % 2 == 1) ++value;
  }
  constexpr std::uint64_t kLimit = std::uint64_t{1} << 63U;
  if (value > kLimit || (value == kLimit && !number.negative)) RaiseRunTime(kErrOverflow);
  return static_cast<std::int64_t>(number.negative ? 0 - value : value);
}

std::string_view Strip(std::string_view text) {
  while (!text.empty() && IsSpace(text.front())) text.remove_prefix(1);
  while (!text.empty() && IsSpace(text.back())) text.remove_suffix(1);
  return text;
}

std::optional<Decimal> ReadDecimal(std::string_view text) {
  Reader reader{text};
  while (reader.TakeMark(true)) {
  }
  std::string digits;
  if (!reader.TakeMantissa(digits) || !reader.TakeExponent(digits)) return std::nullopt;
  while (reader.TakeMark(false)) {
  }
  if (reader.parenthesis) {
    if (reader.Peek() != ')') return std::nullopt;
    reader.Next();
  }
  if (!reader.rest.empty()) return std::nullopt;
  return Decimal{std::move(digits), reader.negative};
}

}  // namespace

std::optional<NumberText> ReadNumber(std::string_view text) {
  text = Strip(text);
  if (text.empty()) return std::nullopt;
  if (text.front() == '&') return ReadRadix(text);
  const auto number = ReadDecimal(text);
  if (!number) return std::nullopt;
  const double value = Convert(number->digits);
  return NumberText{number->negative && value != 0 ? -value : value, std::nullopt};
}

std::optional<std::int64_t> ReadTenThousandths(std::string_view text) {
  const auto number = ReadDecimal(Strip(text));
  return number ? std::optional(TenThousandths(*number)) : std::nullopt;
}

std::string RealText(double value, int digits) {
  if (value == 0) return "0";
  char buffer[64];
  // Scientific first: it gives the digits and, after rounding, the exponent.
  const auto end = std::to_chars(buffer, buffer + sizeof buffer, std::abs(value),
                                 std::chars_format::scientific, digits - 1)
                       .ptr;
  const std::string_view form(buffer, static_cast<std::size_t>(end - buffer));
  const auto mark = form.find('e');
  if (mark == std::string_view::npos) return std::string(form);  // not a finite number
  int exponent = 0;
  const std::size_t exponent_at = mark + (form[mark + 1] == '+' ? 2 : 1);
  std::from_chars(form.data() + exponent_at, end, exponent);
  std::string mantissa(form.substr(0, 1));
  if (digits > 1) mantissa += form.substr(2, mark - 2);
  mantissa.erase(mantissa.find_last_not_of('0') + 1);

  std::string text = value < 0 ? "-" : "";
  const int length = static_cast<int>(mantissa.size());
  // The language shows no more places behind the point than it has digits.
  const bool too_many_places = exponent < 0 && length - exponent - 1 > digits;
  if (exponent < -4 || exponent >= digits || too_many_places) {
    text += mantissa[0];
    if (length > 1) text.append(".").append(mantissa, 1);
    text += exponent < 0 ? "E-" : "E+";
    if (std::abs(exponent) < 10) text += '0';
    return text + std::to_string(std::abs(exponent));
  }
  if (exponent < 0) {
    text += "0.";
    text.append(static_cast<std::size_t>(-exponent - 1), '0');
    return text + mantissa;
  }
  const int whole = exponent + 1;
  if (length <= whole) {
    text += mantissa;
    text.append(static_cast<std::size_t>(whole - length), '0');
    return text;
  }
  const auto point = static_cast<std::size_t>(whole);
  return text.append(mantissa, 0, point).append(".").append(mantissa, point);
}

std::string ScaledText(std::int64_t ten_thousandths) {
  const bool negative = ten_thousandths < 0;
  const auto bits = static_cast<std::uint64_t>(ten_thousandths);
  const std::uint64_t magnitude = negative ? 0 - bits : bits;
  std::string digits = std::to_string(magnitude);
  if (digits.size() < 5) digits.insert(0, 5 - digits.size(), '0');
  digits.insert(digits.size() - 4, ".");
  digits.erase(digits.find_last_not_of('0') + 1);
  if (digits.back() == '.') digits.pop_back();
  return negative ? "-" + digits : digits;
}

}  // namespace qm
