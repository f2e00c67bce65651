// Look-ups of a layout: from a field's name or item number to its lowest field index, as a scan
// from index 1 would find it, at the price of one hash probe. Built once at the end of a load.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace qm {

class LayoutLookups {
 public:
  LayoutLookups() = default;
  /// Over elements 1 to `count` of both arrays.
  LayoutLookups(const std::vector<std::string>& names, const std::vector<std::int16_t>& numbers,
                std::int16_t count);

  /// Field index, or -1. Without regard to case and without allocation for ASCII names.
  std::int16_t ByName(std::string_view name) const;
  std::int16_t ByNumber(std::int16_t number) const;

 private:
  struct NameHash {
    using is_transparent = void;
    std::size_t operator()(std::string_view name) const noexcept;
  };
  struct NameEqual {
    using is_transparent = void;
    bool operator()(std::string_view a, std::string_view b) const;
  };

  std::unordered_map<std::string, std::int16_t, NameHash, NameEqual> by_name_;
  std::unordered_map<std::int16_t, std::int16_t> by_number_;
};

}  // namespace qm
