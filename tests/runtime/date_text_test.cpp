#include "runtime/date_text.h"

#include <gtest/gtest.h>

#include <chrono>

#include <qm/error.h>

namespace qm {
namespace {

TEST(DateText, DaysOfTheWholeCalendarAreThoseThatTheStandardLibraryCounts) {
  using namespace std::chrono;
  const sys_days epoch = year{1899} / 12 / 30;
  for (double serial = kFirstDay; serial <= kLastDay; serial += 5) {
    const year_month_day expected(epoch + days(static_cast<int>(serial)));
    const CalendarDay day = DayOfSerial(serial);
    ASSERT_EQ(day.year, static_cast<int>(expected.year())) << serial;
    ASSERT_EQ(day.month, static_cast<int>(static_cast<unsigned>(expected.month()))) << serial;
    ASSERT_EQ(day.day, static_cast<int>(static_cast<unsigned>(expected.day()))) << serial;
    ASSERT_EQ(SerialOfDay(day.year, day.month, day.day), serial);
  }
}

TEST(DateText, MonthsAndDaysOutsideTheirRangesCountOn) {
  EXPECT_EQ(SerialOfDay(2020, 13, 1), SerialOfDay(2021, 1, 1));
  EXPECT_EQ(SerialOfDay(2020, 0, 31), SerialOfDay(2019, 12, 31));
  EXPECT_EQ(SerialOfDay(2020, -11, 1), SerialOfDay(2019, 1, 1));
  EXPECT_EQ(SerialOfDay(2020, 3, 0), SerialOfDay(2020, 2, 29));
}

TEST(DateText, DatesAreReadAndWritten) {
  const struct {
    const char* text;
    const char* shown;  // empty: no date
  } cases[] = {
      {"1/2/2020", "1/2/2020"},
      {"01-02-20", "1/2/2020"},
      {"2020-01-02", "1/2/2020"},
      {"1/2/29", "1/2/2029"},
      {"1/2/30", "1/2/1930"},
      {"13/1/2000", "1/13/2000"},
      {"2 Jan 2020", "1/2/2020"},
      {"January 2, 2020", "1/2/2020"},
      {"feb 2020", "2/1/2020"},
      {"2/2020", "2/1/2020"},
      {"2020/2", "2/1/2020"},
      {"2/29/2020", "2/29/2020"},
      {"12/30/1899", "12:00:00 AM"},
      {"1/1/100", "1/1/100"},
      {"10:30", "10:30:00 AM"},
      {"12:05 am", "12:05:00 AM"},
      {"12 PM", "12:00:00 PM"},
      {"23:59:59", "11:59:59 PM"},
      {"1/2/2020 3:04:05 PM", "1/2/2020 3:04:05 PM"},
      {"3:04 PM 1/2/2020", "1/2/2020 3:04:00 PM"},
      {"12/29/1899 6:00", "12/29/1899 6:00:00 AM"},
      {"", ""},
      {" ", ""},
      {"2/30/2020", ""},
      {"2/29/2021", ""},
      {"13/45/2000", ""},
      {"13/13/2000", ""},
      {"0/1/2000", ""},
      {"1/2/", ""},
      {"/1/2", ""},
      {"1//2/2020", ""},
      {"1/2/3/4", ""},
      {"5", ""},
      {"Jan", ""},
      {"Jan Feb 2020", ""},
      {"24:00", ""},
      {"10:60", ""},
      {"10:", ""},
      {"0 PM", ""},
      {"10:30 11:30", ""},
      {"1/2/20200", ""},
      {"1/2/2020x", ""},
      {"1.2.2020", ""},
  };
  for (const auto& [text, shown] : cases) {
    const auto date = ReadDate(text);
    EXPECT_EQ(date ? DateText(*date) : "", shown) << text;
  }
}

TEST(DateText, TimesRoundToSecondsAndMayReachTheNextDay) {
  EXPECT_EQ(DateText(Date{43832.999999}), "1/3/2020");
  EXPECT_EQ(DateText(Date{0}), "12:00:00 AM");
  EXPECT_EQ(DateText(Date{-1.25}), "12/29/1899 6:00:00 AM");
  EXPECT_EQ(ToDate(Variant("43832")).serial, 43832);
  EXPECT_EQ(ToDate(Variant()).serial, 0);
  EXPECT_THROW(ToDate(Variant(kLastDay + 1)), Error);
  EXPECT_THROW(ToDate(Variant(kFirstDay - 1)), Error);
  EXPECT_THROW(ToDate(Variant("tomorrow")), Error);
}

}  // namespace
}  // namespace qm
