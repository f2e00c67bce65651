#include "runtime/number_text.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <limits>

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

template <typename Real>
Real Convert(const std::string& digits) {
  Real value = 0;
  const auto [end, code] = std::from_chars(digits.data(), digits.data() + digits.size(), value);
  static_cast<void>(end);
  if (code != std::errc::result_out_of_range) return value;
  // Out of range is too large or too small; only a negative exponent, or zeros behind the point
  // without any exponent, make it small.
  const auto exponent = digits.find('e');
  const bool small = exponent == std::string::npos
                         ? digits.find_first_of("123456789.") == digits.find('.')
                         : digits.find('-', exponent) != digits.npos;
  return small ? Real{0} : std::numeric_limits<Real>::infinity();
}

std::string_view Strip(std::string_view text) {
  while (!text.empty() && IsSpace(text.front())) text.remove_prefix(1);
  while (!text.empty() && IsSpace(text.back())) text.remove_suffix(1);
  return text;
}

template <typename Real>
std::optional<Real> ReadDecimal(std::string_view text) {
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
  const Real value = Convert<Real>(digits);
  return reader.negative && value != 0 ? -value : value;
}

}  // namespace

std::optional<NumberText> ReadNumber(std::string_view text) {
  text = Strip(text);
  if (text.empty()) return std::nullopt;
  if (text.front() == '&') return ReadRadix(text);
  const auto value = ReadDecimal<double>(text);
  return value ? std::optional(NumberText{*value, std::nullopt}) : std::nullopt;
}

std::optional<long double> ReadWideNumber(std::string_view text) {
  text = Strip(text);
  if (text.empty()) return std::nullopt;
  if (text.front() != '&') return ReadDecimal<long double>(text);
  const auto number = ReadRadix(text);
  return number ? std::optional<long double>(number->value) : std::nullopt;
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
