// The physical tables of a record family, opened for writing, so that no value stands in a
// statement.
#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include <qm/naaccr_layout.h>
#include <qm/recordset.h>

#include "datasets/record_values.h"
#include "records/record_family.h"

namespace qm {

/// The rows of one table that meet the condition, all of their columns or some, optimistically
/// updatable.
std::shared_ptr<Recordset> OpenFamilyTable(const RecordFamily& family, int table,
                                           std::string_view condition,
                                           std::string_view columns = "*");

/// Assigns what an import stores in abstract table 1, 2 or 3 to the row that the recordset is on.
/// A field without a value is the empty text.
void SetAbstractColumns(Recordset& row, const NAACCRLayout& layout, int table,
                        const RecordValues& values);

/// Assigns the texts, element k for text field k, to the memo column of the row that the recordset
/// is on. Nothing in a layout without text fields.
void SetTexts(Recordset& row, const NAACCRLayout& layout, const std::vector<std::string>& texts);

}  // namespace qm
