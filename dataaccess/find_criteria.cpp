#include "dataaccess/find_criteria.h"

#include <charconv>
#include <cmath>
#include <cstdint>
#include <system_error>

#include <qm/conversions.h>
#include <qm/error.h>

#include "dataaccess/data_error.h"
#include "runtime/date_text.h"
#include "runtime/text.h"

namespace qm {

namespace {

[[noreturn]] void RaiseCriteria() {
  RaiseData(kErrBadArgument, "the criteria are not one condition, column operator value");
}

bool IsBlank(char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\n'; }

void SkipBlanks(std::string_view& rest) {
  while (!rest.empty() && IsBlank(rest.front())) rest.remove_prefix(1);
}

bool TakeSymbol(std::string_view& rest, std::string_view symbol) {
  if (!rest.starts_with(symbol)) return false;
  rest.remove_prefix(symbol.size());
  return true;
}

std::string_view TakeWord(std::string_view& rest) {
  const std::string_view word = rest.substr(0, rest.find_first_of(" \t\r\n=<>'#[]()"));
  rest.remove_prefix(word.size());
  return word;
}

// The text up to the closing mark, which stands for itself when it is doubled.
std::string TakeQuoted(std::string_view& rest, char close) {
  std::string text;
  for (std::size_t i = 1; i < rest.size(); ++i) {
    if (rest[i] == close) {
      if (i + 1 == rest.size() || rest[i + 1] != close) {
        rest.remove_prefix(i + 1);
        return text;
      }
      ++i;
    }
    text += rest[i];
  }
  RaiseCriteria();
}

// Days that also count forward within a day before 1899-12-30.
double DaysOf(Date date) {
  const double whole = std::trunc(date.serial);
  return whole + std::abs(date.serial - whole);
}

std::optional<double> DaysReadFrom(std::string_view text) {
  const auto date = ReadDate(text);
  return date ? std::optional(DaysOf(*date)) : std::nullopt;
}

std::size_t CharacterSize(std::string_view text, std::size_t at) {
  std::size_t size = 1;
  while (at + size < text.size() && (static_cast<unsigned char>(text[at + size]) & 0xC0U) == 0x80U)
    ++size;
  return size;
}

bool IsLike(std::string_view text, std::string_view pattern) {
  std::size_t at = 0;
  std::size_t in_pattern = 0;
  // Where to go on when the run of the last wildcard has to be one character longer.
  std::size_t run_end = 0;
  std::size_t behind_wildcard = std::string_view::npos;
  while (at < text.size()) {
    const char wanted = in_pattern < pattern.size() ? pattern[in_pattern] : '\0';
    if (in_pattern < pattern.size() && (wanted == '*' || wanted == '%')) {
      behind_wildcard = ++in_pattern;
      run_end = at;
    } else if (in_pattern < pattern.size() && wanted == '_') {
      at += CharacterSize(text, at);
      ++in_pattern;
    } else if (in_pattern < pattern.size() && wanted == text[at]) {
      ++at;
      ++in_pattern;
    } else if (behind_wildcard != std::string_view::npos) {
      run_end += CharacterSize(text, run_end);
      at = run_end;
      in_pattern = behind_wildcard;
    } else {
      return false;
    }
  }
  return pattern.find_first_not_of("*%", in_pattern) == std::string_view::npos;
}

}  // namespace

FindCriteria::FindCriteria(std::string_view text) {
  ReadColumn(text);
  ReadOperator(text);
  ReadValue(text);
  SkipBlanks(text);
  if (!text.empty()) RaiseCriteria();
}

void FindCriteria::ReadColumn(std::string_view& rest) {
  SkipBlanks(rest);
  column_ = rest.starts_with('[') ? TakeQuoted(rest, ']') : std::string(TakeWord(rest));
  if (column_.empty()) RaiseCriteria();
}

void FindCriteria::ReadOperator(std::string_view& rest) {
  SkipBlanks(rest);
  if (TakeSymbol(rest, "=")) {
    operator_ = Operator::kEqual;
  } else if (TakeSymbol(rest, "<>")) {
    operator_ = Operator::kUnequal;
  } else if (TakeSymbol(rest, "<=")) {
    operator_ = Operator::kLessOrEqual;
  } else if (TakeSymbol(rest, "<")) {
    operator_ = Operator::kLess;
  } else if (TakeSymbol(rest, ">=")) {
    operator_ = Operator::kGreaterOrEqual;
  } else if (TakeSymbol(rest, ">")) {
    operator_ = Operator::kGreater;
  } else if (EqualsIgnoreCase(TakeWord(rest), "LIKE")) {
    operator_ = Operator::kLike;
  } else {
    RaiseCriteria();
  }
  SkipBlanks(rest);
}

void FindCriteria::ReadValue(std::string_view& rest) {
  if (rest.starts_with('\'')) {
    kind_ = Kind::kText;
    text_ = TakeQuoted(rest, '\'');
    number_ = ParseNumber(text_);
    text_ = UpperCase(text_);
    return;
  }
  if (operator_ == Operator::kLike) RaiseCriteria();
  if (rest.starts_with('#')) {
    kind_ = Kind::kDate;
    number_ = DaysReadFrom(TakeQuoted(rest, '#'));
    if (!number_) RaiseCriteria();
    return;
  }
  const std::string_view word = TakeWord(rest);
  if (EqualsIgnoreCase(word, "Null")) {
    if (operator_ != Operator::kEqual && operator_ != Operator::kUnequal) RaiseCriteria();
    return;
  }
  kind_ = Kind::kNumber;
  double number = 0;
  const auto [end, error] = std::from_chars(word.data(), word.data() + word.size(), number);
  if (error != std::errc() || end != word.data() + word.size() || !std::isfinite(number)) {
    RaiseCriteria();
  }
  number_ = number;
}

std::partial_ordering FindCriteria::Compare(const Variant& value) const {
  std::optional<double> number;
  if (const auto* text = value.GetIf<std::string>()) {
    if (kind_ == Kind::kText) {
      return std::string_view(UpperCase(*text)) <=> std::string_view(text_);
    }
    number = kind_ == Kind::kDate ? DaysReadFrom(*text) : ParseNumber(*text);
  } else if (const auto* date = value.GetIf<Date>()) {
    number = DaysOf(*date);
  } else {
    number = ToDouble(value);
  }
  if (!number || !number_) return std::partial_ordering::unordered;
  return *number <=> *number_;
}

bool FindCriteria::Meets(const Variant& value) const {
  if (kind_ == Kind::kNull) return value.IsNull() == (operator_ == Operator::kEqual);
  if (value.IsNull()) return false;
  switch (operator_) {
    case Operator::kEqual:
      return std::is_eq(Compare(value));
    case Operator::kUnequal:
      return std::is_neq(Compare(value));
    case Operator::kLess:
      return std::is_lt(Compare(value));
    case Operator::kLessOrEqual:
      return std::is_lteq(Compare(value));
    case Operator::kGreater:
      return std::is_gt(Compare(value));
    case Operator::kGreaterOrEqual:
      return std::is_gteq(Compare(value));
    case Operator::kLike:
      return IsLike(UpperCase(ToText(value)), text_);
  }
  return false;
}

}  // namespace qm
