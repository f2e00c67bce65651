// PackedRows: many rows in one block of memory, for snapshots and identities. A value costs one
// byte and its content (4, 8 or the length of the text and 4); a row is unpacked when it is moved
// to.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "dataaccess/provider.h"

namespace qm {

class PackedRows {
 public:
  std::size_t size() const { return starts_.size(); }
  /// Only values in stored form (see `StoredForm`).
  void Append(RowIdentity values);
  void Read(std::size_t index, Row& row) const;
  /// The old content's room is not used again.
  void Replace(std::size_t index, RowIdentity values);

 private:
  std::size_t Pack(RowIdentity values);

  std::string bytes_;
  std::vector<std::size_t> starts_;
};

}  // namespace qm
