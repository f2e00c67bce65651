#include "expression/moment.h"

#include <cmath>

#include <qm/error.h>

namespace qm {

Moment ToMoment(const Variant& value) {
  const Date date = ToDate(value);
  const Moment moment{static_cast<std::int64_t>(std::trunc(date.serial)), 0};
  return AddSeconds(moment, SecondsOfDay(date));
}

Moment AddSeconds(const Moment& moment, std::int64_t seconds) {
  const std::int64_t total = moment.second + seconds;
  const std::int64_t days = FloorDivide(total, kSecondsOfDay);
  return {moment.day + days, total - days * kSecondsOfDay};
}

Date DateOf(const Moment& moment) {
  const auto day = static_cast<double>(moment.day);
  if (day < kFirstDay || day > kLastDay) RaiseRunTime(kErrInvalidCall);
  return Combine(day, static_cast<double>(moment.second) / static_cast<double>(kSecondsOfDay));
}

std::int64_t DaysIntoWeek(std::int64_t day, std::int64_t first_day_of_week) {
  // Day 1 was a Sunday.
  const std::int64_t since = day - first_day_of_week;
  return since - FloorDivide(since, 7) * 7;
}

std::int64_t FloorDivide(std::int64_t dividend, std::int64_t divisor) {
  const std::int64_t quotient = dividend / divisor;
  return dividend % divisor < 0 ? quotient - 1 : quotient;
}

}  // namespace qm
