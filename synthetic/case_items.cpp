#include "synthetic/case_items.h"

#include <algorithm>
#include <array>
#include <string_view>

namespace qm {

namespace {

constexpr int kPrimarySite = 400;
constexpr int kFirstDiagnosisYear = 2016;
constexpr int kLastDiagnosisYear = 2018;

struct Site {
  std::string_view code;
  std::string_view histology;
  bool paired;
  int men;  // share among the tumors of either sex
  int women;
  std::string_view name;
};
constexpr std::array kSites = {
    Site{"C619", "8140", false, 26, 0, "PROSTATE"},   Site{"C504", "8500", true, 0, 20, "BREAST"},
    Site{"C509", "8520", true, 0, 11, "BREAST"},      Site{"C341", "8140", true, 9, 8, "LUNG"},
    Site{"C343", "8070", true, 6, 4, "LUNG"},         Site{"C187", "8140", false, 5, 4, "COLON"},
    Site{"C180", "8140", false, 3, 4, "COLON"},       Site{"C209", "8140", false, 3, 2, "RECTUM"},
    Site{"C679", "8120", false, 7, 2, "BLADDER"},     Site{"C649", "8310", true, 5, 3, "KIDNEY"},
    Site{"C541", "8380", false, 0, 7, "ENDOMETRIUM"}, Site{"C569", "8441", true, 0, 3, "OVARY"},
    Site{"C739", "8260", false, 1, 4, "THYROID"},     Site{"C447", "8720", true, 4, 3, "SKIN"},
    Site{"C259", "8140", false, 3, 3, "PANCREAS"},    Site{"C421", "9732", false, 3, 2, "MARROW"}};

struct Place {
  std::string_view city;
  std::string_view county;
  std::string_view postal_codes;  // the first three digits
};
constexpr std::array kPlaces = {
    Place{"SPRINGFIELD", "167", "627"}, Place{"RIVERTON", "043", "621"},
    Place{"FAIRVIEW", "031", "618"},    Place{"LAKEWOOD", "089", "601"},
    Place{"GEORGETOWN", "183", "619"},  Place{"CENTERVILLE", "119", "622"},
    Place{"GREENVILLE", "005", "622"},  Place{"FRANKLIN", "137", "626"}};
constexpr const char* kState = "IL";

const Place& PlaceOf(const Person& person) {
  return kPlaces[static_cast<std::size_t>(person.place) % kPlaces.size()];
}

std::string PostalCode(const Person& person) {
  return std::string(PlaceOf(person).postal_codes) + std::to_string(10 + person.place % 90);
}

std::string Padded(std::int64_t number, std::size_t width) {
  std::string text = std::to_string(number);
  return text.size() < width ? std::string(width - text.size(), '0') + text : text;
}

}  // namespace

std::string ValueOf(const ItemValues& items, int number) {
  const auto item = std::ranges::find(items, number, &ItemValues::value_type::first);
  return item == items.end() ? std::string() : item->second;
}

ItemValues PatientItems(const Person& person, const Identity& identity, Random& random) {
  const Place& place = PlaceOf(person);
  const bool dead = random.PerMille(220);
  const CalendarDay contact = DayIn(random, kLastDiagnosisYear + 1 + random.Between(0, 2));
  return {{160, identity.race},
          {161, "88"},
          {190, person.hispanic},
          {220, identity.sex},
          {240, identity.birth},
          {252, kState},
          {254, "USA"},
          {1750, contact.Stored()},
          {1760, dead ? "0" : "1"},
          {1810, std::string(place.city)},
          {1820, kState},
          {1830, PostalCode(person)},
          {1840, std::string(place.county)},
          {1910, dead ? "C80" : ""},
          {2230, identity.last_name},
          {2240, identity.first_name},
          {2250, identity.middle_name},
          {2270, identity.suffix},
          {2390, person.maiden_name},
          {2320, identity.social_security},
          {2350, person.street},
          {2360, "217555" + Padded(random.Between(0, 9999), 4)}};
}

ItemValues TumorItems(const Person& person, Random& random) {
  std::array<int, kSites.size()> shares{};
  std::ranges::transform(kSites, shares.begin(), [&](const Site& site) {
    return person.sex == Sex::kMale ? site.men : site.women;
  });
  const Site& site = kSites[random.PickWeighted(shares)];
  const int first = std::max(kFirstDiagnosisYear, person.birth.year + 1);
  const CalendarDay diagnosis = DayIn(random, random.Between(first, kLastDiagnosisYear));
  const int age = diagnosis.year - person.birth.year;
  return {{380, "00"},
          {390, diagnosis.Stored()},
          {kPrimarySite, std::string(site.code)},
          {410, site.paired ? std::to_string(random.Between(1, 2)) : "0"},
          {522, std::string(site.histology)},
          {523, random.PerMille(90) ? "2" : "3"},
          {490, "1"},
          {500, "1"},
          {230, Padded(age, 3)},
          {764, std::to_string(random.Between(1, 4))},
          {1285, random.PerMille(850) ? "1" : "0"}};
}

ItemValues HospitalItems(const Person& person, const std::string& primary_site, std::int64_t serial,
                         Random& random) {
  const auto site = std::ranges::find(kSites, primary_site, &Site::code);
  const std::string organ(site == kSites.end() ? "SITE" : site->name);
  const Place& place = PlaceOf(person);
  return {
      {10, "A"},
      {30, "3"},
      {40, "5550001"},
      {50, "180"},
      {21, Padded(serial % 100000000, 8)},
      {60, "01"},
      {70, std::string(place.city)},
      {80, kState},
      {90, std::string(place.county)},
      {100, PostalCode(person)},
      {102, "USA"},
      {150, std::to_string(random.Between(1, 5))},
      {310, random.PerMille(500) ? "RETIRED" : "UNKNOWN"},
      {540, Padded(6430000 + random.Between(1, 40), 10)},
      {550, "2018" + Padded(serial % 100000, 5)},
      {560, "00"},
      {570, "QMD"},
      {610, "14"},
      {2330, person.street},
      {2520, "PALPABLE MASS, " + organ + ". NO ADENOPATHY."},
      {2530, "CT: LESION OF THE " + organ + ", " + std::to_string(random.Between(4, 60)) + " MM."},
      {2570, "BIOPSY OF THE " + organ + ": CARCINOMA."},
      {2610, random.PerMille(600) ? "RESECTION OF THE " + organ + "." : ""}};
}

}  // namespace qm
