#include "synthetic/record_line.h"

#include <algorithm>
#include <tuple>

#include "layout/field_format.h"
#include "runtime/text.h"

namespace qm {

std::string StoredValue(const NAACCRLayout& layout, std::int16_t index, const std::string& value) {
  if (value.empty()) return value;
  return PadValue(value, layout.FieldJustification(index), layout.FieldLength(index));
}

std::string RecordLine(const NAACCRLayout& layout, const ItemValues& items) {
  std::vector<std::tuple<std::size_t, std::size_t, std::string>> pieces;
  for (const auto& [number, value] : items) {
    const std::int16_t index = layout.IndexByNAACCRItemNo(static_cast<std::int16_t>(number));
    if (index < 1 || value.empty()) continue;
    pieces.emplace_back(static_cast<std::size_t>(layout.FieldStart(index)) - 1,
                        static_cast<std::size_t>(layout.FieldLength(index)),
                        StoredValue(layout, index, value));
  }
  std::ranges::sort(pieces);
  const auto length = static_cast<std::size_t>(layout.LengthOfAbstract());
  std::string line;
  line.reserve(length + 16);
  std::size_t column = 0;  // in characters
  for (const auto& [start, width, value] : pieces) {
    line.append(start - column, ' ');
    const std::string_view shown = CharacterSlice(value, 0, width);
    line += shown;
    column = start + CharacterCount(shown);
  }
  line.append(length - column, ' ');
  line += '\n';
  return line;
}

}  // namespace qm
