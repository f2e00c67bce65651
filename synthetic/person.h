// Person: one synthetic person, and the people around: the registered ones by number, newcomers,
// and the siblings, twins, fathers and sons of registered ones.
//
// A person follows from the seed and a number alone; social security numbers are unique over all
// numbers and lie in areas that are never issued (900 to 999).
#pragma once

#include <cstdint>
#include <string>

#include "synthetic/names.h"
#include "synthetic/random.h"

namespace qm {

struct CalendarDay {
  int year = 0;
  int month = 0;
  int day = 0;

  std::string Stored() const;  ///< CCYYMMDD
};

struct Person {
  std::string last_name;
  std::string first_name;
  std::string middle_name;
  std::string suffix;
  std::string maiden_name;
  Sex sex = Sex::kMale;
  std::string race;      ///< item 160
  std::string hispanic;  ///< item 190
  CalendarDay birth;
  std::string social_security;
  std::string street;
  int place = 0;  ///< a number that chooses city, county and postal code
};

class People {
 public:
  explicit People(std::uint64_t seed);

  /// The person of a number, from 0 to ninety million.
  Person Make(std::int64_t number) const;
  /// A person of that number who belongs to the family of another: a twin, a brother or sister, or
  /// (men) a father or son of the same name.
  Person MakeRelative(std::int64_t number, const Person& other, Random& random) const;

 private:
  std::string SocialSecurity(std::int64_t number) const;
  std::string MiddleName(Random& random, Sex sex) const;

  Names names_;
  std::uint64_t seed_;
  std::int64_t factor_;
  std::int64_t offset_;
};

/// A day of that year.
CalendarDay DayIn(Random& random, int year);

}  // namespace qm
