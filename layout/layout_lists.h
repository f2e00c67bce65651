// The three column lists of a loaded layout: which fields each physical abstract table stores, as
// the text of an INSERT's column list and as field indexes in the same order. Columns and values
// built from one list always agree, also after a reload and with several layouts loaded.
//
// Each list starts with the key, "AbsRefID", which has no field index; a field of that name enters
// no list. Text fields are in none. A list lives as long as its layout and until the next load.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include <qm/naaccr_layout.h>

namespace qm {

inline constexpr int kAbstractTables = 3;

struct ColumnList {
  /// "AbsRefID" and the names of `fields`, separated by commas.
  std::string columns;
  /// The fields, without the key, in the order of `columns`.
  std::vector<std::int16_t> fields;
};

/// The list of abstract table 1, 2 or 3. Any other table, and a layout that never reached the
/// reading of fields, is the subscript error (9).
const ColumnList& AbstractColumns(const NAACCRLayout& layout, int table);

}  // namespace qm
