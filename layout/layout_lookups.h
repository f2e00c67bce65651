// Look-ups of a layout: from a field's name or item number to its lowest field index, as a scan
// from index 1 would find it, at the price of one probe. Built once at the end of a load.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "runtime/name_index.h"

namespace qm {

class LayoutLookups {
 public:
  LayoutLookups() = default;
  /// Over elements 1 to `count` of both arrays.
  LayoutLookups(const std::vector<std::string>& names, const std::vector<std::int16_t>& numbers,
                std::int16_t count);

  /// Field index, or -1. Without regard to case, and without allocation for ASCII names.
  std::int16_t ByName(std::string_view name) const;
  std::int16_t ByNumber(std::int16_t number) const;

 private:
  NameIndex by_name_{NameIndex::Letters::kLatin};
  std::vector<std::int16_t> by_number_;  // the field of each number from the lowest one on; 0: none
  std::int16_t lowest_ = 0;
};

}  // namespace qm
