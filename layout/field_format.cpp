#include "layout/field_format.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdio>
#include <optional>

#include <qm/conversions.h>
#include <qm/hooks.h>

#include "runtime/text.h"

namespace qm {

namespace {

constexpr int kUnknown = 99;
constexpr int kShortestPattern = 8;

bool AllDigits(std::string_view text) {
  return !text.empty() && text.find_first_not_of("0123456789") == std::string_view::npos;
}

int Number(std::string_view digits) {
  int number = 0;
  for (const char c : digits) number = number * 10 + (c - '0');
  return number;
}

bool IsDate(int year_in_century, int month, int day) {
  constexpr std::array kDays = {31, 29, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
  if (month == kUnknown) return (day >= 1 && day <= 31) || day == kUnknown;
  if (month < 1 || month > 12) return false;
  if (day == kUnknown) return true;
  const bool leap = year_in_century % 4 == 0;
  const int last = month == 2 && !leap ? 28 : kDays.at(static_cast<std::size_t>(month) - 1);
  return day >= 1 && day <= last;
}

bool IsStoredDate(std::string_view text) {
  return text.size() == 8 && AllDigits(text) &&
         IsDate(Number(text.substr(2, 2)), Number(text.substr(4, 2)), Number(text.substr(6, 2)));
}

// Dates that say why there is none, in stored form; they name no day of the calendar.
bool IsStoredSpecial(std::string_view text) {
  return text == "0" || text == "00000000" || text == "88888888" || text == "99999999";
}

bool IsDisplayShape(std::string_view text) {
  return text.size() == 10 && text[2] == '/' && text[5] == '/' && AllDigits(text.substr(0, 2)) &&
         AllDigits(text.substr(3, 2)) && AllDigits(text.substr(6));
}

std::string Join(std::initializer_list<std::string_view> parts) {
  std::string joined;
  for (const std::string_view part : parts) joined += part;
  return joined;
}

std::string WithSlashes(std::string_view digits) {
  const std::size_t size = digits.size();
  return Join(
      {digits.substr(0, size - 6), "/", digits.substr(size - 6, 2), "/", digits.substr(size - 4)});
}

std::string ToDisplay(std::string_view date) {
  if (date == "0") return "00/00/0000";
  if (date == "88888888" || date == "99999999") return WithSlashes(date);
  if (!IsStoredDate(date)) return std::string(date);
  return Join({date.substr(4, 2), "/", date.substr(6, 2), "/", date.substr(0, 4)});
}

std::string TwoDigits(std::string_view digits) {
  return digits.size() == 1 ? Join({"0", digits}) : std::string(digits);
}

// Nothing when the text is no date as one types it.
std::optional<std::string> ToStored(std::string_view typed) {
  const std::size_t first = typed.find('/');
  const std::size_t second = first == std::string_view::npos ? first : typed.find('/', first + 1);
  if (second == std::string_view::npos) return std::nullopt;
  const std::string_view month = typed.substr(0, first);
  const std::string_view day = typed.substr(first + 1, second - first - 1);
  const std::string_view year = typed.substr(second + 1);
  if (!AllDigits(month) || month.size() > 2 || !AllDigits(day) || day.size() > 2 ||
      !AllDigits(year)) {
    return std::nullopt;
  }
  if (year.size() == 2) {
    ShowMessage(
        {.text = "You must enter the full 4 digits for the year", .title = "Tessaly : Visual.Bas"});
  }
  if (year.size() != 4) return std::nullopt;
  const std::string stored = Join({year, TwoDigits(month), TwoDigits(day)});
  if (typed == "00/00/0000" || typed == "88/88/8888" || IsStoredDate(stored)) return stored;
  return std::nullopt;
}

}  // namespace

void AppendPadded(std::string& text, std::string_view value, std::string_view mode,
                  std::int16_t length) {
  const std::string_view trimmed = Trim(value);
  const auto wanted = static_cast<std::size_t>(std::max<std::int16_t>(length, 0));
  const char code = mode.size() == 1 ? mode.front() : '\0';
  std::size_t missing = 0;
  if (code == 'Z' || code == 'Y' || code == 'R') {
    const std::size_t characters = CharacterCount(trimmed);
    missing = wanted > characters ? wanted - characters : 0;
  }
  if (code == 'Y') text.append(missing, '0');
  if (code == 'R') text.append(missing, ' ');
  text.append(trimmed);
  if (code == 'Z') text.append(missing, '0');
}

std::string PadValue(std::string_view value, std::string_view mode, std::int16_t length) {
  std::string padded;
  AppendPadded(padded, value, mode, length);
  return padded;
}

std::string FormatDate(std::string_view value, std::string_view mode) {
  const std::string_view date = Trim(value);
  if (mode == "D") return ToDisplay(date);
  if (mode == "M" && !date.empty() && !IsStoredSpecial(date) && !IsStoredDate(date)) {
    return ToStored(date).value_or("H");
  }
  if (mode == "F" && IsDisplayShape(date)) {
    return Join({date.substr(0, 2), date.substr(3, 2), date.substr(6, 4)});
  }
  if (mode == "F" && IsStoredDate(date)) return Join({date.substr(4), date.substr(0, 4)});
  return std::string(value);
}

std::string ApplyDatePattern(std::string_view value) {
  const std::optional<double> number = value.empty() ? std::nullopt : ParseNumber(value);
  if (!number) return std::string(value);
  const double whole = std::round(std::abs(*number));
  std::array<char, 400> digits{};
  const int size = std::snprintf(digits.data(), digits.size(), "%0*.0f", kShortestPattern, whole);
  const bool negative = *number < 0 && whole > 0;
  return Join({negative ? "-" : "", WithSlashes({digits.data(), static_cast<std::size_t>(size)})});
}

}  // namespace qm
