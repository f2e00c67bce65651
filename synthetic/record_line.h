// RecordLine: writes item values as one fixed-width line, each padded as the layout says.
#pragma once

#include <string>
#include <vector>

#include <qm/naaccr_layout.h>

#include "synthetic/case_items.h"

namespace qm {

/// The value as the layout's field stores it: trimmed and padded by its justification; an empty one
/// stays empty. `index` is the field's index.
std::string StoredValue(const NAACCRLayout& layout, std::int16_t index, const std::string& value);

/// One line, with its LF, of the length of an abstract. Items that the layout lacks are left out;
/// a value longer than its columns is cut.
std::string RecordLine(const NAACCRLayout& layout, const ItemValues& items);

}  // namespace qm
