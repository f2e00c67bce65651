// FieldChanges: what an edit changed, for the audit log. Fields are remembered before they are set,
// and compared with what the record holds when it is saved.
#pragma once

#include <string>
#include <vector>

#include <qm/naaccr_layout.h>
#include <qm/record.h>
#include <qm/variant.h>

namespace qm::tool {

class FieldChanges {
 public:
  FieldChanges(Record& record, const NAACCRLayout& layout) : record_(record), layout_(layout) {}

  /// Once for each field, before the first one is set.
  void Remember(const std::string& name);

  /// "LastName: 'SMITH' -> 'SMYTH'; Sex: Null -> '1'": the fields whose values are others now, in
  /// the order in which they were remembered; empty when none is.
  std::string Text() const;

 private:
  struct Before {
    std::string name;
    Variant value;
  };

  Record& record_;
  const NAACCRLayout& layout_;
  std::vector<Before> fields_;
};

}  // namespace qm::tool
