// Dates: making them, taking them apart, names of months and days.
#include <array>

#include <qm/conversions.h>
#include <qm/error.h>
#include "expression/functions.h"
#include "expression/moment.h"

namespace qm {

namespace {

Variant Integer(std::int64_t value) { return static_cast<std::int16_t>(value); }

template <std::int64_t (*kPart)(const Moment&)>
Variant Part(Arguments args) {
  return args[0].IsNull() ? args[0] : Integer(kPart(ToMoment(args[0])));
}

std::int64_t YearOf(const Moment& moment) { return moment.Calendar().year; }
std::int64_t MonthOf(const Moment& moment) { return moment.Calendar().month; }
std::int64_t DayOf(const Moment& moment) { return moment.Calendar().day; }
std::int64_t HourOf(const Moment& moment) { return moment.second / 3600; }
std::int64_t MinuteOf(const Moment& moment) { return moment.second / 60 % 60; }
std::int64_t SecondOf(const Moment& moment) { return moment.second % 60; }

// 1 Sunday to 7 Saturday; 0, the system's choice, is Sunday too.
std::int64_t FirstDayOfWeek(Arguments args, std::size_t index) {
  const std::int32_t first = WholeArgument(args, index, 0, 1);
  if (first > 7) RaiseRunTime(kErrInvalidCall);
  return first == 0 ? 1 : first;
}

Variant Weekday(Arguments args) {
  const std::int64_t first = FirstDayOfWeek(args, 1);
  if (args[0].IsNull()) return args[0];
  return Integer(DaysIntoWeek(ToMoment(args[0]).day, first) + 1);
}

bool Abbreviates(Arguments args) {
  const Variant* given = OptionalArgument(args, 1);
  return given != nullptr && ToBool(*given);
}

Variant Name(std::string_view name, bool abbreviate) {
  return abbreviate ? name.substr(0, 3) : name;
}

Variant NameOfMonth(Arguments args) {
  const bool abbreviate = Abbreviates(args);
  const std::int32_t month = WholeArgument(args[0], 1);
  if (month > 12) RaiseRunTime(kErrInvalidCall);
  return Name(MonthName(month), abbreviate);
}

Variant NameOfWeekday(Arguments args) {
  const std::int64_t first = FirstDayOfWeek(args, 2);
  const bool abbreviate = Abbreviates(args);
  const std::int32_t day = WholeArgument(args[0], 1);
  if (day > 7) RaiseRunTime(kErrInvalidCall);
  return Name(WeekdayName(static_cast<int>((day + first - 2) % 7 + 1)), abbreviate);
}

// Years below 100 are 1930 to 2029; months and days count on beyond their ranges.
Variant DateSerial(Arguments args) {
  int year = ToInt16(args[0]);
  if (year >= 0 && year < 100) year += year < 30 ? 2000 : 1900;
  const double day = SerialOfDay(year, ToInt16(args[1]), ToInt16(args[2]));
  return DateOf(Moment{static_cast<std::int64_t>(day), 0});
}

Variant TimeSerial(Arguments args) {
  const std::int64_t minutes = std::int64_t{ToInt16(args[0])} * 60 + ToInt16(args[1]);
  return DateOf(AddSeconds({}, minutes * 60 + ToInt16(args[2])));
}

// Only what reads as a date is one here; a number is not.
Moment ReadMoment(const Variant& value) {
  const auto date = ReadDate(ToText(value));
  if (!date) RaiseRunTime(kErrTypeMismatch);
  return ToMoment(*date);
}

Variant DateValue(Arguments args) { return DateOf(Moment{ReadMoment(args[0]).day, 0}); }
Variant TimeValue(Arguments args) { return DateOf(Moment{0, ReadMoment(args[0]).second}); }

constexpr std::array kDateFunctions = {
    Function{"Year", 1, 1, Part<YearOf>},         Function{"Month", 1, 1, Part<MonthOf>},
    Function{"Day", 1, 1, Part<DayOf>},           Function{"Hour", 1, 1, Part<HourOf>},
    Function{"Minute", 1, 1, Part<MinuteOf>},     Function{"Second", 1, 1, Part<SecondOf>},
    Function{"Weekday", 1, 2, Weekday},           Function{"MonthName", 1, 2, NameOfMonth},
    Function{"WeekdayName", 1, 3, NameOfWeekday}, Function{"DateSerial", 3, 3, DateSerial},
    Function{"TimeSerial", 3, 3, TimeSerial},     Function{"DateValue", 1, 1, DateValue},
    Function{"TimeValue", 1, 1, TimeValue},
};

}  // namespace

std::span<const Function> DateFunctions() { return kDateFunctions; }

}  // namespace qm
