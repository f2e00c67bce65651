#include "synthetic/slips.h"

#include <algorithm>
#include <array>
#include <utility>

namespace qm {

namespace {

constexpr std::string_view kRows[] = {"QWERTYUIOP", "ASDFGHJKL", "ZXCVBNM"};

bool IsLetter(char c) { return c >= 'A' && c <= 'Z'; }

char NeighbourKey(Random& random, char letter) {
  for (const std::string_view row : kRows) {
    const std::size_t at = row.find(letter);
    if (at == std::string_view::npos) continue;
    if (at == 0) return row[1];
    if (at + 1 == row.size()) return row[at - 1];
    return random.PerMille(500) ? row[at - 1] : row[at + 1];
  }
  return letter;
}

// A place in the name where this and the next character are different plain letters, seldom the
// first, where people look; nothing in names too short to stay themselves.
std::size_t SlipPlace(Random& random, const std::string& name) {
  if (name.size() < 4) return std::string::npos;
  for (int attempt = 0; attempt < 8; ++attempt) {
    const bool first = random.PerMille(80);
    const auto last = static_cast<std::int64_t>(name.size()) - 2;
    const std::size_t at = first ? 0 : 1 + static_cast<std::size_t>(random.Below(last));
    if (IsLetter(name[at]) && IsLetter(name[at + 1]) && name[at] != name[at + 1]) return at;
  }
  return std::string::npos;
}

bool Mistype(Random& random, std::string& name) {
  const std::size_t at = SlipPlace(random, name);
  if (at == std::string::npos) return false;
  switch (random.Below(3)) {
    case 0:
      name[at] = NeighbourKey(random, name[at]);
      break;
    case 1:
      name.erase(at, 1);
      break;
    default:
      name.insert(at, 1, name[at]);
  }
  return true;
}

bool SwapLetters(Random& random, std::string& name) {
  const std::size_t at = SlipPlace(random, name);
  if (at == std::string::npos) return false;
  std::swap(name[at], name[at + 1]);
  return true;
}

bool ChangeDigit(Random& random, std::string& number, std::size_t first) {
  if (number.size() <= first) return false;
  const auto span = static_cast<std::int64_t>(number.size() - first);
  char& digit = number[first + static_cast<std::size_t>(random.Below(span))];
  digit = static_cast<char>('0' + (digit - '0' + random.Between(1, 9)) % 10);
  return true;
}

// A digit of the day or of the year's last two, so that it stays a date.
bool ChangeBirthDigit(Random& random, std::string& birth) {
  if (birth.empty()) return false;
  if (random.PerMille(500)) {
    char& digit = birth[3];
    digit = static_cast<char>('0' + (digit - '0' + random.Between(1, 9)) % 10);
  } else {
    const int day = (birth[6] - '0') * 10 + (birth[7] - '0');
    const int other = 1 + (day - 1 + random.Between(1, 3)) % 28;
    birth[6] = static_cast<char>('0' + other / 10);
    birth[7] = static_cast<char>('0' + other % 10);
  }
  return true;
}

bool SwapDayAndMonth(std::string& birth) {
  if (birth.empty()) return false;
  const std::string month = birth.substr(4, 2);
  const std::string day = birth.substr(6, 2);
  if (day > "12" || day == month) return false;
  birth = birth.substr(0, 4) + day + month;
  return true;
}

bool ChangeSurname(const Person& person, const People& people, Random& random, Identity& identity) {
  if (person.sex != Sex::kFemale) return false;
  const std::string other = person.maiden_name.empty()
                                ? people.Make(random.Below(1000000)).last_name
                                : person.maiden_name;
  const std::size_t hyphen = identity.last_name.find('-');
  if (hyphen != std::string::npos) {
    identity.last_name = random.PerMille(500) ? identity.last_name.substr(0, hyphen)
                                              : identity.last_name.substr(hyphen + 1);
  } else if (random.PerMille(450)) {
    identity.last_name =
        random.PerMille(500) ? identity.last_name + "-" + other : other + "-" + identity.last_name;
  } else {
    identity.last_name = other;
  }
  return true;
}

bool UseNickname(Random& random, Identity& identity) {
  const std::string nickname = Names::Nickname(random, identity.first_name);
  if (nickname.empty()) return false;
  identity.first_name = nickname;
  return true;
}

bool ShortenMiddleName(Random& random, Identity& identity) {
  if (identity.middle_name.empty()) return false;
  if (identity.middle_name.size() > 1 && random.PerMille(650)) {
    identity.middle_name.resize(1);
  } else {
    identity.middle_name.clear();
  }
  return true;
}

enum Slip {
  kMistypedLast,
  kMistypedFirst,
  kSwappedLast,
  kSwappedFirst,
  kSwappedNames,
  kChangedSurname,
  kNickname,
  kMiddleName,
  kDayAndMonth,
  kBirthDigit,
  kNumberDigit,
  kNoNumber,
  kNoBirth,
  kSuffixInName,
  kOtherRace,
  kSlipCount
};
constexpr std::array<int, kSlipCount> kShares = {11, 9, 6, 5, 2, 7, 12, 14, 3, 4, 7, 9, 2, 2, 5};

// Whether the slip could happen to what is there.
bool MakeSlip(Slip slip, const Person& person, const People& people, Random& random,
              Identity& identity) {
  switch (slip) {
    case kMistypedLast:
      return Mistype(random, identity.last_name);
    case kMistypedFirst:
      return Mistype(random, identity.first_name);
    case kSwappedLast:
      return SwapLetters(random, identity.last_name);
    case kSwappedFirst:
      return SwapLetters(random, identity.first_name);
    case kSwappedNames:
      std::swap(identity.last_name, identity.first_name);
      return true;
    case kChangedSurname:
      return ChangeSurname(person, people, random, identity);
    case kNickname:
      return UseNickname(random, identity);
    case kMiddleName:
      return ShortenMiddleName(random, identity);
    case kDayAndMonth:
      return SwapDayAndMonth(identity.birth);
    case kBirthDigit:
      return ChangeBirthDigit(random, identity.birth);
    case kNumberDigit:
      return ChangeDigit(random, identity.social_security, 1);
    case kNoNumber:
      identity.social_security = random.PerMille(600) ? "" : "999999999";
      return true;
    case kNoBirth:
      identity.birth = random.PerMille(500) ? "" : "99999999";
      return true;
    case kSuffixInName:
      if (identity.suffix.empty()) return false;
      identity.last_name += " " + std::exchange(identity.suffix, "");
      return true;
    default:
      identity.race = "99";
      return true;
  }
}

Identity TrueIdentity(const Person& person) {
  return {person.last_name,
          person.first_name,
          person.middle_name,
          person.suffix,
          std::to_string(static_cast<int>(person.sex)),
          person.race,
          person.birth.Stored(),
          person.social_security};
}

}  // namespace

Identity RegisteredIdentity(const Person& person, Random& random) {
  Identity identity = TrueIdentity(person);
  if (random.PerMille(30)) identity.social_security = "999999999";
  if (random.PerMille(150)) identity.middle_name = identity.middle_name.substr(0, 1);
  if (random.PerMille(10)) identity.race = "99";
  return identity;
}

Identity ReportedIdentity(const Person& person, const People& people, Random& random) {
  Identity identity = TrueIdentity(person);
  if (Names::HasMark(identity.last_name) && random.PerMille(450)) {
    identity.last_name = Names::WithoutMarks(random, identity.last_name);
  }
  constexpr std::array kCounts = {52, 34, 11, 3};
  auto left = random.PickWeighted(kCounts);
  unsigned made = 0;
  // Some slips cannot happen to some people; another is tried then, each at most once.
  for (int attempt = 0; left > 0 && attempt < 12; ++attempt) {
    const auto slip = static_cast<Slip>(random.PickWeighted(kShares));
    if ((made & (1U << slip)) != 0) continue;
    if ((slip == kNumberDigit || slip == kDayAndMonth || slip == kBirthDigit) &&
        (made & ((1U << kNoNumber) | (1U << kNoBirth))) != 0) {
      continue;
    }
    if (!MakeSlip(slip, person, people, random, identity)) continue;
    made |= 1U << slip;
    --left;
  }
  return identity;
}

}  // namespace qm
