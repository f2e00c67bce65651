// ShippedLayout: one record layout that the library carries, and where each of its items is kept:
// the column name, the table of each family, the codes of the field table.
//
// A column stands in the same table in every version, since the choice goes by the item's level and
// section, which no version changes. Loading one reads its CSV text, some milliseconds.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace qm {

struct ShippedItem {
  int number = 0;
  std::string field_name;
  std::string label;
  int start = 0;
  int length = 0;
  std::string justification;  ///< "Y", "R", "Z", "L", and "D" for a date of version 11
  bool text = false;          ///< kept in the memo column, not in a column of its own
  bool patient_grid = false;  ///< a patient's item; else one of the medical summary
  int abstract_table = 0;     ///< table codes: 1, 2, 4; 0 none
  int patient_table = 0;
  int medical_table = 0;
};

struct ShippedLayout {
  std::string_view name;            ///< "11.3", …, "18"
  int version = 0;                  ///< 11, …, 18
  std::string_view exchange_code;   ///< the version code that records carry
  std::string_view accepted_codes;  ///< all codes read as this version, separated by commas
  int incidence_length = 0;
  int confidential_length = 0;
  int abstract_length = 0;
  int version_column = 0;
  std::vector<ShippedItem> items;  ///< in column order

  /// The column where an item starts, 0 when the layout lacks it.
  int StartOf(int number) const;
};

/// The layouts of these names, oldest first; none given means all. A name that is not shipped is
/// kErrBadArgument.
std::vector<ShippedLayout> LoadShippedLayouts(const std::vector<std::string>& names);

}  // namespace qm
