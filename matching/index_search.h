// IndexSearch: the search of one record after the other among `PatientRows`, with what a thread
// needs for it: its own copies of the expressions, and the agreement of the record in work with
// each text that it met.
//
// A candidate is first weighed by what each column can add at most, which is remembered by the
// column's code; only one that can reach the cut-off is scored in the order of the rules, with the
// defined rounding after each. Where an evaluation can fail, or a total overflow, all are scored.
//
// Rows and rules stay unchanged during a search; they may have grown before the next.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "comparison/prepared_comparator.h"
#include "matching/candidate_search.h"
#include "matching/index_rules.h"
#include "matching/match_field.h"
#include "matching/patient_rows.h"

namespace qm {

class IndexSearch {
 public:
  /// Both outlive it.
  IndexSearch(const PatientRows& rows, const IndexRules& rules);

  /// The candidates at or above the cut-off, in no order. `abstract` reads its fields; of the
  /// options those of order and quotes are not asked for. Errors as of `FindCandidates`.
  const std::vector<Candidate>& Search(const FieldReader& abstract,
                                       const CandidateOptions& options);

 private:
  using Code = PatientRows::Code;
  using RowNumber = PatientRows::RowNumber;

  // The record's side of a rule.
  struct Side {
    bool is_ready = false;
    std::string text{};
    bool missing = true;
    std::optional<Code> code{};
    std::optional<PreparedComparator> prepared{};
    std::vector<std::uint8_t> percents{};  // by code of the derived texts
    std::vector<Code> known{};             // those that are known
    bool all_known = false;
    bool remembers = false;
  };
  // What a column's value adds at most, by its code.
  struct Group {
    const PatientRows::Column* column = nullptr;
    std::vector<std::int16_t> most{};
    std::vector<Code> known{};
    bool remembers = false;
    std::int16_t most_of_all = 0;
    std::int32_t least = 0;  // what must be reached behind it
  };
  struct Condition {
    const PatientRows::Column* column = nullptr;
    std::optional<Code> code{};
  };

  std::string Evaluate(RuleExpression& expression, const FieldReader& abstract);
  void Block(const FieldReader& abstract);
  bool IsTaken(const std::uint8_t* row, std::size_t condition) const;
  std::size_t CountRows() const;
  template <typename Visit>
  void VisitRows(std::span<const RowNumber> rows, std::size_t condition, Visit visit);
  template <typename Visit>
  void VisitCandidates(Visit visit);

  void PrepareAll();
  void PrepareSide(std::size_t rule);
  void PrepareGroups();
  void Forget();

  const PatientRows::Column& ColumnOf(const DerivedValues& derived) const {
    return rows_.columns()[derived.column()];
  }
  std::int16_t Percent(std::size_t rule, Code text);
  std::int16_t CompareTexts(std::size_t rule, std::string_view text) const;
  std::int16_t Most(std::size_t group, Code value, std::int32_t least);
  bool CanReach(const std::uint8_t* row);
  void Consider(RowNumber row);
  std::int16_t Score(RowNumber row, std::vector<RuleScore>* explained);
  RuleScore ApplyRule(std::size_t rule, RowNumber row, std::int32_t& total, bool explain);
  std::string_view PatientText(std::size_t rule, RowNumber row, std::optional<Code>& code);
  std::string FieldOf(RowNumber row, std::string_view name, std::string_view rule) const;

  const PatientRows& rows_;
  const IndexRules& rules_;
  std::vector<RuleExpression> expressions_;
  std::vector<RuleExpression> blocking_;
  std::vector<Condition> conditions_;
  std::vector<Side> sides_;
  std::vector<Group> groups_;
  std::vector<Candidate> found_;
  std::vector<std::string> fields_;
  std::string value_;
  std::string patient_text_;
  const CandidateOptions* options_ = nullptr;
  const FieldReader* abstract_ = nullptr;
  std::size_t expected_ = 0;  // about so many candidates
  std::int32_t cutoff_ = 0;
  bool passes_over_ = false;
  bool by_library_ = false;
};

/// The order of the program's results: by score, then by `PatientID`.
void SortCandidates(std::vector<Candidate>& candidates);

}  // namespace qm
