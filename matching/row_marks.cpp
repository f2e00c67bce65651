#include "matching/row_marks.h"

#include <algorithm>

namespace qm {

namespace {

// A lane lies within one byte.
struct Place {
  unsigned shift;
  unsigned width;
};
constexpr std::array<Place, 4> kFewPlaces = {{{0, 8}, {8, 8}, {16, 8}, {24, 8}}};
constexpr std::array<Place, 5> kPlaces = {{{0, 8}, {8, 8}, {16, 8}, {24, 4}, {28, 4}}};
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

void RowMarks::ChooseLanes(const IndexRules& rules) {
  lanes_.clear();
  if (!rules.CanPassOver()) return;
  std::vector<std::size_t> chosen;
  for (std::size_t r = 0; r < rules.rules().size(); ++r) {
    const IndexRule& rule = rules.rules()[r];
    if (rule.rule.exact_match != 0 && rule.most[100] > 0) chosen.push_back(r);
  }
  std::ranges::stable_sort(chosen, std::greater<>(),
                           [&](std::size_t r) { return rules.rules()[r].most[100]; });
  const std::span<const Place> places =
      chosen.size() <= kFewPlaces.size() ? std::span<const Place>(kFewPlaces) : kPlaces;
  for (std::size_t i = 0; i < std::min(chosen.size(), places.size()); ++i) {
    const DerivedValues& derived = rules.derived()[*rules.rules()[chosen[i]].derived];
    lanes_.push_back({chosen[i], places[i].shift, places[i].width, derived.IsSame()});
  }
}

void RowMarks::AddLane(const PatientRows& rows, const IndexRules& rules, const Lane& lane) {
  const IndexRule& rule = rules.rules()[lane.rule];
  const DerivedValues& derived = rules.derived()[*rule.derived];
  const PatientRows::Column& column = rows.columns()[derived.column()];
  for (RowNumber row = 0; row < of_rows_.size(); ++row) {
    const Code text = derived.Of(PatientRows::CodeAt(rows.Row(row), column));
    if (!rule.missing[text]) of_rows_[row] |= lane.Of(text) << lane.shift;
  }
}

void RowMarks::Make(const PatientRows& rows, const IndexRules& rules) {
  ChooseLanes(rules);
  of_rows_.clear();
  of_columns_.assign(rows.columns().size(), {});
  in_order_ = rows.columns().size();
  if (lanes_.empty()) return;
  of_rows_.assign(rows.count(), 0);
  for (const Lane& lane : lanes_) AddLane(rows, rules, lane);
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
  needed_ = cutoff;
  for (std::size_t r = 0; r < rules_.rules().size(); ++r) {
    const IndexRule& rule = rules_.rules()[r];
    if (record_.side(r).missing) continue;
    needed_ -= std::max<std::int32_t>(0, rule.most[rule.rule.exact_match != 0 ? 100 : 101]);
  }
  for (auto& of_byte : added_) of_byte.fill(0);
  for (const RowMarks::Lane& lane : marks_.lanes()) {
    const RecordSide::Side& side = record_.side(lane.rule);
    if (side.missing) continue;
    const std::int32_t most = rules_.rules()[lane.rule].most[100];
    needed_ += most;
    if (!side.code) continue;
    // Every byte with the record's own value in the lane, whatever stands beside it.
    const unsigned place = lane.shift % 8;
    const unsigned own = lane.Of(*side.code) << place;
    const unsigned mask = ((1U << lane.width) - 1) << place;
    auto& of_byte = added_[lane.shift / 8];
    for (unsigned byte = 0; byte < of_byte.size(); ++byte) {
      of_byte[byte] += (byte & mask) == own ? most : 0;
    }
  }
}

template <typename RowAt>
void RowSieve::SiftRows(std::span<const RowMarks::Mark> marks, RowAt row_at,
                        std::vector<RowNumber>& passed) const {
  std::size_t count = passed.size();
  passed.resize(count + marks.size());
  RowNumber* const to = passed.data();
  for (std::size_t i = 0; i < marks.size(); ++i) {
    const RowMarks::Mark mark = marks[i];
    const std::int32_t added = added_[0][mark & 0xFFU] + added_[1][mark >> 8U & 0xFFU] +
                               added_[2][mark >> 16U & 0xFFU] + added_[3][mark >> 24U];
    to[count] = row_at(i);
    count += added >= needed_ ? 1 : 0;
  }
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
