// The columns of one fixed-width record, counted in characters from 1. Character positions are
// found once, so that cutting hundreds of fields out of a long record stays linear.
#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

namespace qm {

class RecordColumns {
 public:
  /// The record must outlive this object.
  explicit RecordColumns(std::string_view record);

  /// `length` characters from column `start`, less where the record ends. A start below 1 or a
  /// negative length is error 5.
  std::string_view Cut(std::int16_t start, std::int16_t length) const;

 private:
  std::string_view record_;
  /// Byte offset of every character and of the end; empty while the record is plain ASCII.
  std::vector<std::uint32_t> offsets_;
};

}  // namespace qm
