// The mechanism of `GetAbstract`, `GetPatient` and `GetTumor`: one recordset a physical table, the
// primary one opened with a selection, the others tied to its first row and opened on demand.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include <qm/naaccr_layout.h>

#include "records/split_record.h"

namespace qm {

struct Selection {
  std::string condition;  ///< what follows WHERE; an empty one the engine refuses
  std::string order_by;   ///< empty: none
};

class Retrieval {
 public:
  Retrieval(const RecordFamily& family, std::shared_ptr<NAACCRLayout> layout,
            std::int16_t cursor_location);

  /// The rows that the selection gives, none included.
  std::unique_ptr<SplitRecord> Select(const Selection& selection) const;
  /// An empty, updatable view over the global recordsets, which are reopened for it.
  std::unique_ptr<SplitRecord> EmptyView() const;

 private:
  std::shared_ptr<Recordset> NewRecordset() const;
  int TableCount() const { return ((*layout_).*(family_->table_count))(); }

  const RecordFamily* family_;
  std::shared_ptr<NAACCRLayout> layout_;
  std::int16_t cursor_location_;
};

}  // namespace qm
