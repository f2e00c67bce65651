#include "setup/shipped_layout.h"

#include <qm/error.h>
#include <qm/registry_setup.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <utility>

#include "setup/shipped_files.h"

namespace qm {

namespace {

const std::array kVersions = {
    ShippedLayout{"11.3", 11, "B", "B", 1946, 2644, 6694, 19, {}},
    ShippedLayout{"12", 12, "122", "120,121,122", 3339, 5564, 22824, 17, {}},
    ShippedLayout{"13", 13, "130", "130", 3339, 5564, 22824, 17, {}},
    ShippedLayout{"14", 14, "140", "140", 3339, 5564, 22824, 17, {}},
    ShippedLayout{"15", 15, "150", "150", 3339, 5564, 22824, 17, {}},
    ShippedLayout{"16", 16, "160", "160", 3339, 5564, 22824, 17, {}},
    ShippedLayout{"18", 18, "180", "180", 4048, 6154, 24194, 17, {}},
};

// The last version whose dates stand month first.
constexpr int kLastDisplayDateVersion = 11;

// The names by which the candidate search and the order of tumors ask for columns.
constexpr std::array kKnownNames = {std::pair{2230, "LastName"},   std::pair{2240, "FirstName"},
                                    std::pair{2250, "MiddleName"}, std::pair{240, "BirthDate"},
                                    std::pair{2320, "SocSec"},     std::pair{160, "Race1"},
                                    std::pair{220, "Sex"},         std::pair{380, "SeqNumCentr"}};

enum Cell {
  kItem,
  kName,
  kLabel,
  kStart,
  kLength,
  kAlign,
  kPad,
  kKind,
  kSection,
  kFreeText,
  kLevel
};

int Number(const std::string& text) {
  int value = 0;
  std::from_chars(text.data(), text.data() + text.size(), value);
  return value;
}

std::string FieldName(int item, const std::string& name) {
  const auto known = std::ranges::find(kKnownNames, item, &std::pair<int, const char*>::first);
  return known == kKnownNames.end() ? name : known->second;
}

std::string Justification(const CsvRow& row, int version) {
  if (row[kKind] == "date") return version <= kLastDisplayDateVersion ? "D" : "L";
  const bool zero = row[kPad] == "zero";
  if (row[kAlign] == "right") return zero ? "Y" : "R";
  return zero ? "Z" : "L";
}

bool StartsWithAny(std::string_view text, std::initializer_list<std::string_view> beginnings) {
  return std::ranges::any_of(beginnings, [text](auto part) { return text.starts_with(part); });
}

// Who the patient is and which tumor it is stands in the first tables, which every search reads;
// what is looked at for one record stands in the further ones.
void ChooseTables(ShippedItem& item, std::string_view section, std::string_view level) {
  const bool identity =
      StartsWithAny(section, {"Record ID", "Demographic", "Patient-Confidential"});
  if (level == "patient") {
    item.abstract_table = 1;
    item.patient_table = identity ? 1 : 2;
  } else if (item.text || level == "file") {
    item.abstract_table = 1;
    item.medical_table = 1;
  } else {
    const bool tumor = identity || section == "Cancer Identification";
    const bool course = StartsWithAny(section, {"Stage", "Treatment"});
    item.abstract_table = tumor ? 1 : course ? 2 : 4;
    item.medical_table = tumor || section == "Treatment-1st Course" ? 1 : 2;
  }
}

std::vector<ShippedItem> LoadItems(std::string_view name, int version) {
  std::vector<ShippedItem> items;
  for (const CsvRow& row : ShippedRows("layouts/naaccr_" + std::string(name) + ".csv")) {
    ShippedItem item;
    item.number = Number(row[kItem]);
    item.field_name = FieldName(item.number, row[kName]);
    item.label = row[kLabel];
    item.start = Number(row[kStart]);
    item.length = Number(row[kLength]);
    item.justification = Justification(row, version);
    item.text = row[kFreeText] == "1";
    item.patient_grid = row[kLevel] == "patient";
    ChooseTables(item, row[kSection], row[kLevel]);
    items.push_back(std::move(item));
  }
  std::ranges::sort(items, {}, &ShippedItem::start);
  return items;
}

}  // namespace

int ShippedLayout::StartOf(int number) const {
  const auto item = std::ranges::find(items, number, &ShippedItem::number);
  return item == items.end() ? 0 : item->start;
}

std::vector<std::string> ShippedLayouts() {
  std::vector<std::string> names;
  names.reserve(kVersions.size());
  for (const ShippedLayout& version : kVersions) names.emplace_back(version.name);
  return names;
}

std::vector<ShippedLayout> LoadShippedLayouts(const std::vector<std::string>& names) {
  for (const std::string& name : names) {
    if (std::ranges::find(kVersions, name, &ShippedLayout::name) == kVersions.end()) {
      throw Error(kErrBadArgument, "QMDataObjects", "There is no record layout \"" + name + "\".");
    }
  }
  std::vector<ShippedLayout> layouts;
  for (const ShippedLayout& version : kVersions) {
    if (!names.empty() && std::ranges::find(names, version.name) == names.end()) continue;
    layouts.push_back(version);
    layouts.back().items = LoadItems(version.name, version.version);
  }
  return layouts;
}

}  // namespace qm
