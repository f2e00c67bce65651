#include "matching/patient_rows.h"

#include <algorithm>
#include <utility>

#include <qm/error.h>

namespace qm {

namespace {

constexpr std::size_t kIdBytes = 4;
constexpr std::size_t kMostRows = std::size_t{1} << 31U;
constexpr std::int32_t kErrTooManyRows = 7;

std::uint32_t MaskOf(std::size_t bytes) {
  return static_cast<std::uint32_t>((std::uint64_t{1} << (8 * bytes)) - 1);
}

}  // namespace

PatientRows::PatientRows(const std::vector<std::string>& columns, const std::vector<bool>& blocks)
    : columns_(columns.size()), codes_(columns.size()) {
  for (std::size_t i = 0; i < columns.size(); ++i) {
    columns_[i].name = columns[i];
    columns_[i].blocks = blocks[i];
  }
  Lay();
  bytes_.resize(kReadAhead);
}

void PatientRows::Lay() {
  row_bytes_ = kIdBytes;
  for (Column& column : columns_) {
    column.mask = MaskOf(column.bytes);
    column.offset = std::exchange(row_bytes_, row_bytes_ + column.bytes);
  }
}

void PatientRows::Write(std::uint8_t* p, std::uint32_t value, std::size_t bytes) {
  for (std::size_t i = 0; i < bytes; ++i) p[i] = static_cast<std::uint8_t>(value >> (8 * i));
}

// Every row is written anew, with a byte more for the column: three times at most in its life.
void PatientRows::Widen(Column& column) {
  const std::size_t old_row_bytes = row_bytes_;
  const std::size_t end = column.offset + column.bytes;
  const std::size_t room = bytes_.capacity() / old_row_bytes;
  ++column.bytes;
  Lay();
  std::vector<std::uint8_t> wider;
  wider.reserve(std::max(room, count_) * row_bytes_ + kReadAhead);
  wider.resize(count_ * row_bytes_ + kReadAhead);
  for (std::size_t row = 0; row < count_; ++row) {
    const std::uint8_t* const from = bytes_.data() + row * old_row_bytes;
    std::uint8_t* const to = wider.data() + row * row_bytes_;
    std::copy(from, from + end, to);
    std::copy(from + end, from + old_row_bytes, to + end + 1);
  }
  bytes_ = std::move(wider);
}

PatientRows::RowNumber PatientRows::Add(std::int32_t patient_id,
                                        std::span<const std::optional<std::string_view>> values) {
  if (count_ == kMostRows) RaiseRunTime(kErrTooManyRows);
  for (std::size_t i = 0; i < columns_.size(); ++i) {
    codes_[i] = values[i] ? columns_[i].values.Add(*values[i]) + 1 : kNull;
    while (codes_[i] > columns_[i].mask) Widen(columns_[i]);
  }
  const auto row = static_cast<RowNumber>(count_);
  bytes_.resize((count_ + 1) * row_bytes_ + kReadAhead);
  std::uint8_t* const to = bytes_.data() + count_ * row_bytes_;
  Write(to, static_cast<std::uint32_t>(patient_id), kIdBytes);
  for (std::size_t i = 0; i < columns_.size(); ++i) {
    Write(to + columns_[i].offset, codes_[i], columns_[i].bytes);
    if (columns_[i].blocks && indexed_ != 0) columns_[i].later[codes_[i]].push_back(row);
  }
  ++count_;
  if (!rows_of_patients_.empty()) rows_of_patients_.emplace(patient_id, row);
  ++scattered_;
  return row;
}

bool PatientRows::Remove(std::int32_t patient_id) {
  if (rows_of_patients_.empty()) {
    rows_of_patients_.reserve(count_);
    for (RowNumber row = 0; row < count_; ++row) {
      if (!IsGone(row)) rows_of_patients_.emplace(PatientId(Row(row)), row);
    }
  }
  const auto [first, last] = rows_of_patients_.equal_range(patient_id);
  if (first == last) return false;
  gone_.resize(count_ / 64 + 1);
  for (auto it = first; it != last; ++it) {
    gone_[it->second / 64] |= std::uint64_t{1} << (it->second % 64);
    ++gone_count_;
    ++scattered_;
  }
  rows_of_patients_.erase(first, last);
  return true;
}

// The blocking column that brings most rows at a time, if there is one.
const PatientRows::Column* PatientRows::BroadestColumn() const {
  const Column* broadest = nullptr;
  double most = 0;
  std::vector<std::uint32_t> counts;
  for (const Column& column : columns_) {
    if (!column.blocks) continue;
    counts.assign(column.Limit(), 0);
    double brought = 1;
    for (RowNumber row = 0; row < count_; ++row) brought += 2 * counts[CodeAt(Row(row), column)]++;
    if (brought > most) broadest = &column;
    most = std::max(most, brought);
  }
  return broadest;
}

// Rows that are brought together stand together, so that they are read one after the other.
void PatientRows::SortRows() {
  const Column* const column = BroadestColumn();
  std::vector<std::size_t> places(column != nullptr ? column->Limit() + 1 : 2);
  const auto group = [&](RowNumber row) {
    return column != nullptr ? CodeAt(Row(row), *column) : Code{0};
  };
  for (RowNumber row = 0; row < count_; ++row) places[group(row) + 1] += IsGone(row) ? 0 : 1;
  for (std::size_t i = 1; i < places.size(); ++i) places[i] += places[i - 1];
  const std::size_t kept = places.back();
  std::vector<std::uint8_t> sorted(kept * row_bytes_ + kReadAhead);
  for (RowNumber row = 0; row < count_; ++row) {
    if (IsGone(row)) continue;
    std::copy_n(Row(row), row_bytes_, sorted.data() + places[group(row)]++ * row_bytes_);
  }
  bytes_ = std::move(sorted);
  count_ = kept;
  gone_.clear();
  gone_count_ = 0;
  rows_of_patients_.clear();
}

void PatientRows::IndexRows() {
  SortRows();
  for (Column& column : columns_) {
    if (!column.blocks) continue;
    column.later.clear();
    column.starts.assign(column.Limit() + 1, 0);
    for (RowNumber row = 0; row < count_; ++row) ++column.starts[CodeAt(Row(row), column) + 1];
    for (std::size_t c = 1; c < column.starts.size(); ++c) column.starts[c] += column.starts[c - 1];
    column.rows.resize(count_);
    std::vector<RowNumber> next(column.starts.begin(), column.starts.end() - 1);
    for (RowNumber row = 0; row < count_; ++row) {
      column.rows[next[CodeAt(Row(row), column)]++] = row;
    }
  }
  indexed_ = std::max<std::size_t>(count_, 1);
  scattered_ = 0;
}

std::span<const PatientRows::RowNumber> PatientRows::IndexedRows(const Column& column,
                                                                 Code code) const {
  if (code + std::size_t{1} >= column.starts.size()) return {};
  return std::span(column.rows)
      .subspan(column.starts[code], column.starts[code + 1] - column.starts[code]);
}

std::span<const PatientRows::RowNumber> PatientRows::LaterRows(const Column& column,
                                                               Code code) const {
  const auto rows = column.later.find(code);
  return rows == column.later.end() ? std::span<const RowNumber>() : std::span(rows->second);
}

std::size_t PatientRows::Bytes() const {
  std::size_t bytes = bytes_.capacity() + gone_.capacity() * sizeof(std::uint64_t);
  for (const Column& column : columns_) {
    bytes += column.values.Bytes();
    bytes += column.blocks ? (count_ + column.Limit()) * sizeof(RowNumber) : 0;
  }
  return bytes;
}

}  // namespace qm
