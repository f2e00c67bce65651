// Storing an imported record: one new abstract with the next identifier, its rows in the abstract
// tables and its texts in the memo column. The caller's transaction holds all of it together.
#pragma once

#include <cstdint>

#include "datasets/import_record.h"

namespace qm {

/// Gives the identifier. The rows are inserted as by `AddAbstract`; a record that has a value with
/// an apostrophe goes in through recordsets. A counter that gives no identifier is an error that
/// names it.
std::int32_t StoreImportRecord(const ImportRecord& record);

}  // namespace qm
