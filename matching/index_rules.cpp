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

bool IsPlainName(std::string_view name) {
  const auto is_part = [](char c) {
    return c == '_' || IsDigit(c) || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
  };
  return !name.empty() && !IsDigit(name[0]) && std::ranges::all_of(name, is_part);
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
      group->most = static_cast<std::int16_t>(group->most + rule.most[101]);
    }
  }
}

void IndexRules::Extend(const PatientRows& rows, int threads) {
  for (std::size_t c = 0; c < kSearchColumnCount; ++c) {
    const PatientRows::Column& column = rows.columns()[c];
    std::vector<PatientRows::Code> values = {PatientRows::kNull};
    for (PatientRows::Code code = 1; code < column.Limit(); ++code) {
      if (column.values.Has(code - 1)) values.push_back(code);
    }
    ExtendBy(rows, c, values, threads);
  }
  // What is soonest known comes first: few values, then many.
  std::ranges::sort(groups_, {}, [&](const RuleGroup& group) {
    return rows.columns()[group.column].values.size();
  });
}

void IndexRules::Extend(const PatientRows& rows, PatientRows::RowNumber row) {
  for (std::size_t c = 0; c < kSearchColumnCount; ++c) {
    ExtendBy(rows, c, {PatientRows::CodeAt(rows.Row(row), rows.columns()[c])}, 1);
  }
}

void IndexRules::ExtendBy(const PatientRows& rows, std::size_t column,
                          const std::vector<PatientRows::Code>& values, int threads) {
  const PatientRows::Column& held = rows.columns()[column];
  for (std::size_t d = 0; d < derived_.size(); ++d) {
    DerivedValues& derived = derived_[d];
    if (derived.column() != column) continue;
    const bool same = derived.IsSame();
    derived.Extend(held, values, threads);
    any_failed_ = any_failed_ || derived.AnyFailed();
    for (IndexRule& rule : rules_) {
      if (rule.derived != d) continue;
      if (same != derived.IsSame()) rule.missing.clear();
      const bool all = rule.missing.empty();
      rule.missing.resize(derived.Limit(held));
      const auto note = [&](PatientRows::Code code) {
        rule.missing[code] = IsMissing(Trim(derived.Text(code, held)), rule.rule);
      };
      if (all) {
        for (PatientRows::Code code = 0; code < rule.missing.size(); ++code) {
          if (derived.Has(code, held)) note(code);
        }
        continue;
      }
      for (const PatientRows::Code value : values) {
        if (derived.Of(value) != DerivedValues::kFailed) note(derived.Of(value));
      }
    }
  }
}

std::size_t IndexRules::Bytes() const {
  std::size_t bytes = 0;
  for (const DerivedValues& derived : derived_) bytes += derived.Bytes();
  for (const IndexRule& rule : rules_) bytes += rule.missing.size() / 8;
  return bytes;
}

}  // namespace qm
