#include "synthetic/person.h"

#include <algorithm>
#include <array>

namespace qm {

namespace {

// Streams of random numbers (see Random).
constexpr std::uint64_t kSeedPurpose = 1;
constexpr std::uint64_t kPersonPurpose = 2;

// Numbers behind the first 9 of an unissued number; a prime, so that multiplying is one to one.
constexpr std::int64_t kNumberSpace = 99999989;

constexpr int kFirstBirthYear = 1918;
constexpr int kLastBirthYear = 2012;

constexpr const char* kStreets[] = {"MAIN ST",   "OAK AVE",   "MAPLE DR",      "CEDAR LN",
                                    "PARK AVE",  "ELM ST",    "WASHINGTON ST", "LAKE RD",
                                    "HILL ST",   "PINE ST",   "SUNSET DR",     "RIVER RD",
                                    "CHURCH ST", "MEADOW LN", "2ND ST"};

std::string Digits(int number, int width) {
  std::string text = std::to_string(number);
  if (text.size() < static_cast<std::size_t>(width)) {
    text.insert(0, static_cast<std::size_t>(width) - text.size(), '0');
  }
  return text;
}

// Cancer is a disease of age: most are born sixty to eighty years before the diagnosis.
int BirthYear(Random& random) {
  const int spread = random.Between(0, 24) + random.Between(0, 24) + random.Between(0, 24);
  const int year = 1914 + spread + random.Between(0, 12);
  return random.PerMille(20) ? random.Between(1990, kLastBirthYear)
                             : std::max(year, kFirstBirthYear);
}

std::string Race(Random& random) {
  constexpr std::array kShares = {800, 125, 10, 12, 9, 8, 8, 20, 8};
  constexpr const char* kCodes[] = {"01", "02", "03", "04", "05", "06", "10", "15", "98"};
  return kCodes[random.PickWeighted(kShares)];
}

std::string Street(Random& random) {
  return std::to_string(random.Between(1, 9899)) + " " + random.Pick(kStreets);
}

}  // namespace

std::string CalendarDay::Stored() const {
  return Digits(year, 4) + Digits(month, 2) + Digits(day, 2);
}

CalendarDay DayIn(Random& random, int year) {
  constexpr std::array kDays = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
  const int month = random.Between(1, 12);
  return {year, month, random.Between(1, kDays[static_cast<std::size_t>(month - 1)])};
}

People::People(std::uint64_t seed) : seed_(seed) {
  Random random(seed, kSeedPurpose, 0);
  factor_ = 1 + random.Below(kNumberSpace - 1);
  offset_ = random.Below(kNumberSpace);
}

std::string People::SocialSecurity(std::int64_t number) const {
  const std::int64_t mixed = (number * factor_ + offset_) % kNumberSpace;
  return "9" + Digits(static_cast<int>(mixed), 8);
}

std::string People::MiddleName(Random& random, Sex sex) const {
  if (random.PerMille(220)) return {};
  std::string name = names_.FirstName(random, sex);
  if (random.PerMille(450)) name.resize(1);
  return name;
}

Person People::Make(std::int64_t number) const {
  Random random(seed_, kPersonPurpose, static_cast<std::uint64_t>(number));
  Person person;
  person.sex = random.PerMille(510) ? Sex::kFemale : Sex::kMale;
  person.last_name = names_.Surname(random);
  person.first_name = names_.FirstName(random, person.sex);
  person.middle_name = MiddleName(random, person.sex);
  person.hispanic = Names::IsSpanish(person.last_name) ? "1" : "0";
  if (person.sex == Sex::kFemale && random.PerMille(600)) {
    person.maiden_name = names_.Surname(random);
    if (random.PerMille(40)) person.last_name = person.maiden_name + "-" + person.last_name;
  }
  if (person.sex == Sex::kMale && random.PerMille(15)) person.suffix = "JR";
  person.race = Race(random);
  person.birth = DayIn(random, BirthYear(random));
  person.social_security = SocialSecurity(number);
  person.street = Street(random);
  person.place = random.Between(0, 9999);
  return person;
}

Person People::MakeRelative(std::int64_t number, const Person& other, Random& random) const {
  enum Kin { kTwin, kSibling, kNamesake };
  constexpr std::array kShares = {3, 6, 4};
  auto kin = static_cast<Kin>(random.PickWeighted(kShares));
  if (kin == kNamesake && other.sex != Sex::kMale) kin = kSibling;

  Person person = Make(number);
  person.maiden_name.clear();
  person.suffix.clear();
  person.last_name = other.last_name;
  person.race = other.race;
  person.hispanic = other.hispanic;
  person.street = other.street;
  person.place = other.place;
  if (kin == kNamesake) {
    const bool son = other.birth.year < 1945;
    const int years = random.Between(19, 38);
    person.sex = other.sex;
    person.first_name = other.first_name;
    if (random.PerMille(750)) person.middle_name = other.middle_name;
    person.suffix = son ? "JR" : "SR";
    person.birth.year = other.birth.year + (son ? years : -years);
    return person;
  }
  if (kin == kTwin) {
    person.birth = other.birth;
    if (random.PerMille(650)) person.sex = other.sex;
  } else {
    person.birth.year =
        std::clamp(other.birth.year + random.Between(-9, 9), kFirstBirthYear, kLastBirthYear);
  }
  do {
    person.first_name = names_.FirstName(random, person.sex);
  } while (person.first_name == other.first_name);
  return person;
}

}  // namespace qm
