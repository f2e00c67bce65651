#include "matching/index_search.h"

#include <algorithm>
#include <limits>
#include <utility>

#include <qm/conversions.h>
#include <qm/error.h>

#include "comparison/comparison.h"
#include "comparison/comparison_library.h"
#include "matching/match_scorer.h"
#include "runtime/text.h"

namespace qm {

namespace {

constexpr std::uint8_t kUnknownPercent = 255;
constexpr std::int16_t kUnknownMost = std::numeric_limits<std::int16_t>::min();
// Behind everything that can be reached.
constexpr std::int16_t kOutOfReach = kUnknownMost + 1;
// A pair by itself costs as much as so many of a whole dictionary.
constexpr std::size_t kPairsWorth = 16;
// What is known of more values is not remembered: each is met but seldom.
constexpr std::size_t kMostRemembered = std::size_t{1} << 18U;
constexpr std::size_t kRowsAhead = 12;

void Prefetch([[maybe_unused]] const void* address) {
#if defined(__GNUC__)
  __builtin_prefetch(address);
#endif
}

}  // namespace

IndexSearch::IndexSearch(const PatientRows& rows, const IndexRules& rules)
    : rows_(rows), rules_(rules), sides_(rules.rules().size()), groups_(rules.groups().size()) {
  for (const IndexRule& rule : rules.rules()) expressions_.push_back(rule.expression);
  for (const IndexBlock& block : rules.blocks()) blocking_.push_back(block.abstract_field);
}

std::string IndexSearch::Evaluate(RuleExpression& expression, const FieldReader& abstract) {
  CurrentMatching().rule_in_work = expression.text();
  fields_.clear();
  for (const std::string& name : expression.fields()) fields_.push_back(abstract(name));
  if (!expression.Evaluate(fields_, ValueText::kEscaped, MatchScriptEngine(), value_)) {
    std::string rewritten = expression.text();
    value_ = EvaluateExpression(rewritten, abstract, ValueText::kEscaped);
    value_ = value_.substr(1, value_.size() - 2);
  }
  return value_;
}

void IndexSearch::Block(const FieldReader& abstract) {
  conditions_.clear();
  for (std::size_t i = 0; i < blocking_.size(); ++i) {
    const IndexBlock& block = rules_.blocks()[i];
    const std::string value = Evaluate(blocking_[i], abstract);
    if (block.ignored && block.ignored->find("'" + value + "'") != std::string::npos) continue;
    const PatientRows::Column& column = rows_.columns()[block.column];
    conditions_.push_back({&column, column.Find(value)});
  }
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

std::size_t IndexSearch::CountRows() const {
  if (conditions_.empty()) return rows_.count();
  std::size_t count = 0;
  for (const Condition& condition : conditions_) {
    if (!condition.code) continue;
    count += rows_.IndexedRows(*condition.column, *condition.code).size();
    count += rows_.LaterRows(*condition.column, *condition.code).size();
  }
  return count;
}

template <typename Visit>
void IndexSearch::VisitRows(std::span<const RowNumber> rows, std::size_t condition, Visit visit) {
  for (std::size_t i = 0; i < rows.size(); ++i) {
    if (i + kRowsAhead < rows.size()) Prefetch(rows_.Row(rows[i + kRowsAhead]));
    if (!rows_.IsGone(rows[i]) && !IsTaken(rows_.Row(rows[i]), condition)) visit(rows[i]);
  }
}

template <typename Visit>
void IndexSearch::VisitCandidates(Visit visit) {
  if (conditions_.empty()) {
    for (RowNumber row = 0; row < rows_.count(); ++row) {
      if (!rows_.IsGone(row)) visit(row);
    }
    return;
  }
  for (std::size_t i = 0; i < conditions_.size(); ++i) {
    const auto& [column, code] = conditions_[i];
    if (!code) continue;
    VisitRows(rows_.IndexedRows(*column, *code), i, visit);
    VisitRows(rows_.LaterRows(*column, *code), i, visit);
  }
}

void IndexSearch::PrepareSide(std::size_t r) {
  const IndexRule& rule = rules_.rules()[r];
  Side& side = sides_[r];
  MakeCompared(Evaluate(expressions_[r], *abstract_), side.text);
  side.is_ready = true;
  const std::string_view trimmed = Trim(side.text);
  side.missing = IsMissing(trimmed, rule.rule);
  side.code.reset();
  side.prepared.reset();
  side.remembers = false;
  if (side.missing) return;
  const bool exact = rule.rule.exact_match != 0;
  if (!exact) side.prepared.emplace(trimmed, rule.rule.comparator_parameter);
  if (!rule.derived) return;
  const DerivedValues& derived = rules_.derived()[*rule.derived];
  const PatientRows::Column& column = ColumnOf(derived);
  const NameDictionary& texts = derived.Texts(column);
  if (exact) {
    const auto number = texts.Find(side.text);
    if (number) side.code = *number + 1;
    return;
  }
  if (by_library_) return;
  const std::size_t limit = derived.Limit(column);
  const bool worth_all = limit / kPairsWorth < expected_;
  side.remembers = limit <= kMostRemembered || (worth_all && !passes_over_);
  if (!side.remembers) return;
  if (side.percents.size() < limit) side.percents.resize(limit, kUnknownPercent);
  if (!worth_all) return;
  side.all_known = true;
  texts.Percents(*side.prepared, std::span(side.percents).subspan(1));
  for (const Code code : derived.indented()) side.percents[code] = kUnknownPercent;
}

void IndexSearch::PrepareGroups() {
  std::int32_t rest = cutoff_;
  for (std::size_t g = groups_.size(); g-- > 0;) {
    const RuleGroup& rules = rules_.groups()[g];
    Group& group = groups_[g];
    group.most_of_all = 0;
    for (const std::size_t r : rules.rules) {
      if (sides_[r].missing) continue;
      group.most_of_all =
          static_cast<std::int16_t>(group.most_of_all + rules_.rules()[r].most[101]);
    }
    group.least = rest;
    rest -= group.most_of_all;
    group.column = &rows_.columns()[rules.column];
    const std::size_t limit = group.column->Limit();
    group.remembers = limit <= kMostRemembered;
    if (group.remembers && group.most.size() < limit) group.most.resize(limit, kUnknownMost);
  }
}

void IndexSearch::Forget() {
  for (Side& side : sides_) {
    side.is_ready = false;
    if (side.all_known) std::fill(side.percents.begin(), side.percents.end(), kUnknownPercent);
    for (const Code code : side.known) side.percents[code] = kUnknownPercent;
    side.known.clear();
    side.all_known = false;
  }
  for (Group& group : groups_) {
    for (const Code code : group.known) group.most[code] = kUnknownMost;
    group.known.clear();
  }
}

std::int16_t IndexSearch::CompareTexts(std::size_t rule, std::string_view text) const {
  const PreparedComparator& prepared = *sides_[rule].prepared;
  return AgreementOf(by_library_ ? CompareStrings(prepared.text(), text, prepared.parameter())
                                 : prepared.Compare(text));
}

std::int16_t IndexSearch::Percent(std::size_t rule, Code text) {
  Side& side = sides_[rule];
  if (side.remembers && side.percents[text] != kUnknownPercent) return side.percents[text];
  const DerivedValues& derived = rules_.derived()[*rules_.rules()[rule].derived];
  const auto percent =
      static_cast<std::uint8_t>(CompareTexts(rule, Trim(derived.Text(text, ColumnOf(derived)))));
  if (side.remembers) {
    side.percents[text] = percent;
    side.known.push_back(text);
  }
  return percent;
}

// What the column's value adds at most; kOutOfReach when that is surely less than `least`.
std::int16_t IndexSearch::Most(std::size_t g, Code value, std::int32_t least) {
  Group& group = groups_[g];
  std::int32_t sum = 0;
  std::int32_t approximate = 0;
  for (const std::size_t r : rules_.groups()[g].rules) {
    const IndexRule& rule = rules_.rules()[r];
    const Side& side = sides_[r];
    if (side.missing) continue;
    const Code text = rules_.derived()[*rule.derived].Of(value);
    if (rule.missing[text]) continue;
    if (rule.rule.exact_match != 0) {
      if (side.code == text) sum += rule.most[100];
    } else {
      approximate += rule.most[101];
    }
  }
  if (!group.remembers && sum + approximate < least) return kOutOfReach;
  for (const std::size_t r : rules_.groups()[g].rules) {
    const IndexRule& rule = rules_.rules()[r];
    if (sides_[r].missing || rule.rule.exact_match != 0) continue;
    const Code text = rules_.derived()[*rule.derived].Of(value);
    if (!rule.missing[text]) sum += rule.most[Percent(r, text)];
  }
  const auto most = static_cast<std::int16_t>(sum);
  if (group.remembers) {
    group.most[value] = most;
    group.known.push_back(value);
  }
  return most;
}

bool IndexSearch::CanReach(const std::uint8_t* row) {
  std::int32_t total = 0;
  for (std::size_t g = 0; g < groups_.size(); ++g) {
    const Group& group = groups_[g];
    const Code value = PatientRows::CodeAt(row, *group.column);
    const std::int16_t known = group.remembers ? group.most[value] : kUnknownMost;
    total += known != kUnknownMost ? known : Most(g, value, group.least - total);
    if (total < group.least) return false;
  }
  return true;
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
    const PatientRows::Column& column = ColumnOf(derived);
    const Code text = derived.Of(PatientRows::CodeAt(rows_.Row(row), column));
    if (text != DerivedValues::kFailed) {
      code = text;
      return derived.Text(text, column);
    }
  }
  const auto field = [&](std::string_view name) {
    return FieldOf(row, name, rule.expression.text());
  };
  MakeCompared(Evaluate(expressions_[r], field), patient_text_);
  return patient_text_;
}

RuleScore IndexSearch::ApplyRule(std::size_t r, RowNumber row, std::int32_t& total, bool explain) {
  const IndexRule& rule = rules_.rules()[r];
  const Side& side = sides_[r];
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
    result.agreement = code && !by_library_ ? Percent(r, *code) : CompareTexts(r, b);
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
    for (; r < sides_.size(); ++r) {
      if (!sides_[r].is_ready) PrepareSide(r);
      RuleScore score = ApplyRule(r, row, total, explained != nullptr);
      if (explained != nullptr) explained->push_back(std::move(score));
    }
    return NarrowInt16(total);
  } catch (const Error& error) {
    if (r == sides_.size()) --r;
    CurrentMatching().rule_in_work = rules_.rules()[r].expression.text();
    throw error.As(error.number(), error.source() + ", GetMatchScore");
  }
}

// Otherwise each rule's side is made when it is needed, since the patient's may fail before it.
void IndexSearch::PrepareAll() {
  try {
    for (std::size_t r = 0; r < sides_.size(); ++r) PrepareSide(r);
  } catch (const Error& error) {
    throw error.As(error.number(), error.source() + ", GetMatchScore");
  }
  PrepareGroups();
}

void IndexSearch::Consider(RowNumber row) {
  const std::uint8_t* const at = rows_.Row(row);
  if (passes_over_ && !CanReach(at)) return;
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
  options_ = &options;
  cutoff_ = options.cutoff.value_or(rules_.cutoff());
  by_library_ = FindComparisonLibrary() != nullptr;
  passes_over_ = rules_.CanPassOver() && !by_library_;
  Forget();
  Block(abstract);
  abstract_ = &abstract;
  expected_ = CountRows();
  bool first = true;
  VisitCandidates([&](RowNumber row) {
    if (std::exchange(first, false) && passes_over_) PrepareAll();
    Consider(row);
  });
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
