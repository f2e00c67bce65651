// A fixed-width record cut into its fields, each value formatted as a stored abstract holds it.
//
// One pass over the record, whatever its length and alphabet: columns count characters. Text
// fields (code "X") and the key AbsRefID are left out.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <qm/naaccr_layout.h>

namespace qm {

/// Field index and value, in ascending order of the index.
using RecordValues = std::vector<std::pair<std::int16_t, std::string>>;

/// A date (justification "D") takes the numeric pattern and then, where it is a date, the stored
/// form; any other value that is not empty is trimmed and padded by its justification code. Columns
/// beyond the record's end give an empty value; a field start below 1 is error 5.
RecordValues CutRecord(const NAACCRLayout& layout, std::string_view record);

}  // namespace qm
