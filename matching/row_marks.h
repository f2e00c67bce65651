// RowMarks: four bytes a row that tell, without a look at the row, which of the weightiest rules of
// plain equality it cannot satisfy. They stand in the order in which blocking brings the rows, so a
// search reads them one after the other and fetches only rows that can still reach the cut-off.
//
// Each of those rules has a lane in the mark: 0 for a missing text, else a remainder of the text's
// code. Equal texts have equal lanes, different ones seldom.
//
// Order of calls: `Make` when the rows are in order (`PatientRows::IndexRows`) and the rules know
// their values; again after both changed, or when they are stale. Rows that came since have none.
// Reading is safe for many threads at once.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "matching/index_rules.h"
#include "matching/patient_rows.h"
#include "matching/record_side.h"

namespace qm {

class RowMarks {
 public:
  using Mark = std::uint32_t;
  using Code = PatientRows::Code;
  using RowNumber = PatientRows::RowNumber;

  struct Lane {
    std::size_t rule = 0;
    unsigned shift = 0;
    unsigned width = 0;
    bool same = false;  // as the rule's `DerivedValues::IsSame` was

    /// What stands in the lane for a text that is not missing.
    Mark Of(Code text) const { return 1 + text % ((1U << width) - 1); }
  };

  void Make(const PatientRows& rows, const IndexRules& rules);
  /// Whether texts have other codes than when they were made.
  bool AreStale(const IndexRules& rules) const;

  std::span<const Lane> lanes() const { return lanes_; }
  /// Of the first rows, in their order.
  std::span<const Mark> OfRows() const { return of_rows_; }
  /// Of `IndexedRows` of the column, one for each; none where they would save nothing.
  std::span<const Mark> OfIndexedRows(const PatientRows& rows, std::size_t column, Code code) const;
  std::size_t Bytes() const;

 private:
  void ChooseLanes(const IndexRules& rules);
  void AddLane(const PatientRows& rows, const IndexRules& rules, const Lane& lane);

  std::vector<Lane> lanes_;
  std::vector<Mark> of_rows_;
  std::vector<std::vector<Mark>> of_columns_;  // in the order of the column's rows
  std::size_t in_order_ = 0;                   // the column whose rows stand as they are numbered
};

/// Sifts rows by their marks for one record after the other. One thread's own.
class RowSieve {
 public:
  using RowNumber = PatientRows::RowNumber;

  /// All outlive it.
  RowSieve(const RowMarks& marks, const IndexRules& rules, const RecordSide& record)
      : marks_(marks), rules_(rules), record_(record) {}

  /// For the record whose sides are known, with rules that allow to pass over a row
  /// (`IndexRules::CanPassOver`).
  void Prepare(std::int32_t cutoff);
  /// Whether every row can reach the cut-off for all that the marks tell.
  bool LetsAllPass() const { return needed_ <= 0; }
  /// Appends those of the rows that can reach it; a mark for each.
  void Sift(std::span<const RowMarks::Mark> marks, std::span<const RowNumber> rows,
            std::vector<RowNumber>& passed) const;
  /// The same for the rows in their order.
  void Sift(std::span<const RowMarks::Mark> marks, std::vector<RowNumber>& passed) const;

 private:
  static constexpr std::size_t kBytes = sizeof(RowMarks::Mark);

  template <typename RowAt>
  void SiftRows(std::span<const RowMarks::Mark> marks, RowAt row_at,
                std::vector<RowNumber>& passed) const;

  const RowMarks& marks_;
  const IndexRules& rules_;
  const RecordSide& record_;
  std::array<std::array<std::int32_t, 256>, kBytes> added_{};  // at most, by byte of the mark
  std::int32_t needed_ = 0;
};

}  // namespace qm
