#include "matching/candidate_weigher.h"

#include <algorithm>

#include "matching/prefetch.h"

namespace qm {

namespace {

constexpr std::size_t kManyValues = std::size_t{1} << 16U;
// Weighing all values of a column costs as much as weighing so many candidates for each.
constexpr std::size_t kWorthAllValues = 4;

}  // namespace

CandidateWeigher::CandidateWeigher(const PatientRows& rows, const IndexRules& rules,
                                   RecordSide& record)
    : rows_(rows), rules_(rules), record_(record) {
  for (const IndexRule& rule : rules.rules()) {
    auto& most = most_.emplace_back(256, std::int16_t{0});  // 0 for a missing text
    std::copy_n(rule.most.begin(), 101, most.begin());
  }
  for (const RuleGroup& group : rules.groups()) {
    Column& column = columns_.emplace_back();
    column.group = &group;
    column.held = &rows.columns()[group.column];
  }
}

void CandidateWeigher::Prepare(std::int32_t cutoff, std::size_t expected) {
  cutoff_ = cutoff;
  expected_ = expected;
  start_ = 0;
  singles_.clear();
  early_.clear();
  late_.clear();
  for (Column& column : columns_) PrepareColumn(column);
  std::ranges::stable_sort(singles_, std::greater<>(), [&](const Single& single) {
    return rules_.rules()[single.rule].most[101];
  });
}

void CandidateWeigher::PrepareColumn(Column& column) {
  column.equalities.clear();
  column.agreements.clear();
  column.of_value.clear();
  const RuleGroup& group = *column.group;
  for (std::size_t i = 0; i < group.rules.size(); ++i) {
    const std::size_t r = group.rules[i];
    const IndexRule& rule = rules_.rules()[r];
    const RecordSide::Side& side = record_.side(r);
    if (side.missing) continue;
    const DerivedValues& derived = rules_.derived()[*rule.derived];
    if (rule.rule.exact_match == 0) {
      if (side.all != nullptr) {
        column.agreements.push_back({derived.Codes(), side.all->data(), most_[r].data()});
      } else {
        singles_.push_back({r, column.held, &derived});
      }
    } else if (!group.has_few_texts[i] && side.code && !rule.missing[*side.code]) {
      column.equalities.push_back({derived.Codes(), *side.code, rule.most[100]});
    }
  }
  PrepareClasses(column);
  const auto [least, most] = std::ranges::minmax(column.of_class);
  if (column.equalities.empty() && column.agreements.empty() && least == most) {
    start_ += most;
    return;
  }
  const std::size_t limit = column.held->Limit();
  if (limit > kManyValues) {
    column.most = most;
    for (const Equality& each : column.equalities) column.most += std::max(0, each.most);
    for (const Agreement& each : column.agreements) {
      column.most += std::max(0, int{*std::max_element(each.most, each.most + 101)});
    }
    start_ += column.most;
    late_.push_back(&column);
    return;
  }
  early_.push_back(&column);
  if (limit * kWorthAllValues > expected_) return;
  std::vector<std::int32_t> of_value(limit);
  for (Code value = 0; value < limit; ++value) {
    if (value == 0 || column.held->values.Has(value - 1)) of_value[value] = Weigh(column, value);
  }
  column.of_value = std::move(of_value);
}

void CandidateWeigher::PrepareClasses(Column& column) {
  const RuleGroup& group = *column.group;
  column.of_class.assign(group.members.size(), 0);
  std::int32_t of_any = 0;
  for (std::size_t i = 0; i < group.rules.size(); ++i) {
    const std::size_t r = group.rules[i];
    const IndexRule& rule = rules_.rules()[r];
    const RecordSide::Side& side = record_.side(r);
    if (side.missing) continue;
    of_any += std::max<std::int32_t>(0, rule.most[101]);
    for (std::size_t c = 0; c < group.members.size(); ++c) {
      const std::int64_t member = group.members[c][i];
      if (member == RuleGroup::kMissing) continue;
      if (rule.rule.exact_match != 0) {
        if (side.code == member) column.of_class[c] += rule.most[100];
      } else if (side.all == nullptr) {
        column.of_class[c] += rule.most[101];
      }
    }
  }
  if (group.members.size() == RuleGroup::kAnyClass) column.of_class.push_back(of_any);
}

std::int32_t CandidateWeigher::Weigh(const Column& column, Code value) {
  std::int32_t sum = column.of_class[column.group->classes[value]];
  for (const Equality& each : column.equalities) {
    sum += each.Text(value) == each.code ? each.most : 0;
  }
  for (const Agreement& each : column.agreements) {
    sum += each.most[each.percents[each.Text(value)]];
  }
  return sum;
}

// Adds to `totals_`.
void CandidateWeigher::WeighColumn(const Column& column, std::span<const RowNumber> rows) {
  const std::size_t count = rows.size();
  std::int32_t* const totals = totals_.data();
  if (!column.of_value.empty()) {
    for (std::size_t i = 0; i < count; ++i) {
      totals[i] += column.of_value[PatientRows::CodeAt(rows_.Row(rows[i]), *column.held)];
    }
    return;
  }
  Code* const codes = codes_.data();
  const RuleGroup::Class* const classes = column.group->classes.data();
  const std::int32_t* const of_class = column.of_class.data();
  for (std::size_t i = 0; i < count; ++i) {
    codes[i] = PatientRows::CodeAt(rows_.Row(rows[i]), *column.held);
    totals[i] += of_class[classes[codes[i]]];
  }
  for (const Equality& each : column.equalities) {
    for (std::size_t i = 0; i < count; ++i) {
      totals[i] += each.Text(codes[i]) == each.code ? each.most : 0;
    }
  }
  for (const Agreement& each : column.agreements) {
    for (std::size_t i = 0; i < count; ++i) {
      totals[i] += each.most[each.percents[each.Text(codes[i])]];
    }
  }
}

bool CandidateWeigher::WeighLate(Weighed& candidate) const {
  const std::uint8_t* const row = rows_.Row(candidate.row);
  for (const Column* column : late_) {
    candidate.total += Weigh(*column, PatientRows::CodeAt(row, *column->held)) - column->most;
  }
  return candidate.total >= cutoff_;
}

bool CandidateWeigher::WeighSingles(Weighed& candidate) {
  const std::uint8_t* const row = rows_.Row(candidate.row);
  for (const Single& single : singles_) {
    const IndexRule& rule = rules_.rules()[single.rule];
    const Code text = single.derived->Of(PatientRows::CodeAt(row, *single.held));
    if (rule.missing[text]) continue;
    const auto percent = static_cast<std::size_t>(record_.Percent(single.rule, text));
    candidate.total += rule.most[percent] - rule.most[101];
    if (candidate.total < cutoff_) return false;
  }
  return true;
}

// What is looked at next is far away in memory.
void CandidateWeigher::FetchLate(RowNumber row) const {
  for (const Column* column : late_) {
    const Code value = PatientRows::CodeAt(rows_.Row(row), *column->held);
    Prefetch(column->group->classes.data() + value);
  }
}

void CandidateWeigher::FetchSingle(RowNumber row) const {
  if (singles_.empty()) return;
  const Single& single = singles_.front();
  const Code text = single.derived->Of(PatientRows::CodeAt(rows_.Row(row), *single.held));
  Prefetch(single.derived->Text(text, *single.held).data());
}

std::span<const CandidateWeigher::RowNumber> CandidateWeigher::Keep(
    std::span<const RowNumber> rows) {
  totals_.assign(rows.size(), start_);
  codes_.resize(rows.size());
  left_.resize(rows.size());
  kept_.resize(rows.size());
  for (const Column* column : early_) WeighColumn(*column, rows);
  std::size_t left = 0;
  for (std::size_t i = 0; i < rows.size(); ++i) {
    left_[left] = {rows[i], totals_[i]};
    left += totals_[i] >= cutoff_ ? 1 : 0;
  }
  for (std::size_t i = 0; i < left; ++i) FetchLate(left_[i].row);
  std::size_t later = 0;
  for (std::size_t i = 0; i < left; ++i) {
    Weighed candidate = left_[i];
    if (!WeighLate(candidate)) continue;
    left_[later++] = candidate;
    FetchSingle(candidate.row);
  }
  std::size_t kept = 0;
  for (std::size_t i = 0; i < later; ++i) {
    if (WeighSingles(left_[i])) kept_[kept++] = left_[i].row;
  }
  return std::span(kept_).first(kept);
}

}  // namespace qm
