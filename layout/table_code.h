// Table codes of the field table. Fields name their physical table by a bit value: 1, 2 and 4 stand
// for tables 1, 2 and 3. Field access reads a code that is no power of two as the table itself.
#pragma once

#include <bit>
#include <cstdint>

namespace qm {

/// The table, counted from 1, that a stored code means for field access; 0 is none.
constexpr int TableOfCode(std::int16_t code) {
  const auto bits = static_cast<std::uint16_t>(code);
  return code > 0 && std::has_single_bit(bits) ? std::countr_zero(bits) + 1 : code;
}

/// The abstract table that a code puts a field in at import: 1, 2 or 4 only; 0 is none.
constexpr int AbstractTableOfCode(std::int16_t code) {
  return code == 1 || code == 2 || code == 4 ? TableOfCode(code) : 0;
}

}  // namespace qm
