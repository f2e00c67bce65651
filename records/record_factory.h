// RecordFactory: the only maker of the record classes, for the data-set service.
#pragma once

#include <memory>
#include <utility>

#include <qm/record.h>

#include "records/split_record.h"

namespace qm {

class RecordFactory {
 public:
  /// `RecordClass` is `Abstract`, `Patient` or `Tumor`, and the record is of that family.
  template <typename RecordClass>
  static RecordClass Make(std::unique_ptr<SplitRecord> record) {
    return RecordClass(std::move(record));
  }
};

}  // namespace qm
