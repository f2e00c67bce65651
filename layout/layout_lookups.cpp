#include "layout/layout_lookups.h"

#include <algorithm>

namespace qm {

LayoutLookups::LayoutLookups(const std::vector<std::string>& names,
                             const std::vector<std::int16_t>& numbers, std::int16_t count) {
  if (count < 1) return;
  by_name_.Clear(static_cast<std::size_t>(count));
  const auto [low, high] = std::minmax_element(numbers.begin() + 1, numbers.begin() + 1 + count);
  lowest_ = *low;
  by_number_.assign(static_cast<std::size_t>(*high - *low) + 1, 0);
  for (std::int16_t i = 1; i <= count; ++i) {
    const auto element = static_cast<std::size_t>(i);
    by_name_.Add(names[element], i);
    std::int16_t& field = by_number_[static_cast<std::size_t>(numbers[element] - lowest_)];
    if (field == 0) field = i;
  }
}

std::int16_t LayoutLookups::ByName(std::string_view name) const {
  return static_cast<std::int16_t>(by_name_.Find(name));
}

std::int16_t LayoutLookups::ByNumber(std::int16_t number) const {
  const int place = number - lowest_;
  if (place < 0 || static_cast<std::size_t>(place) >= by_number_.size()) return -1;
  const std::int16_t field = by_number_[static_cast<std::size_t>(place)];
  return field == 0 ? std::int16_t{-1} : field;
}

}  // namespace qm
