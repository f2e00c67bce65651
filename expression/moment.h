// Moment: a date taken apart into a day and whole seconds, for everything that counts in them.
// Years are 100 to 9999; a moment outside them is an invalid call (5) when it becomes a date again.
#pragma once

#include <cstdint>

#include <qm/variant.h>
#include "runtime/date_text.h"

namespace qm {

inline constexpr std::int64_t kSecondsOfDay = 86400;

struct Moment {
  std::int64_t day = 0;     ///< days since 1899-12-30
  std::int64_t second = 0;  ///< 0 to 86399

  CalendarDay Calendar() const { return DayOfSerial(static_cast<double>(day)); }
};

/// What a date, a number or a text stands for: errors as `ToDate`, and for Null 94.
Moment ToMoment(const Variant& value);
/// The moment a number of seconds away; also how seconds outside a day are brought into it.
Moment AddSeconds(const Moment& moment, std::int64_t seconds);
Date DateOf(const Moment& moment);

/// 0 to 6: how far a day stands behind the last first day of a week (1 Sunday to 7 Saturday).
std::int64_t DaysIntoWeek(std::int64_t day, std::int64_t first_day_of_week);
/// Rounds towards the lesser, also below 0.
std::int64_t FloorDivide(std::int64_t dividend, std::int64_t divisor);

}  // namespace qm
