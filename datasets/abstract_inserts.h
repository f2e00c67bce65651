// The three statements that store an imported abstract, one for each abstract table.
#pragma once

#include <cstdint>

#include <qm/naaccr_layout.h>

#include "datasets/record_values.h"

namespace qm {

/// Inserts a row under that key into each abstract table of the session's registry, with the
/// layout's columns. The values stand in the statements as they are: one with an apostrophe breaks
/// its statement, and the tables before stay as they are.
void InsertAbstractRows(const NAACCRLayout& layout, const RecordValues& values, std::int32_t key);

}  // namespace qm
