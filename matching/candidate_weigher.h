// CandidateWeigher: which candidates can still reach the cut-off. It never gives less than a
// candidate's score, so whoever scores only what it keeps finds the same.
//
// It goes through the candidates a few hundred at a time, one column after the other. First counts
// what costs a look-up: classes of values, equal texts, agreements that are known for a whole
// column. Of the few that are left it asks for columns with many values, then for single
// agreements, the weightiest first.
//
// Order of calls: `Prepare` when the record's sides are made, then `Keep`. Only for rules of which
// none fails or overflows (`IndexRules::CanPassOver`).
#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "matching/index_rules.h"
#include "matching/patient_rows.h"
#include "matching/record_side.h"

namespace qm {

class CandidateWeigher {
 public:
  using Code = PatientRows::Code;
  using RowNumber = PatientRows::RowNumber;

  /// All outlive it.
  CandidateWeigher(const PatientRows& rows, const IndexRules& rules, RecordSide& record);

  /// About so many candidates will come.
  void Prepare(std::int32_t cutoff, std::size_t expected);
  /// Those of the rows that can reach the cut-off, in their order; valid until the next call.
  std::span<const RowNumber> Keep(std::span<const RowNumber> rows);

 private:
  // A rule of plain equality with many texts.
  struct Equality {
    const Code* texts = nullptr;  // by value; null: the value itself
    Code code = 0;
    std::int32_t most = 0;
    Code Text(Code value) const { return texts != nullptr ? texts[value] : value; }
  };
  // A rule whose agreements are all known.
  struct Agreement {
    const Code* texts = nullptr;
    const std::uint8_t* percents = nullptr;
    const std::int16_t* most = nullptr;
    Code Text(Code value) const { return texts != nullptr ? texts[value] : value; }
  };
  // What a column's values add at most.
  struct Column {
    const PatientRows::Column* held = nullptr;
    const RuleGroup* group = nullptr;
    bool is_constant = false;
    std::vector<std::int32_t> of_class{};
    std::vector<Equality> equalities{};
    std::vector<Agreement> agreements{};
    std::vector<std::int32_t> of_value{};  // all at once, where that pays
    std::int32_t most = 0;                 // of all classes, for columns with many values
  };
  // A rule whose agreements are found one by one.
  struct Single {
    std::size_t rule = 0;
    const PatientRows::Column* held = nullptr;
    const DerivedValues* derived = nullptr;
  };
  struct Weighed {
    RowNumber row = 0;
    std::int32_t total = 0;
  };

  void PrepareColumn(Column& column);
  void PrepareClasses(Column& column);
  void WeighColumn(const Column& column, std::span<const RowNumber> rows);
  static std::int32_t Weigh(const Column& column, Code value);
  bool WeighLate(Weighed& candidate) const;
  bool WeighSingles(Weighed& candidate);
  void FetchLate(RowNumber row) const;
  void FetchSingle(RowNumber row) const;

  const PatientRows& rows_;
  const IndexRules& rules_;
  RecordSide& record_;
  std::vector<Column> columns_;
  std::vector<std::vector<std::int16_t>> most_;  // by rule and agreement
  std::vector<Single> singles_;
  std::vector<Column*> early_;
  std::vector<Column*> late_;
  std::int32_t start_ = 0;  // what every candidate may have
  std::int32_t cutoff_ = 0;
  std::size_t expected_ = 0;
  std::vector<std::int32_t> totals_;
  std::vector<Code> codes_;
  std::vector<Weighed> left_;
  std::vector<RowNumber> kept_;
};

}  // namespace qm
