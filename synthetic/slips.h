// The slips that a person's data pick up on the way into a record: typing, swapped letters and
// names, changed surnames, lost marks, familiar names, wrong or missing numbers and dates.
#pragma once

#include <string>

#include "synthetic/person.h"
#include "synthetic/random.h"

namespace qm {

/// What a record says about who the person is; each value as the record holds it, or empty.
struct Identity {
  std::string last_name;
  std::string first_name;
  std::string middle_name;
  std::string suffix;
  std::string sex;
  std::string race;
  std::string birth;  ///< CCYYMMDD
  std::string social_security;
};

/// What a registry knows: right, but not complete.
Identity RegisteredIdentity(const Person& person, Random& random);

/// What a record from a hospital says: nothing wrong in nearly half of them, else one to three
/// slips.
Identity ReportedIdentity(const Person& person, const People& people, Random& random);

}  // namespace qm
