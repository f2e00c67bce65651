// IndexSearch: the search of one record after the other among `PatientRows`, with what a thread
// needs for it.
//
// Candidates are sifted by their marks (row_marks.h), then weighed by what each column can add at
// most (candidate_weigher.h); only those that can reach the cut-off are scored in the order of the
// rules, with the defined rounding after each. Where an evaluation can fail, or a total overflow,
// all are scored.
//
// Rows and rules stay unchanged during a search; they may have grown before the next.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "matching/candidate_search.h"
#include "matching/candidate_weigher.h"
#include "matching/index_rules.h"
#include "matching/match_field.h"
#include "matching/patient_rows.h"
#include "matching/record_side.h"
#include "matching/row_marks.h"

namespace qm {

class IndexSearch {
 public:
  /// All outlive it.
  IndexSearch(const PatientRows& rows, const IndexRules& rules, const RowMarks& marks);

  /// The candidates at or above the cut-off, in no order. `abstract` reads its fields; of the
  /// options those of order and quotes are not asked for. Errors as of `FindCandidates`.
  const std::vector<Candidate>& Search(const FieldReader& abstract,
                                       const CandidateOptions& options);

 private:
  using Code = PatientRows::Code;
  using RowNumber = PatientRows::RowNumber;

  struct Condition {
    std::size_t number = 0;  // of the column
    const PatientRows::Column* column = nullptr;
    std::optional<Code> code{};
  };

  void Block();
  bool IsTaken(const std::uint8_t* row, std::size_t condition) const;
  bool AnyRow() const;
  void Take(std::span<const RowNumber> rows);
  void TakeRowsOf(std::size_t condition);
  void TakeAllRows();
  void TakeRows();

  void ResolveSides();
  void ConsiderTaken();
  void Consider(RowNumber row);
  std::int16_t Score(RowNumber row, std::vector<RuleScore>* explained);
  RuleScore ApplyRule(std::size_t rule, RowNumber row, std::int32_t& total, bool explain);
  std::string_view PatientText(std::size_t rule, RowNumber row, std::optional<Code>& code);
  std::string FieldOf(RowNumber row, std::string_view name, std::string_view rule) const;

  const PatientRows& rows_;
  const IndexRules& rules_;
  const RowMarks& marks_;
  RecordSide record_;
  RowSieve sieve_;
  CandidateWeigher weigher_;
  std::vector<Condition> conditions_;
  std::vector<RowNumber> taken_;
  std::vector<Candidate> found_;
  std::string patient_text_;
  const CandidateOptions* options_ = nullptr;
  std::int32_t cutoff_ = 0;
  bool passes_over_ = false;
  bool by_library_ = false;
};

/// The order of the program's results: by score, then by `PatientID`.
void SortCandidates(std::vector<Candidate>& candidates);

}  // namespace qm
