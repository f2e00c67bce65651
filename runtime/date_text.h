// Dates as text, and the calendar behind the serial days of `Date` (<qm/variant.h>).
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include <qm/variant.h>

namespace qm {

/// First and last whole day that a `Date` can hold: 100-01-01 and 9999-12-31.
inline constexpr double kFirstDay = -657434;
inline constexpr double kLastDay = 2958465;

struct CalendarDay {
  int year = 1899;
  int month = 12;
  int day = 30;
};

/// The serial number of a day of the Gregorian calendar, reckoned backwards as well. The month and
/// the day may lie outside their ranges and count on from there (month 13 is next January).
double SerialOfDay(int year, int month, int day);
CalendarDay DayOfSerial(double serial);
/// Seconds since midnight, rounded to a whole second; 86400 is possible just before midnight.
int SecondsOfDay(Date date);
/// A day together with a time of day (a fraction of it), also before 1899-12-30.
Date Combine(double whole_day, double fraction);

/// US short form without leading zeros: "1/2/2020", "3:04:05 PM", "1/2/2020 3:04:05 PM". Midnight
/// leaves the time out, day 0 the date.
std::string DateText(Date date);

/// English names; months from 1, days of the week from 1 for Sunday.
std::string_view MonthName(int month);
std::string_view WeekdayName(int day);

/// Reads a date, a time or both: "1/2/2020", "2020-01-02", "2 Jan 2020", "January 2, 2020",
/// "10:30", "3:04:05 PM". Two-digit years are 1930 to 2029. Nothing when it is none.
std::optional<Date> ReadDate(std::string_view text);

/// Conversion to a date: numbers count days, texts are read. 94 for Null, 13 for a text that is no
/// date, 6 outside the calendar.
Date ToDate(const Variant& value);

}  // namespace qm
