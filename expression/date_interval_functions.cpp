// DateAdd, DateDiff and DatePart: dates counted in intervals, from years to seconds.
#include <algorithm>
#include <array>

#include <qm/conversions.h>
#include <qm/error.h>
#include "expression/functions.h"
#include "expression/moment.h"
#include "runtime/text.h"

namespace qm {

namespace {

enum class Interval : std::uint8_t {
  kYear,
  kQuarter,
  kMonth,
  kDayOfYear,
  kDay,
  kWeekday,
  kWeek,
  kHour,
  kMinute,
  kSecond
};

Interval ToInterval(const Variant& value) {
  static constexpr std::array<std::string_view, 10> kNames = {"yyyy", "q",  "m", "y", "d",
                                                              "w",    "ww", "h", "n", "s"};
  const std::string name = ToText(value);
  for (std::size_t i = 0; i < kNames.size(); ++i) {
    if (EqualsIgnoreCase(name, kNames[i])) return static_cast<Interval>(i);
  }
  RaiseRunTime(kErrInvalidCall);
}

// How weeks are counted: the day they begin with, and which one is a year's first.
struct Weeks {
  enum First { kWithJanuary1 = 1, kWithFourDays = 2, kFull = 3 };
  std::int64_t first_day = 1;
  std::int32_t first_week = kWithJanuary1;
};

Weeks WeeksArgument(Arguments args, std::size_t index) {
  Weeks weeks;
  weeks.first_day = WholeArgument(args, index, 0, 1);
  weeks.first_week = WholeArgument(args, index + 1, 0, Weeks::kWithJanuary1);
  if (weeks.first_day > 7 || weeks.first_week > Weeks::kFull) RaiseRunTime(kErrInvalidCall);
  weeks.first_day = std::max<std::int64_t>(weeks.first_day, 1);
  weeks.first_week = std::max<std::int32_t>(weeks.first_week, Weeks::kWithJanuary1);
  return weeks;
}

std::int64_t January1(int year) { return static_cast<std::int64_t>(SerialOfDay(year, 1, 1)); }

std::int64_t BeginOfWeekOne(int year, const Weeks& weeks) {
  const std::int64_t first = January1(year);
  const std::int64_t into_week = DaysIntoWeek(first, weeks.first_day);
  const std::int64_t days_in_year = 7 - into_week;
  const bool belongs = weeks.first_week == Weeks::kWithJanuary1 ||
                       (weeks.first_week == Weeks::kWithFourDays && days_in_year >= 4) ||
                       (weeks.first_week == Weeks::kFull && days_in_year == 7);
  return first - into_week + (belongs ? 0 : 7);
}

std::int64_t WeekOfYear(const Moment& moment, const Weeks& weeks) {
  const int year = moment.Calendar().year;
  std::int64_t begin = BeginOfWeekOne(year, weeks);
  if (moment.day < begin) begin = BeginOfWeekOne(year - 1, weeks);
  // The last days of a year may stand in the first week of the next.
  if (weeks.first_week == Weeks::kWithFourDays) {
    const std::int64_t next = BeginOfWeekOne(year + 1, weeks);
    if (moment.day >= next) begin = next;
  }
  return (moment.day - begin) / 7 + 1;
}

Moment AddMonths(const Moment& moment, std::int64_t months) {
  const CalendarDay from = moment.Calendar();
  const std::int64_t total = from.year * std::int64_t{12} + from.month - 1 + months;
  const std::int64_t year = FloorDivide(total, 12);
  if (year < 100 || year > 9999) RaiseRunTime(kErrInvalidCall);
  const int month = static_cast<int>(total - year * 12) + 1;
  const double begin = SerialOfDay(static_cast<int>(year), month, 1);
  const double length = SerialOfDay(static_cast<int>(year), month + 1, 1) - begin;
  const double day = begin + std::min<double>(from.day, length) - 1;
  return {static_cast<std::int64_t>(day), moment.second};
}

// DateAdd(interval, number, date): a day that the new month does not have becomes its last.
Variant DateAdd(Arguments args) {
  const Interval interval = ToInterval(args[0]);
  const std::int64_t number = ToInt32(args[1]);
  if (args[2].IsNull()) return args[2];
  const Moment moment = ToMoment(args[2]);
  switch (interval) {
    case Interval::kYear:
      return DateOf(AddMonths(moment, number * 12));
    case Interval::kQuarter:
      return DateOf(AddMonths(moment, number * 3));
    case Interval::kMonth:
      return DateOf(AddMonths(moment, number));
    case Interval::kDayOfYear:
    case Interval::kDay:
    case Interval::kWeekday:
      return DateOf(Moment{moment.day + number, moment.second});
    case Interval::kWeek:
      return DateOf(Moment{moment.day + number * 7, moment.second});
    case Interval::kHour:
      return DateOf(AddSeconds(moment, number * 3600));
    case Interval::kMinute:
      return DateOf(AddSeconds(moment, number * 60));
    case Interval::kSecond:
      break;
  }
  return DateOf(AddSeconds(moment, number));
}

// The number of the interval in which a moment stands, counted from some fixed one.
std::int64_t Ordinal(Interval interval, const Moment& moment, const Weeks& weeks) {
  const CalendarDay day = moment.Calendar();
  switch (interval) {
    case Interval::kYear:
      return day.year;
    case Interval::kQuarter:
      return day.year * std::int64_t{4} + (day.month - 1) / 3;
    case Interval::kMonth:
      return day.year * std::int64_t{12} + day.month;
    case Interval::kDayOfYear:
    case Interval::kDay:
    case Interval::kWeekday:
      return moment.day;
    case Interval::kWeek:
      return FloorDivide(moment.day - weeks.first_day, 7);
    case Interval::kHour:
      return moment.day * 24 + moment.second / 3600;
    case Interval::kMinute:
      return moment.day * 1440 + moment.second / 60;
    case Interval::kSecond:
      break;
  }
  return moment.day * kSecondsOfDay + moment.second;
}

// DateDiff(interval, date1, date2[, first day of week[, first week of year]]): the borders of
// intervals that lie between two dates; "w" counts whole weeks instead.
Variant DateDiff(Arguments args) {
  const Interval interval = ToInterval(args[0]);
  const Weeks weeks = WeeksArgument(args, 3);
  if (args[1].IsNull() || args[2].IsNull()) return Variant::Null();
  const Moment first = ToMoment(args[1]);
  const Moment second = ToMoment(args[2]);
  const std::int64_t count = Ordinal(interval, second, weeks) - Ordinal(interval, first, weeks);
  return NarrowInt32(static_cast<double>(interval == Interval::kWeekday ? count / 7 : count));
}

std::int64_t PartOf(Interval interval, const Moment& moment, const Weeks& weeks) {
  const CalendarDay day = moment.Calendar();
  switch (interval) {
    case Interval::kYear:
      return day.year;
    case Interval::kQuarter:
      return (day.month - 1) / 3 + 1;
    case Interval::kMonth:
      return day.month;
    case Interval::kDayOfYear:
      return moment.day - January1(day.year) + 1;
    case Interval::kDay:
      return day.day;
    case Interval::kWeekday:
      return DaysIntoWeek(moment.day, weeks.first_day) + 1;
    case Interval::kWeek:
      return WeekOfYear(moment, weeks);
    case Interval::kHour:
      return moment.second / 3600;
    case Interval::kMinute:
      return moment.second / 60 % 60;
    case Interval::kSecond:
      break;
  }
  return moment.second % 60;
}

// DatePart(interval, date[, first day of week[, first week of year]])
Variant DatePart(Arguments args) {
  const Interval interval = ToInterval(args[0]);
  const Weeks weeks = WeeksArgument(args, 2);
  if (args[1].IsNull()) return args[1];
  return static_cast<std::int16_t>(PartOf(interval, ToMoment(args[1]), weeks));
}

constexpr std::array kDateIntervalFunctions = {
    Function{"DateAdd", 3, 3, DateAdd},
    Function{"DateDiff", 3, 5, DateDiff},
    Function{"DatePart", 2, 4, DatePart},
};

}  // namespace

std::span<const Function> DateIntervalFunctions() { return kDateIntervalFunctions; }

}  // namespace qm
