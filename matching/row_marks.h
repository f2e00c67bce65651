// RowMarks: four bytes a row that tell, without a look at the row, which of the weightiest rules of
// plain equality it cannot satisfy. They stand in the order in which blocking brings the rows, so a
// search reads them one after the other and fetches only rows that can still reach the cut-off.
//
// Each of those rules has a byte of the mark, its lane: 0 for a missing text, else a remainder of
// the text's code. Equal texts have equal lanes, different ones seldom.
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

  static constexpr std::size_t kMostLanes = sizeof(Mark);

  struct Lane {
    std::size_t rule = 0;
    bool same = false;  // as the rule's `DerivedValues::IsSame` was
  };

  /// What a lane holds for a text that is not missing, in its place.
  static Mark InLane(std::size_t lane, Code text) { return (1 + text % 255) << (8 * lane); }

  void Make(const PatientRows& rows, const IndexRules& rules);
  /// Until they are made anew, every row passes.
  void Drop() { lanes_.clear(); }
  /// Whether texts have other codes than when they were made.
  bool AreStale(const IndexRules& rules) const;

  std::span<const Lane> lanes() const { return lanes_; }
  /// Of the first rows, in their order.
  std::span<const Mark> OfRows() const { return of_rows_; }
  /// Of `IndexedRows` of the column, one for each; none where they would save nothing.
  std::span<const Mark> OfIndexedRows(const PatientRows& rows, std::size_t column, Code code) const;
  std::size_t Bytes() const;

 private:
  static std::vector<Lane> ChooseLanes(const IndexRules& rules);
  void FillLane(const PatientRows& rows, const IndexRule& rule, const DerivedValues& derived,
                std::size_t lane);

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
  bool LetsAllPass() const { return needed_ == 0; }
  /// Appends those of the rows that can reach it; a mark for each.
  void Sift(std::span<const RowMarks::Mark> marks, std::span<const RowNumber> rows,
            std::vector<RowNumber>& passed) const;
  /// The same for the rows in their order.
  void Sift(std::span<const RowMarks::Mark> marks, std::vector<RowNumber>& passed) const;

 private:
  static constexpr std::size_t kMarksAtOnce = 16;
  using Passes = std::array<std::uint32_t, kMarksAtOnce>;

  bool SiftSome(const RowMarks::Mark* marks, Passes& passes) const;
  template <typename RowAt>
  void SiftRows(std::span<const RowMarks::Mark> marks, RowAt row_at,
                std::vector<RowNumber>& passed) const;

  const RowMarks& marks_;
  const IndexRules& rules_;
  const RecordSide& record_;
  RowMarks::Mark own_ = 0;    // the record's own lanes
  RowMarks::Mark adds_ = 0;   // what each adds at most, in shares of the weightiest
  std::uint32_t needed_ = 0;  // so many shares must be added
};

}  // namespace qm
