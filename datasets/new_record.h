// NewRecord: a patient or a tumor in the making, filled from an abstract.
//
// Making one reads the abstract and prepares a row for each table of the family; nothing is stored
// yet, so whatever cannot be read or has no column fails here. `Save` stores all rows under their
// key, one after the other.
//
// Values are copied as they are stored, Null too: every field that the layout puts in a table of
// both families, also where the abstract holds none. Texts stand in the memo: those that the layout
// gives to the family; without any the memo stays Null.
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include <qm/naaccr_layout.h>
#include <qm/record.h>

#include "records/record_family.h"

namespace qm {

class NewRecord {
 public:
  /// 3021 when the abstract stands on no row, or lacks its row in a table, which it names;
  /// kErrRowChanged when the registry links it to others than it shows, unless an edit is pending.
  NewRecord(const RecordFamily& family, const NAACCRLayout& layout, Abstract& source);

  /// The new row of the primary table.
  Recordset& Primary() { return *rows_.front(); }
  void Save(std::int32_t key);

 private:
  const RecordFamily& family_;
  std::vector<std::shared_ptr<Recordset>> rows_;
};

/// Writes an identifier into the abstract's own row, with what else was assigned to that row. A
/// failure takes the identifier back; the rest stays pending. With such an edit the links are
/// looked at afterwards: kErrRowChanged when they are not stored as the row shows them.
void SetLink(Abstract& qmAbstract, std::string_view column, std::int32_t id);

}  // namespace qm
