#include "synthetic/names.h"

#include <algorithm>
#include <array>
#include <charconv>

#include "setup/shipped_files.h"

namespace qm {

namespace {

constexpr std::int64_t kWhole = 100000;  // thousandths of a percent

constexpr std::string_view kBeginnings[] = {
    "ALDER",  "ASH",   "BECK",  "BLACK", "BRAN",  "BRINK",  "BUCK",   "CALDER", "CARL",  "CHAD",
    "CLAY",   "CON",   "CRAN",  "DAHL",  "DAN",   "DER",    "DOL",    "DREX",   "EBER",  "EDGE",
    "EK",     "ELLS",  "ENGEL", "FAIR",  "FAL",   "FEN",    "FRIED",  "GAR",    "GOLD",  "GRAN",
    "GREEN",  "GUST",  "HAL",   "HART",  "HEDGE", "HOLLEN", "HUMMEL", "INGE",   "JAN",   "KEL",
    "KLEIN",  "KNOWL", "KRAN",  "LAMB",  "LIND",  "LOCK",   "LUND",   "MAR",    "MERRI", "MOR",
    "NAD",    "NORTH", "OAK",   "OST",   "PALM",  "PEDER",  "PEN",    "QUIN",   "RAD",   "RAMS",
    "REIN",   "ROSEN", "ROTH",  "SALZ",  "SCHON", "SHEL",   "SILVER", "STAN",   "STEIN", "STRAT",
    "SUTHER", "TAN",   "THORN", "TILL",  "UNDER", "VAND",   "VOGEL",  "WAL",    "WEIN",  "WHIT",
    "WINDER", "WOL",   "YAR",   "ZIMM"};
constexpr std::string_view kEndings[] = {
    "BACH", "BAUM",  "BERG",  "BERGER", "BOROUGH", "BRIDGE", "BURG",  "BURN",  "BY",    "COTE",
    "COTT", "DALE",  "DEN",   "DORF",   "ELL",     "ER",     "ERMAN", "FELD",  "FIELD", "FORD",
    "GATE", "GREN",  "HAM",   "HAUS",   "HOLM",    "HOLT",   "HURST", "INGER", "KAMP",  "KOWSKI",
    "LAND", "LEY",   "LING",  "LOCK",   "LUND",    "MAN",    "MARK",  "MEIER", "MER",   "MONT",
    "MORE", "OVICH", "QUIST", "RICH",   "SEN",     "SHAW",   "SON",   "STAD",  "STEAD", "STROM",
    "THAL", "TON",   "VALE",  "VIK",    "WALD",    "WELL",   "WICK",  "WOOD",  "WORTH", "ZAK"};

struct Spelling {
  std::string_view census;
  std::string_view written;
};
constexpr Spelling kSpellings[] = {
    {"OBRIEN", "O'BRIEN"}, {"OCONNOR", "O'CONNOR"},    {"ONEAL", "O'NEAL"}, {"ONEILL", "O'NEILL"},
    {"ONEIL", "O'NEIL"},   {"ODONNELL", "O'DONNELL"},  {"MUNOZ", "MUÑOZ"},  {"NUNEZ", "NUÑEZ"},
    {"PENA", "PEÑA"},      {"ORDONEZ", "ORDOÑEZ"},     {"YANEZ", "YAÑEZ"},  {"IBANEZ", "IBAÑEZ"},
    {"ACUNA", "ACUÑA"},    {"CASTANEDA", "CASTAÑEDA"}, {"MAGANA", "MAGAÑA"}};
// Not in the census list, or too rare there to be seen.
constexpr std::string_view kMarkedSurnames[] = {
    "O'SHEA", "O'HARA",  "O'KEEFE", "O'MALLEY", "D'ANGELO", "D'AMICO", "ESPAÑA",
    "ZÚÑIGA", "CÓRDOVA", "GARCÍA",  "PÉREZ",    "CÔTÉ",     "MÜLLER",  "BJÖRK"};

struct Accent {
  std::string_view letter;
  std::string_view plain;
};
constexpr Accent kAccents[] = {{"Ñ", "N"}, {"Á", "A"}, {"É", "E"}, {"Í", "I"}, {"Ó", "O"},
                               {"Ú", "U"}, {"Ô", "O"}, {"Ü", "U"}, {"Ö", "O"}};

constexpr std::string_view kSpanish[] = {
    "GARCIA",   "MARTINEZ",  "RODRIGUEZ", "HERNANDEZ", "LOPEZ",   "GONZALEZ", "PEREZ",   "SANCHEZ",
    "RAMIREZ",  "TORRES",    "FLORES",    "RIVERA",    "GOMEZ",   "DIAZ",     "REYES",   "MORALES",
    "ORTIZ",    "GUTIERREZ", "CHAVEZ",    "RAMOS",     "RUIZ",    "ALVAREZ",  "MENDOZA", "VASQUEZ",
    "CASTILLO", "JIMENEZ",   "MORENO",    "ROMERO",    "HERRERA", "MEDINA",   "AGUILAR", "VARGAS",
    "GUZMAN",   "MENDEZ",    "SALAZAR",   "SOTO",      "DELGADO", "VEGA",     "ESPAÑA",  "ZÚÑIGA",
    "CÓRDOVA",  "GARCÍA",    "PÉREZ"};

struct Familiar {
  std::string_view full;
  std::string_view familiar;
};
constexpr Familiar kFamiliar[] = {
    {"ALBERT", "AL"},         {"ALEXANDER", "ALEX"},  {"ALFRED", "FRED"},
    {"ANDREW", "ANDY"},       {"ANTHONY", "TONY"},    {"ARTHUR", "ART"},
    {"BENJAMIN", "BEN"},      {"CHARLES", "CHUCK"},   {"CHARLES", "CHARLIE"},
    {"CHRISTOPHER", "CHRIS"}, {"DANIEL", "DAN"},      {"DAVID", "DAVE"},
    {"DONALD", "DON"},        {"DOUGLAS", "DOUG"},    {"EDWARD", "ED"},
    {"EUGENE", "GENE"},       {"FRANCISCO", "PACO"},  {"FREDERICK", "FRED"},
    {"GERALD", "JERRY"},      {"GREGORY", "GREG"},    {"HAROLD", "HARRY"},
    {"HENRY", "HANK"},        {"JAMES", "JIM"},       {"JAMES", "JIMMY"},
    {"JEFFREY", "JEFF"},      {"JOHN", "JACK"},       {"JOHN", "JOHNNY"},
    {"JOSEPH", "JOE"},        {"JOSE", "PEPE"},       {"KENNETH", "KEN"},
    {"LAWRENCE", "LARRY"},    {"LEONARD", "LEN"},     {"MATTHEW", "MATT"},
    {"MICHAEL", "MIKE"},      {"NICHOLAS", "NICK"},   {"PATRICK", "PAT"},
    {"PETER", "PETE"},        {"PHILIP", "PHIL"},     {"RAYMOND", "RAY"},
    {"RICHARD", "DICK"},      {"RICHARD", "RICK"},    {"ROBERT", "BOB"},
    {"ROBERT", "BOBBY"},      {"RONALD", "RON"},      {"SAMUEL", "SAM"},
    {"STEPHEN", "STEVE"},     {"STEVEN", "STEVE"},    {"THEODORE", "TED"},
    {"THOMAS", "TOM"},        {"TIMOTHY", "TIM"},     {"WALTER", "WALT"},
    {"WILLIAM", "BILL"},      {"WILLIAM", "BILLY"},   {"ABIGAIL", "ABBY"},
    {"AMANDA", "MANDY"},      {"ANN", "NANCY"},       {"BARBARA", "BARB"},
    {"CATHERINE", "CATHY"},   {"CHRISTINE", "CHRIS"}, {"CYNTHIA", "CINDY"},
    {"DEBORAH", "DEBBIE"},    {"DOROTHY", "DOT"},     {"EDITH", "EDIE"},
    {"ELEANOR", "ELLIE"},     {"ELIZABETH", "BETTY"}, {"ELIZABETH", "LIZ"},
    {"ELIZABETH", "BETH"},    {"FLORENCE", "FLO"},    {"FRANCES", "FRAN"},
    {"GERTRUDE", "TRUDY"},    {"HELEN", "NELL"},      {"JACQUELINE", "JACKIE"},
    {"JANET", "JAN"},         {"JENNIFER", "JENNY"},  {"JUDITH", "JUDY"},
    {"KATHERINE", "KATE"},    {"KATHLEEN", "KATHY"},  {"KIMBERLY", "KIM"},
    {"LILLIAN", "LILLY"},     {"MARGARET", "PEGGY"},  {"MARGARET", "MAGGIE"},
    {"MARY", "POLLY"},        {"MILDRED", "MILLIE"},  {"NANCY", "NAN"},
    {"PAMELA", "PAM"},        {"PATRICIA", "PAT"},    {"PATRICIA", "PATTY"},
    {"REBECCA", "BECKY"},     {"SANDRA", "SANDY"},    {"SARAH", "SALLY"},
    {"SHIRLEY", "SHIRL"},     {"SUSAN", "SUE"},       {"THERESA", "TERRY"},
    {"VERONICA", "RONNIE"},   {"VICTORIA", "VICKI"},  {"VIRGINIA", "GINNY"}};

// "1.006" as thousandths.
std::int64_t Thousandths(const std::string& text) {
  const std::size_t point = text.find('.');
  std::string digits = text.substr(0, point);
  std::string fraction = point == std::string::npos ? "" : text.substr(point + 1, 3);
  fraction.resize(3, '0');
  digits += fraction;
  std::int64_t value = 0;
  std::from_chars(digits.data(), digits.data() + digits.size(), value);
  return value;
}

}  // namespace

Names::Names()
    : surnames_(Load("names/census1990_common_surnames.csv")),
      male_(Load("names/census1990_common_male_firstnames.csv")),
      female_(Load("names/census1990_common_female_firstnames.csv")) {}

Names::List Names::Load(std::string_view file) {
  List list;
  std::int64_t end = 0;
  for (const auto& row : ShippedRows(file)) {
    end += Thousandths(row[1]);
    list.push_back({row[0], end});
  }
  return list;
}

const std::string& Names::Draw(const List& list, std::int64_t position) {
  const auto entry = std::ranges::upper_bound(list, position, {}, &Weighted::end);
  return entry == list.end() ? list.back().name : entry->name;
}

std::string Names::Surname(Random& random) const {
  if (random.PerMille(6)) return std::string(random.Pick(kMarkedSurnames));
  const std::int64_t position = random.Below(kWhole);
  if (position >= surnames_.back().end) {
    std::string name(random.Pick(kBeginnings));
    return name += random.Pick(kEndings);
  }
  const std::string& name = Draw(surnames_, position);
  const auto* spelling = std::ranges::find(kSpellings, name, &Spelling::census);
  const bool marked = spelling != std::end(kSpellings) && random.PerMille(700);
  return marked ? std::string(spelling->written) : name;
}

std::string Names::FirstName(Random& random, Sex sex) const {
  const List& list = sex == Sex::kMale ? male_ : female_;
  return Draw(list, random.Below(list.back().end));
}

std::string Names::Nickname(Random& random, std::string_view first_name) {
  std::vector<std::string_view> choices;
  for (const Familiar& pair : kFamiliar) {
    if (pair.full == first_name) choices.push_back(pair.familiar);
    if (pair.familiar == first_name) choices.push_back(pair.full);
  }
  if (choices.empty()) return {};
  const auto choice = random.Below(static_cast<std::int64_t>(choices.size()));
  return std::string(choices[static_cast<std::size_t>(choice)]);
}

bool Names::HasMark(std::string_view surname) {
  return std::ranges::any_of(
      surname, [](char c) { return c == '\'' || static_cast<unsigned char>(c) >= 0x80; });
}

std::string Names::WithoutMarks(Random& random, std::string_view surname) {
  const bool blank = random.PerMille(350);
  std::string plain;
  for (std::size_t i = 0; i < surname.size();) {
    if (surname[i] == '\'') {
      if (blank) plain += ' ';
      ++i;
      continue;
    }
    const auto* accent = std::ranges::find_if(
        kAccents, [&](const Accent& a) { return surname.substr(i).starts_with(a.letter); });
    if (accent != std::end(kAccents)) {
      plain += accent->plain;
      i += accent->letter.size();
    } else {
      plain += surname[i++];
    }
  }
  return plain;
}

bool Names::IsSpanish(std::string_view surname) {
  const auto* spelling = std::ranges::find(kSpellings, surname, &Spelling::written);
  if (spelling != std::end(kSpellings) && surname.find('\'') == std::string_view::npos) return true;
  return std::ranges::find(kSpanish, surname) != std::end(kSpanish);
}

}  // namespace qm
