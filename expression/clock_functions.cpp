// The clock: local time of this machine, to the second.
#include <array>
#include <chrono>
#include <ctime>

#include "expression/functions.h"
#include "expression/moment.h"

namespace qm {

namespace {

std::tm LocalTime(std::time_t time) {
  std::tm local{};
#ifdef _WIN32
  localtime_s(&local, &time);
#else
  localtime_r(&time, &local);
#endif
  return local;
}

Moment LocalMoment(std::time_t time) {
  const std::tm local = LocalTime(time);
  const double day = SerialOfDay(local.tm_year + 1900, local.tm_mon + 1, local.tm_mday);
  const std::int64_t second = local.tm_hour * 3600 + local.tm_min * 60 + local.tm_sec;
  return AddSeconds({static_cast<std::int64_t>(day), 0}, second);
}

Variant Now(Arguments) { return DateOf(LocalMoment(std::time(nullptr))); }
Variant Today(Arguments) { return DateOf(Moment{LocalMoment(std::time(nullptr)).day, 0}); }
Variant Time(Arguments) { return DateOf(Moment{0, LocalMoment(std::time(nullptr)).second}); }

// Seconds since midnight with their fraction.
Variant Timer(Arguments) {
  using std::chrono::system_clock;
  const auto now = system_clock::now();
  const auto whole = std::chrono::floor<std::chrono::seconds>(now);
  const std::chrono::duration<float> fraction = now - whole;
  const std::int64_t second = LocalMoment(system_clock::to_time_t(whole)).second;
  return static_cast<float>(second) + fraction.count();
}

constexpr std::array kClockFunctions = {
    Function{"Now", 0, 0, Now},
    Function{"Date", 0, 0, Today},
    Function{"Time", 0, 0, Time},
    Function{"Timer", 0, 0, Timer},
};

}  // namespace

std::span<const Function> ClockFunctions() { return kClockFunctions; }

}  // namespace qm
