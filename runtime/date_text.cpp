#include "runtime/date_text.h"

#include <algorithm>
#include <cmath>

#include <qm/conversions.h>
#include <qm/error.h>

namespace qm {

namespace {

// Days from 0000-03-01 to 1899-12-30; years that begin in March put the leap day last.
constexpr int kEpoch = 693899;

}  // namespace

double SerialOfDay(int year, int month, int day) {
  const int months = year * 12 + (month - 1) - 2;
  const int y = static_cast<int>(std::floor(months / 12.0));
  const int m = months - y * 12;
  const int century = static_cast<int>(std::floor(y / 100.0));
  const int leap_days =
      static_cast<int>(std::floor(y / 4.0)) - century + static_cast<int>(std::floor(y / 400.0));
  const int day_of_year = (m * 153 + 2) / 5 + (day - 1);
  return static_cast<double>(y) * 365 + leap_days + day_of_year - kEpoch;
}

CalendarDay DayOfSerial(double serial) {
  const int days = static_cast<int>(std::clamp(std::trunc(serial), kFirstDay, kLastDay)) + kEpoch;
  int y = static_cast<int>(std::floor(days / 365.2425));
  // The mean year may miss the true one by a day around March 1.
  while (SerialOfDay(y + 1, 3, 1) + kEpoch <= days) ++y;
  while (SerialOfDay(y, 3, 1) + kEpoch > days) --y;
  const int day_of_year = days - static_cast<int>(SerialOfDay(y, 3, 1) + kEpoch);
  const int m = (day_of_year * 5 + 2) / 153;
  const int day = day_of_year - (m * 153 + 2) / 5 + 1;
  return {m < 10 ? y : y + 1, m < 10 ? m + 3 : m - 9, day};
}

int SecondsOfDay(Date date) {
  const double fraction = std::abs(date.serial - std::trunc(date.serial));
  return static_cast<int>(std::floor(fraction * 86400 + 0.5));
}

Date Combine(double whole_day, double fraction) {
  return Date{whole_day < 0 ? whole_day - fraction : whole_day + fraction};
}

std::string DateText(Date date) {
  double day = std::trunc(date.serial);
  int seconds = SecondsOfDay(date);
  if (seconds == 86400) {
    seconds = 0;
    ++day;
  }
  std::string text;
  if (day != 0) {
    const CalendarDay d = DayOfSerial(day);
    text = std::to_string(d.month) + "/" + std::to_string(d.day) + "/" + std::to_string(d.year);
  }
  if (seconds == 0 && day != 0) return text;
  const auto two = [](int n) { return (n < 10 ? "0" : "") + std::to_string(n); };
  const int hour = seconds / 3600;
  if (!text.empty()) text += ' ';
  text += std::to_string(hour % 12 == 0 ? 12 : hour % 12);
  text.append(":").append(two(seconds / 60 % 60)).append(":").append(two(seconds % 60));
  return text + (hour < 12 ? " AM" : " PM");
}

Date ToDate(const Variant& value) {
  if (const auto* same = value.GetIf<Date>()) return *same;
  Date date;
  const auto* text = value.GetIf<std::string>();
  const auto read = text != nullptr ? ReadDate(*text) : std::nullopt;
  date = read ? *read : Date{ToDouble(value)};
  if (!(date.serial >= kFirstDay && date.serial < kLastDay + 1)) RaiseRunTime(kErrOverflow);
  return date;
}

}  // namespace qm
