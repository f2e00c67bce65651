#include "matching/row_marks.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <utility>

namespace qm {

namespace {

// The weightiest lane's share: all of them together are within a byte.
constexpr std::int32_t kMostShare = 63;
static_assert(kMostShare * RowMarks::kMostLanes < 256);
// For fewer rows than this at a time, they are looked up at once.
constexpr std::size_t kWorthMarks = 8;

bool HasOrder(const std::vector<PatientRows::RowNumber>& rows) {
  PatientRows::RowNumber next = 0;
  return std::ranges::all_of(rows, [&](PatientRows::RowNumber row) { return row == next++; });
}

// Whether a row stands together with so many others that marks pay, on average.
bool IsBroad(const PatientRows::Column& column) {
  std::size_t brought = 0;
  for (std::size_t code = 1; code < column.starts.size(); ++code) {
    const std::size_t rows = column.starts[code] - column.starts[code - 1];
    brought += rows * rows;
  }
  return brought >= kWorthMarks * column.rows.size();
}

}  // namespace

std::vector<RowMarks::Lane> RowMarks::ChooseLanes(const IndexRules& rules) {
  std::vector<Lane> lanes;
  if (!rules.CanPassOver()) return lanes;
  std::vector<std::size_t> chosen;
  for (std::size_t r = 0; r < rules.rules().size(); ++r) {
    const IndexRule& rule = rules.rules()[r];
    if (rule.rule.exact_match != 0 && rule.most[100] > 0) chosen.push_back(r);
  }
  std::ranges::stable_sort(chosen, std::greater<>(),
                           [&](std::size_t r) { return rules.rules()[r].most[100]; });
  chosen.resize(std::min(chosen.size(), kMostLanes));
  for (const std::size_t r : chosen) {
    lanes.push_back({r, rules.derived()[*rules.rules()[r].derived].IsSame()});
  }
  return lanes;
}

void RowMarks::FillLane(const PatientRows& rows, const IndexRule& rule,
                        const DerivedValues& derived, std::size_t lane) {
  const PatientRows::Column& column = rows.columns()[derived.column()];
  for (RowNumber row = 0; row < of_rows_.size(); ++row) {
    const Code text = derived.Of(PatientRows::CodeAt(rows.Row(row), column));
    if (!rule.missing[text]) of_rows_[row] |= InLane(lane, text);
  }
}

void RowMarks::Make(const PatientRows& rows, const IndexRules& rules) {
  lanes_.clear();  // without lanes every row passes, should it fail
  of_rows_.clear();
  of_columns_.assign(rows.columns().size(), {});
  in_order_ = rows.columns().size();
  std::vector<Lane> lanes = ChooseLanes(rules);
  if (lanes.empty()) return;
  of_rows_.assign(rows.count(), 0);
  for (std::size_t i = 0; i < lanes.size(); ++i) {
    const IndexRule& rule = rules.rules()[lanes[i].rule];
    FillLane(rows, rule, rules.derived()[*rule.derived], i);
  }
  for (std::size_t c = 0; c < of_columns_.size(); ++c) {
    const PatientRows::Column& column = rows.columns()[c];
    if (!column.blocks || !IsBroad(column)) continue;
    if (HasOrder(column.rows)) {
      in_order_ = c;
      continue;
    }
    of_columns_[c].reserve(column.rows.size());
    for (const RowNumber row : column.rows) of_columns_[c].push_back(of_rows_[row]);
  }
  lanes_ = std::move(lanes);
}

bool RowMarks::AreStale(const IndexRules& rules) const {
  return std::ranges::any_of(lanes_, [&](const Lane& lane) {
    return rules.derived()[*rules.rules()[lane.rule].derived].IsSame() != lane.same;
  });
}

std::span<const RowMarks::Mark> RowMarks::OfIndexedRows(const PatientRows& rows, std::size_t column,
                                                        Code code) const {
  const auto& starts = rows.columns()[column].starts;
  if (lanes_.empty() || code + std::size_t{1} >= starts.size()) return {};
  const std::vector<Mark>& marks = column == in_order_ ? of_rows_ : of_columns_[column];
  if (marks.empty()) return {};
  return std::span(marks).subspan(starts[code], starts[code + 1] - starts[code]);
}

std::size_t RowMarks::Bytes() const {
  std::size_t marks = of_rows_.capacity();
  for (const auto& of_column : of_columns_) marks += of_column.capacity();
  return marks * sizeof(Mark);
}

void RowSieve::Prepare(std::int32_t cutoff) {
  const auto most_of = [&](std::size_t r) {
    const IndexRule& rule = rules_.rules()[r];
    return std::max<std::int32_t>(0, rule.most[rule.rule.exact_match != 0 ? 100 : 101]);
  };
  std::int32_t needed = cutoff;
  for (std::size_t r = 0; r < rules_.rules().size(); ++r) {
    if (!record_.side(r).missing) needed -= most_of(r);
  }
  own_ = 0;
  adds_ = 0;
  needed_ = 0;
  if (marks_.lanes().empty()) return;
  const std::int32_t weightiest = most_of(marks_.lanes()[0].rule);
  for (std::size_t i = 0; i < marks_.lanes().size(); ++i) {
    const std::size_t rule = marks_.lanes()[i].rule;
    const RecordSide::Side& side = record_.side(rule);
    if (side.missing) continue;
    needed += most_of(rule);
    if (!side.code) continue;
    const std::int32_t share = (most_of(rule) * kMostShare + weightiest - 1) / weightiest;
    own_ |= RowMarks::InLane(i, *side.code);
    adds_ |= static_cast<RowMarks::Mark>(share) << (8 * i);
  }
  if (needed > 0) {
    needed_ = static_cast<std::uint32_t>((needed * kMostShare + weightiest - 1) / weightiest);
  }
}

// Tells which of the marks pass, and whether any does.
bool RowSieve::SiftSome(const RowMarks::Mark* marks, Passes& passes) const {
#if defined(__GNUC__)
  using Bytes [[gnu::vector_size(16)]] = std::uint8_t;
  using Words [[gnu::vector_size(16)]] = std::uint32_t;
  constexpr std::size_t kWords = sizeof(Words) / sizeof(RowMarks::Mark);
  const auto own = std::bit_cast<Bytes>(Words{} + own_);
  Words any{};
  for (std::size_t i = 0; i < kMarksAtOnce; i += kWords) {
    Words four;
    std::memcpy(&four, marks + i, sizeof four);
    const auto equal = std::bit_cast<Words>(std::bit_cast<Bytes>(four) == own);
    const Words added = equal & adds_;
    const Words two = added + (added >> 16U);
    const auto passed = std::bit_cast<Words>(((two + (two >> 8U)) & 0xFFU) >= needed_);
    any |= passed;
    std::memcpy(passes.data() + i, &passed, sizeof passed);
  }
  return (any[0] | any[1] | any[2] | any[3]) != 0;
#else
  bool any = false;
  for (std::size_t i = 0; i < kMarksAtOnce; ++i) {
    std::uint32_t added = 0;
    for (unsigned shift = 0; shift < 32; shift += 8) {
      added += ((marks[i] ^ own_) >> shift & 0xFFU) == 0 ? adds_ >> shift & 0xFFU : 0;
    }
    passes[i] = added >= needed_ ? 1 : 0;
    any = any || passes[i] != 0;
  }
  return any;
#endif
}

template <typename RowAt>
void RowSieve::SiftRows(std::span<const RowMarks::Mark> marks, RowAt row_at,
                        std::vector<RowNumber>& passed) const {
  std::size_t count = passed.size();
  passed.resize(count + marks.size());
  RowNumber* const to = passed.data();
  Passes passes;
  const auto sift = [&](const RowMarks::Mark* at, std::size_t first, std::size_t size) {
    if (!SiftSome(at, passes)) return;
    for (std::size_t j = 0; j < size; ++j) {
      to[count] = row_at(first + j);
      count += passes[j] & 1U;
    }
  };
  std::size_t i = 0;
  for (; i + kMarksAtOnce <= marks.size(); i += kMarksAtOnce) {
    sift(marks.data() + i, i, kMarksAtOnce);
  }
  std::array<RowMarks::Mark, kMarksAtOnce> rest{};
  std::ranges::copy(marks.subspan(i), rest.begin());
  sift(rest.data(), i, marks.size() - i);
  passed.resize(count);
}

void RowSieve::Sift(std::span<const RowMarks::Mark> marks, std::span<const RowNumber> rows,
                    std::vector<RowNumber>& passed) const {
  SiftRows(
      marks, [&](std::size_t i) { return rows[i]; }, passed);
}

void RowSieve::Sift(std::span<const RowMarks::Mark> marks, std::vector<RowNumber>& passed) const {
  SiftRows(
      marks, [](std::size_t i) { return static_cast<RowNumber>(i); }, passed);
}

}  // namespace qm
