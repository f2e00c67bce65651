// PatientRows: the patients' columns in memory, a few bytes a column: each distinct value is held
// once, in the column's dictionary, and a row holds its code there (0 for Null, else the value's
// number plus one), in as many bytes as the codes need. Rows are only added and marked as gone.
//
// For blocking, a column can be told to keep the rows of each value: those that were there at
// `IndexRows` one after the other, later ones in a list of their own. `IndexRows` sorts the rows,
// so row numbers end there.
//
// Reading is safe for many threads at once; adding and removing need the object alone.
#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "comparison/name_dictionary.h"

namespace qm {

class PatientRows {
 public:
  using RowNumber = std::uint32_t;
  using Code = std::uint32_t;
  static constexpr Code kNull = 0;

  struct Column {
    std::string name;
    NameDictionary values{};
    bool blocks = false;  ///< keeps the rows of each value
    std::uint32_t mask = 0xFF;
    std::size_t bytes = 1;
    std::size_t offset = 0;
    std::vector<RowNumber> starts{};  // of each code's rows within `rows`
    std::vector<RowNumber> rows{};
    std::unordered_map<Code, std::vector<RowNumber>> later{};

    /// More than every code.
    std::size_t Limit() const { return values.Limit() + 1; }
    std::string_view Text(Code code) const {
      return code == kNull ? std::string_view() : values.Name(code - 1);
    }
    /// The code of a value; nothing when no row ever had it.
    std::optional<Code> Find(std::string_view text) const {
      const auto number = values.Find(text);
      return number ? std::optional<Code>(*number + 1) : std::nullopt;
    }
  };

  /// The names of the columns; `blocks` tells which keep their rows.
  PatientRows(const std::vector<std::string>& columns, const std::vector<bool>& blocks);

  void Reserve(std::size_t rows) { bytes_.reserve(rows * row_bytes_ + kReadAhead); }
  /// A patient's values in the order of the columns; nothing for Null.
  RowNumber Add(std::int32_t patient_id, std::span<const std::optional<std::string_view>> values);
  /// Every row of the patient is gone; false when there was none.
  bool Remove(std::int32_t patient_id);
  /// Puts the rows of blocking columns in order, those gone left out.
  void IndexRows();
  /// Whether so many rows were added or removed since that this is worth while.
  bool IsScattered() const { return scattered_ > 1024 + count() / 8; }

  std::size_t count() const { return count_; }  ///< rows, those gone included
  std::size_t patient_count() const { return count_ - gone_count_; }
  std::span<const Column> columns() const { return columns_; }
  std::span<Column> columns() { return columns_; }
  std::size_t Bytes() const;

  const std::uint8_t* Row(RowNumber row) const { return bytes_.data() + row * row_bytes_; }
  static std::int32_t PatientId(const std::uint8_t* row) {
    return static_cast<std::int32_t>(Read(row));
  }
  static Code CodeAt(const std::uint8_t* row, const Column& column) {
    return Read(row + column.offset) & column.mask;
  }
  bool IsGone(RowNumber row) const {
    return gone_count_ != 0 && row / 64 < gone_.size() && (gone_[row / 64] >> (row % 64) & 1U) != 0;
  }

  /// The rows whose value in the column has that code, in two stretches, each in ascending order.
  std::span<const RowNumber> IndexedRows(const Column& column, Code code) const;
  std::span<const RowNumber> LaterRows(const Column& column, Code code) const;

 private:
  static constexpr std::size_t kReadAhead = 4;

  static std::uint32_t Read(const std::uint8_t* p) {
    std::uint32_t word;
    if constexpr (std::endian::native == std::endian::little) {
      std::memcpy(&word, p, sizeof word);
    } else {
      word = static_cast<std::uint32_t>(p[0]) | static_cast<std::uint32_t>(p[1]) << 8U |
             static_cast<std::uint32_t>(p[2]) << 16U | static_cast<std::uint32_t>(p[3]) << 24U;
    }
    return word;
  }
  static void Write(std::uint8_t* p, std::uint32_t value, std::size_t bytes);
  void Lay();
  const Column* BroadestColumn() const;
  void SortRows();
  void Widen(Column& column);

  std::vector<Column> columns_;
  std::size_t row_bytes_ = 0;
  std::vector<std::uint8_t> bytes_;
  std::size_t count_ = 0;
  std::size_t indexed_ = 0;  // so many rows were there at IndexRows
  std::vector<std::uint64_t> gone_;
  std::size_t gone_count_ = 0;
  std::size_t scattered_ = 0;
  std::unordered_multimap<std::int32_t, RowNumber> rows_of_patients_;  // made when first needed
  std::vector<Code> codes_;
};

}  // namespace qm
