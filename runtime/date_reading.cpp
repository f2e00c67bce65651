#include <array>
#include <chrono>
#include <cmath>
#include <vector>

#include "runtime/date_text.h"
#include "runtime/text.h"

namespace qm {

namespace {

bool IsLetter(char c) { return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z'); }

constexpr std::array<std::string_view, 12> kMonths = {
    "January", "February", "March",     "April",   "May",      "June",
    "July",    "August",   "September", "October", "November", "December"};
constexpr std::array<std::string_view, 7> kWeekdays = {"Sunday",   "Monday", "Tuesday", "Wednesday",
                                                       "Thursday", "Friday", "Saturday"};

// 1 to 12 for a month's name or its first three letters, else 0.
int MonthOfWord(std::string_view word) {
  for (std::size_t i = 0; i < kMonths.size(); ++i) {
    if (EqualsIgnoreCase(word, kMonths[i]) || EqualsIgnoreCase(word, kMonths[i].substr(0, 3))) {
      return static_cast<int>(i) + 1;
    }
  }
  return 0;
}

int CurrentYear() {
  const auto today = std::chrono::floor<std::chrono::days>(std::chrono::system_clock::now());
  return static_cast<int>(std::chrono::year_month_day(today).year());
}

struct Number {
  int value = 0;
  bool year_like = false;  // too long or too large to be a day or a month
};

class DateReader {
 public:
  explicit DateReader(std::string_view text) : rest_(text) {}

  std::optional<Date> Read() {
    while (SkipBlanks(), !rest_.empty()) {
      if (IsDigit(rest_.front())) {
        if (!TakeNumber()) return std::nullopt;
      } else if (IsLetter(rest_.front())) {
        if (!TakeWord()) return std::nullopt;
      } else if (!TakeSeparator()) {
        return std::nullopt;
      }
    }
    if (separator_) return std::nullopt;
    const bool has_date = !numbers_.empty() || month_ != 0;
    if (!has_date && !has_time_) return std::nullopt;
    double day = 0;
    if (has_date) {
      const auto resolved = ResolveDay();
      if (!resolved) return std::nullopt;
      day = *resolved;
    }
    return Combine(day, has_time_ ? seconds_ / 86400.0 : 0);
  }

 private:
  void SkipBlanks() {
    while (!rest_.empty() && (rest_.front() == ' ' || rest_.front() == '\t')) {
      rest_.remove_prefix(1);
    }
  }

  std::optional<Number> Digits() {
    std::size_t length = 0;
    int value = 0;
    while (length < rest_.size() && IsDigit(rest_[length])) {
      if (length == 4) return std::nullopt;
      value = value * 10 + (rest_[length++] - '0');
    }
    rest_.remove_prefix(length);
    return length == 0 ? std::nullopt : std::optional<Number>({value, length > 2 || value > 31});
  }

  std::string_view Word() {
    std::size_t length = 0;
    while (length < rest_.size() && IsLetter(rest_[length])) ++length;
    const auto word = rest_.substr(0, length);
    rest_.remove_prefix(length);
    return word;
  }

  bool TakeSeparator() {
    const char c = rest_.front();
    const bool after_part = !numbers_.empty() || month_ != 0;
    if ((c != '/' && c != '-' && c != ',') || separator_ || !after_part) return false;
    separator_ = true;
    rest_.remove_prefix(1);
    return true;
  }

  // A number opens a time when a colon or AM or PM follows, else it is a part of the day.
  bool TakeNumber() {
    const auto number = Digits();
    if (!number) return false;
    SkipBlanks();
    if (!rest_.empty() && rest_.front() == ':') return TakeTime(number->value);
    if (!rest_.empty() && IsLetter(rest_.front()) && MeridiemAhead() != 0) {
      return TakeTime(number->value);
    }
    if (numbers_.size() == 3) return false;
    separator_ = false;
    numbers_.push_back(*number);
    return true;
  }

  bool TakeWord() {
    const int month = MonthOfWord(Word());
    if (month == 0 || month_ != 0) return false;
    separator_ = false;
    month_ = month;
    return true;
  }

  // 'a' or 'p' when the next word says so, else 0.
  char MeridiemAhead() const {
    DateReader ahead(rest_);
    const auto word = ahead.Word();
    if (EqualsIgnoreCase(word, "AM") || EqualsIgnoreCase(word, "A")) return 'a';
    if (EqualsIgnoreCase(word, "PM") || EqualsIgnoreCase(word, "P")) return 'p';
    return 0;
  }

  bool TakeTime(int hour) {
    if (has_time_ || (separator_ && numbers_.empty())) return false;
    separator_ = false;
    std::array<int, 2> parts = {0, 0};  // minutes, seconds
    for (int& part : parts) {
      if (rest_.empty() || rest_.front() != ':') break;
      rest_.remove_prefix(1);
      SkipBlanks();
      const auto number = Digits();
      if (!number || number->value > 59) return false;
      part = number->value;
    }
    SkipBlanks();
    if (const char meridiem = MeridiemAhead(); meridiem != 0) {
      Word();
      if (hour > 23 || (hour == 0 && meridiem == 'p')) return false;
      if (hour <= 12) hour = hour % 12 + (meridiem == 'p' ? 12 : 0);
    }
    if (hour > 23) return false;
    seconds_ = hour * 3600 + parts[0] * 60 + parts[1];
    has_time_ = true;
    return true;
  }

  static std::optional<double> Day(int year, bool full_year, int month, int day) {
    if (!full_year && year < 100) year += year < 30 ? 2000 : 1900;
    if (year < 100 || month < 1 || month > 12 || day < 1) return std::nullopt;
    const double serial = SerialOfDay(year, month, day);
    if (DayOfSerial(serial).month != month) return std::nullopt;
    return serial;
  }
  static std::optional<double> Day(const Number& year, int month, int day) {
    return Day(year.value, year.value > 99, month, day);
  }

  std::optional<double> ResolveDay() const {
    const auto count = numbers_.size();
    if (month_ != 0) {
      if (count == 1) {
        const Number& only = numbers_[0];
        return only.year_like ? Day(only, month_, 1) : Day(CurrentYear(), true, month_, only.value);
      }
      if (count != 2) return std::nullopt;
      const bool year_first = numbers_[0].year_like;
      return Day(numbers_[year_first ? 0 : 1], month_, numbers_[year_first ? 1 : 0].value);
    }
    if (count == 2) {
      if (numbers_[1].year_like) return Day(numbers_[1], numbers_[0].value, 1);
      if (numbers_[0].year_like) return Day(numbers_[0], numbers_[1].value, 1);
      return MonthAndDay(Number{CurrentYear(), true}, numbers_[0].value, numbers_[1].value);
    }
    if (count != 3) return std::nullopt;
    if (numbers_[0].year_like) return Day(numbers_[0], numbers_[1].value, numbers_[2].value);
    return MonthAndDay(numbers_[2], numbers_[0].value, numbers_[1].value);
  }

  // Month before day, unless only the other way round is a date.
  static std::optional<double> MonthAndDay(const Number& year, int month, int day) {
    return month > 12 ? Day(year, day, month) : Day(year, month, day);
  }

  std::string_view rest_;
  std::vector<Number> numbers_;
  int month_ = 0;
  bool separator_ = false;
  bool has_time_ = false;
  int seconds_ = 0;
};

}  // namespace

std::string_view MonthName(int month) { return kMonths.at(static_cast<std::size_t>(month) - 1); }

std::string_view WeekdayName(int day) { return kWeekdays.at(static_cast<std::size_t>(day) - 1); }

std::optional<Date> ReadDate(std::string_view text) { return DateReader(text).Read(); }

}  // namespace qm
