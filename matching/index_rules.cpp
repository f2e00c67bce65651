#include "matching/index_rules.h"

#include <algorithm>
#include <cmath>

#include <qm/conversions.h>
#include <qm/error.h>
#include <qm/recordset.h>

#include "matching/match_scorer.h"
#include "runtime/text.h"

namespace qm {

namespace {

// What a search of the database reads of each candidate, after its identifier.
constexpr std::array<std::string_view, kSearchColumnCount> kSearchColumns = {
    "soundex", "race1", "sex", "lastname", "firstname", "middlename", "birthdate", "socsec"};
constexpr double kMostOfAll = 16000;
constexpr std::size_t kMostClasses = 250;

bool IsPlainName(std::string_view name) {
  const auto is_part = [](char c) {
    return c == '_' || IsDigit(c) || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
  };
  return !name.empty() && !IsDigit(name[0]) && std::ranges::all_of(name, is_part);
}

std::vector<PatientRows::Code> AllValues(const PatientRows::Column& column) {
  std::vector<PatientRows::Code> values = {PatientRows::kNull};
  for (PatientRows::Code code = 1; code < column.Limit(); ++code) {
    if (column.values.Has(code - 1)) values.push_back(code);
  }
  return values;
}

std::int16_t AtMost(double added) {
  return static_cast<std::int16_t>(std::max(0.0, std::ceil(added)));
}

}  // namespace

IndexRules::IndexRules(const std::shared_ptr<Connection>& connection)
    : columns_(kSearchColumns.begin(), kSearchColumns.end()),
      cutoff_(CurrentMatching().cutoff_score) {
  ReadBlocks(connection);
  double sum = 0;
  for (const MatchRule& rule : CurrentMatching().rules) {
    sum += std::abs(rule.weight) + 1;
    bounded_ = bounded_ && sum < kMostOfAll;  // not for a weight that is no number either
  }
  for (const MatchRule& rule : CurrentMatching().rules) AddRule(rule);
  MakeGroups();
}

std::size_t IndexRules::ColumnOf(const std::string& name) {
  const auto column = std::find_if(columns_.begin(), columns_.end(),
                                   [&](const auto& each) { return EqualsIgnoreCase(each, name); });
  return static_cast<std::size_t>(column - columns_.begin());
}

void IndexRules::ReadBlocks(const std::shared_ptr<Connection>& connection) {
  const auto rows = connection->CreateRecordset();
  rows->Open("SELECT * FROM tblBlockingParameters", connection);
  for (const Recordset& row : rows->Rows()) {
    const std::string abstract_field = ToText(row.Value("AbstractField"));
    IndexBlock block{RuleExpression(Trim(abstract_field)),
                     std::string(Trim(ToTextOrEmpty(row.Value("PatientField")))), std::nullopt};
    const Variant ignored = row.Value("ignorevalues");
    if (!ignored.IsNull()) block.ignored = ToText(ignored);
    if (!IsPlainName(block.patient_field)) {
      throw Error(kErrNotSupported, "QMDataObjects2", "The blocking rule names no plain column");
    }
    block.column = ColumnOf(block.patient_field);
    if (block.column == columns_.size()) columns_.push_back(block.patient_field);
    blocks_.push_back(std::move(block));
  }
}

std::vector<bool> IndexRules::BlockingColumns() const {
  std::vector<bool> result(columns_.size());
  for (const IndexBlock& block : blocks_) result[block.column] = true;
  return result;
}

void IndexRules::AddRule(const MatchRule& rule) {
  rules_.push_back({rule, RuleExpression(Trim(rule.field_expression))});
  IndexRule& added = rules_.back();
  if (bounded_) {
    for (int s = 0; s <= 100; ++s) {
      added.most[static_cast<std::size_t>(s)] =
          static_cast<std::int16_t>(std::ceil(s * rule.weight / 100));
    }
    if (rule.exact_match != 0) added.most[100] = static_cast<std::int16_t>(std::ceil(rule.weight));
    added.most[101] = AtMost(rule.weight);
  }
  const auto& fields = added.expression.fields();
  // A blocking column that a search does not read is none for the rules either.
  const std::size_t column = fields.empty() ? 0 : ColumnOf(fields[0]);
  if (!added.expression.IsFixed() || fields.size() > 1 || column >= kSearchColumnCount) {
    all_derived_ = false;
    return;
  }
  const auto known = std::ranges::find_if(derived_, [&](const DerivedValues& each) {
    return each.column() == column && each.expression().text() == added.expression.text();
  });
  added.derived = static_cast<std::size_t>(known - derived_.begin());
  if (known == derived_.end()) derived_.emplace_back(added.expression, column);
}

void IndexRules::MakeGroups() {
  for (const bool exact : {true, false}) {
    for (std::size_t i = 0; i < rules_.size(); ++i) {
      const IndexRule& rule = rules_[i];
      if (!rule.derived || (rule.rule.exact_match != 0) != exact) continue;
      const std::size_t column = derived_[*rule.derived].column();
      auto group = std::ranges::find(groups_, column, &RuleGroup::column);
      if (group == groups_.end()) group = groups_.insert(group, RuleGroup{column});
      group->rules.push_back(i);
    }
  }
}

void IndexRules::Extend(const PatientRows& rows, int threads) {
  for (std::size_t c = 0; c < kSearchColumnCount; ++c) {
    ExtendBy(rows, c, AllValues(rows.columns()[c]), threads);
  }
}

void IndexRules::Extend(const PatientRows& rows, PatientRows::RowNumber row) {
  for (std::size_t c = 0; c < kSearchColumnCount; ++c) {
    ExtendBy(rows, c, {PatientRows::CodeAt(rows.Row(row), rows.columns()[c])}, 1);
  }
}

void IndexRules::NoteMissing(IndexRule& rule, PatientRows::Code text,
                             const PatientRows::Column& held) {
  const DerivedValues& derived = derived_[*rule.derived];
  if (rule.missing[text] || !IsMissing(Trim(derived.Text(text, held)), rule.rule)) return;
  rule.missing[text] = true;
  rule.missing_codes.push_back(text);
}

void IndexRules::ExtendBy(const PatientRows& rows, std::size_t column,
                          const std::vector<PatientRows::Code>& values, int threads) {
  const PatientRows::Column& held = rows.columns()[column];
  bool any_changed = false;
  for (std::size_t d = 0; d < derived_.size(); ++d) {
    DerivedValues& derived = derived_[d];
    if (derived.column() != column) continue;
    const bool same = derived.IsSame();
    derived.Extend(held, values, threads);
    any_failed_ = any_failed_ || derived.AnyFailed();
    const bool changed = same != derived.IsSame();
    any_changed = any_changed || changed;
    for (IndexRule& rule : rules_) {
      if (rule.derived != d) continue;
      if (changed) {
        rule.missing.clear();
        rule.missing_codes.clear();
      }
      const bool all = rule.missing.empty();
      rule.missing.resize(derived.Limit(held));
      if (all) {
        for (PatientRows::Code code = 0; code < rule.missing.size(); ++code) {
          if (derived.Has(code, held)) NoteMissing(rule, code, held);
        }
        continue;
      }
      for (const PatientRows::Code value : values) {
        if (derived.Of(value) != DerivedValues::kFailed) NoteMissing(rule, derived.Of(value), held);
      }
    }
  }
  const auto group = std::ranges::find(groups_, column, &RuleGroup::column);
  if (group == groups_.end()) return;
  if (any_changed) {
    group->classes.clear();
    group->members.clear();
    group->has_few_texts.clear();
  }
  Classify(*group, held, any_changed ? AllValues(held) : values);
}

void IndexRules::Classify(RuleGroup& group, const PatientRows::Column& held,
                          const std::vector<PatientRows::Code>& values) {
  const auto derived_of = [&](std::size_t r) -> const DerivedValues& {
    return derived_[*rules_[r].derived];
  };
  if (group.has_few_texts.empty()) {
    std::size_t classes = 2;
    for (const std::size_t r : group.rules) {
      const std::size_t texts = derived_of(r).Texts(held).size() + 2;
      const bool few = rules_[r].rule.exact_match != 0 && texts * classes < kMostClasses;
      group.has_few_texts.push_back(few);
      if (few) classes *= texts;
    }
  }
  group.classes.resize(held.Limit(), RuleGroup::kAnyClass);
  std::vector<std::int64_t> member(group.rules.size());
  for (const PatientRows::Code value : values) {
    for (std::size_t i = 0; i < group.rules.size(); ++i) {
      const PatientRows::Code text = derived_of(group.rules[i]).Of(value);
      const bool missing = text == DerivedValues::kFailed || rules_[group.rules[i]].missing[text];
      member[i] = missing                  ? RuleGroup::kMissing
                  : group.has_few_texts[i] ? std::int64_t{text}
                                           : RuleGroup::kAnyText;
    }
    const auto known = std::ranges::find(group.members, member);
    if (known == group.members.end() && group.members.size() == RuleGroup::kAnyClass) continue;
    group.classes[value] = static_cast<RuleGroup::Class>(known - group.members.begin());
    if (known == group.members.end()) group.members.push_back(member);
  }
}

std::size_t IndexRules::Bytes() const {
  std::size_t bytes = 0;
  for (const DerivedValues& derived : derived_) bytes += derived.Bytes();
  for (const IndexRule& rule : rules_) bytes += rule.missing.size() / 8;
  for (const RuleGroup& group : groups_) bytes += group.classes.capacity();
  return bytes;
}

}  // namespace qm
