#include "matching/index_search.h"

#include <algorithm>
#include <utility>

#include <qm/conversions.h>
#include <qm/error.h>

#include "comparison/comparison_library.h"
#include "dataaccess/statement_splitter.h"
#include "matching/match_scorer.h"
#include "matching/prefetch.h"
#include "runtime/text.h"

namespace qm {

namespace {

// So many rows are weighed at once: they stay in the nearest cache.
constexpr std::size_t kRowsAtOnce = 512;
constexpr std::size_t kRowsAhead = 12;

}  // namespace

IndexSearch::IndexSearch(const PatientRows& rows, const IndexRules& rules, const RowMarks& marks)
    : rows_(rows),
      rules_(rules),
      marks_(marks),
      record_(rows, rules),
      sieve_(marks, rules, record_),
      weigher_(rows, rules, record_) {}

void IndexSearch::Block() {
  conditions_.clear();
  std::string with_zero;
  for (std::size_t i = 0; i < rules_.blocks().size(); ++i) {
    const IndexBlock& block = rules_.blocks()[i];
    const std::string& value = record_.BlockingValue(i);
    if (block.ignored && block.ignored->find("'" + value + "'") != std::string::npos) continue;
    const PatientRows::Column& column = rows_.columns()[block.column];
    conditions_.push_back({block.column, &column, column.Find(value)});
    if (with_zero.empty() && value.find('\0') != std::string::npos) with_zero = value;
  }
  CurrentMatching().rule_in_work = "of tblBlockingParameters (its PatientField)";
  if (!with_zero.empty()) RequireSingleStatement(with_zero);  // as of a search of the database
  CurrentMatching().rule_in_work.clear();
}

// Whether a condition before this one has brought the row.
bool IndexSearch::IsTaken(const std::uint8_t* row, std::size_t condition) const {
  for (std::size_t i = 0; i < condition; ++i) {
    const Condition& before = conditions_[i];
    if (before.code && PatientRows::CodeAt(row, *before.column) == *before.code) return true;
  }
  return false;
}

bool IndexSearch::AnyRow() const {
  if (conditions_.empty()) return rows_.patient_count() != 0;
  const auto is_there = [&](RowNumber row) { return !rows_.IsGone(row); };
  return std::ranges::any_of(conditions_, [&](const Condition& condition) {
    if (!condition.code) return false;
    return std::ranges::any_of(rows_.IndexedRows(*condition.column, *condition.code), is_there) ||
           std::ranges::any_of(rows_.LaterRows(*condition.column, *condition.code), is_there);
  });
}

void IndexSearch::Take(std::span<const RowNumber> rows) {
  taken_.insert(taken_.end(), rows.begin(), rows.end());
}

void IndexSearch::TakeRowsOf(std::size_t condition) {
  const auto& [number, column, code] = conditions_[condition];
  if (!code) return;
  std::size_t taken = taken_.size();
  const auto indexed = rows_.IndexedRows(*column, *code);
  const auto marks = marks_.OfIndexedRows(rows_, number, *code);
  if (passes_over_ && !sieve_.LetsAllPass() && !marks.empty()) {
    sieve_.Sift(marks, indexed, taken_);
  } else {
    Take(indexed);
  }
  Take(rows_.LaterRows(*column, *code));
  for (std::size_t i = taken; i < taken_.size(); ++i) {
    if (i + kRowsAhead < taken_.size()) Prefetch(rows_.Row(taken_[i + kRowsAhead]));
    const RowNumber row = taken_[i];
    if (!rows_.IsGone(row) && !IsTaken(rows_.Row(row), condition)) taken_[taken++] = row;
  }
  taken_.resize(taken);
}

void IndexSearch::TakeAllRows() {
  RowNumber row = 0;
  if (passes_over_ && !sieve_.LetsAllPass()) {
    sieve_.Sift(marks_.OfRows(), taken_);
    row = static_cast<RowNumber>(marks_.OfRows().size());
  }
  for (; row < rows_.count(); ++row) taken_.push_back(row);
  std::erase_if(taken_, [&](RowNumber each) { return rows_.IsGone(each); });
}

void IndexSearch::TakeRows() {
  if (conditions_.empty()) TakeAllRows();
  for (std::size_t i = 0; i < conditions_.size(); ++i) TakeRowsOf(i);
}

std::string IndexSearch::FieldOf(RowNumber row, std::string_view name,
                                 std::string_view rule) const {
  const std::uint8_t* const at = rows_.Row(row);
  if (EqualsIgnoreCase(name, "PatientID")) return std::to_string(PatientRows::PatientId(at));
  for (const PatientRows::Column& column : rows_.columns().first(kSearchColumnCount)) {
    if (EqualsIgnoreCase(name, column.name)) {
      return std::string(column.Text(PatientRows::CodeAt(at, column)));
    }
  }
  RaiseNoSuchField(name, rule);
}

// The patient's text for a rule, as it is compared, with its code where it has one.
std::string_view IndexSearch::PatientText(std::size_t r, RowNumber row, std::optional<Code>& code) {
  const IndexRule& rule = rules_.rules()[r];
  if (rule.derived) {
    const DerivedValues& derived = rules_.derived()[*rule.derived];
    const PatientRows::Column& column = rows_.columns()[derived.column()];
    const Code text = derived.Of(PatientRows::CodeAt(rows_.Row(row), column));
    if (text != DerivedValues::kFailed) {
      code = text;
      return derived.Text(text, column);
    }
  }
  const auto field = [&](std::string_view name) {
    return FieldOf(row, name, rule.expression.text());
  };
  MakeCompared(record_.Evaluate(r, field), patient_text_);
  return patient_text_;
}

RuleScore IndexSearch::ApplyRule(std::size_t r, RowNumber row, std::int32_t& total, bool explain) {
  const IndexRule& rule = rules_.rules()[r];
  const RecordSide::Side& side = record_.side(r);
  std::optional<Code> code;
  const std::string_view text = PatientText(r, row, code);
  const std::string_view b = Trim(text);
  RuleScore result;
  result.exact = rule.rule.exact_match != 0;
  result.weight = rule.rule.weight;
  result.skipped = side.missing || (code ? rule.missing[*code] : IsMissing(b, rule.rule));
  const std::int32_t before = total;
  if (result.skipped) {
    // neither plus nor minus
  } else if (!result.exact) {
    result.agreement = code && !by_library_ ? record_.Percent(r, *code) : record_.Compare(r, b);
    total = AddAgreement(total, rule.rule, result.agreement);
  } else if (side.text == text) {
    result.agreement = 100;
    total = AddEquality(total, rule.rule);
  }
  if (!explain) return result;
  result.expression = rule.expression.text();
  result.abstract_value = Trim(side.text);
  result.patient_value = b;
  result.added = ChangeOf(before, total);
  return result;
}

std::int16_t IndexSearch::Score(RowNumber row, std::vector<RuleScore>* explained) {
  std::size_t r = 0;
  try {
    std::int32_t total = 0;
    for (; r < rules_.rules().size(); ++r) {
      if (!record_.side(r).is_ready) {
        record_.Resolve(r);
        record_.PrepareComparison(r, taken_.size());
      }
      RuleScore score = ApplyRule(r, row, total, explained != nullptr);
      if (explained != nullptr) explained->push_back(std::move(score));
    }
    return NarrowInt16(total);
  } catch (const Error& error) {
    if (r == rules_.rules().size()) --r;
    CurrentMatching().rule_in_work = rules_.rules()[r].expression.text();
    throw error.As(error.number(), error.source() + ", GetMatchScore");
  }
}

// Otherwise each rule's side is made when it is needed, since the patient's may fail before it.
void IndexSearch::ResolveSides() {
  try {
    for (std::size_t r = 0; r < rules_.rules().size(); ++r) record_.Resolve(r);
  } catch (const Error& error) {
    throw error.As(error.number(), error.source() + ", GetMatchScore");
  }
}

void IndexSearch::ConsiderTaken() {
  if (taken_.empty()) return;
  if (!passes_over_) {
    for (const RowNumber row : taken_) Consider(row);
    return;
  }
  for (std::size_t r = 0; r < rules_.rules().size(); ++r) {
    record_.PrepareComparison(r, taken_.size());
  }
  weigher_.Prepare(cutoff_, taken_.size());
  for (std::size_t from = 0; from < taken_.size(); from += kRowsAtOnce) {
    const std::size_t some = std::min(kRowsAtOnce, taken_.size() - from);
    for (const RowNumber row : weigher_.Keep(std::span(taken_).subspan(from, some))) Consider(row);
  }
}

void IndexSearch::Consider(RowNumber row) {
  const std::uint8_t* const at = rows_.Row(row);
  std::vector<RuleScore> explained;
  const std::int16_t score = Score(row, options_->explain ? &explained : nullptr);
  if (score < cutoff_) return;
  Candidate& candidate = found_.emplace_back();
  candidate.match = {PatientRows::PatientId(at), score};
  candidate.rules = std::move(explained);
  if (!options_->names) return;
  const auto text = [&](std::size_t column) {
    const PatientRows::Column& held = rows_.columns()[column];
    return std::string(held.Text(PatientRows::CodeAt(at, held)));
  };
  candidate.lastname = text(kLastNameColumn);
  candidate.firstname = text(kFirstNameColumn);
  candidate.middlename = text(kMiddleNameColumn);
}

const std::vector<Candidate>& IndexSearch::Search(const FieldReader& abstract,
                                                  const CandidateOptions& options) {
  found_.clear();
  taken_.clear();
  options_ = &options;
  cutoff_ = options.cutoff.value_or(rules_.cutoff());
  by_library_ = FindComparisonLibrary() != nullptr;
  passes_over_ = rules_.CanPassOver() && !by_library_;
  record_.Start(abstract, by_library_, passes_over_);
  Block();
  if (AnyRow()) {
    if (passes_over_) {
      ResolveSides();
      sieve_.Prepare(cutoff_);
    }
    TakeRows();
    ConsiderTaken();
  }
  CurrentMatching().rule_in_work.clear();
  return found_;
}

void SortCandidates(std::vector<Candidate>& candidates) {
  std::ranges::stable_sort(candidates, [](const Candidate& x, const Candidate& y) {
    if (x.match.score != y.match.score) return x.match.score > y.match.score;
    return x.match.patient_id < y.match.patient_id;
  });
}

}  // namespace qm
