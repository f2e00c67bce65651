// The matching tables as one file of comma-separated values.
#include <qm/match_rules.h>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <limits>
#include <set>
#include <span>

#include <qm/conversions.h>
#include <qm/error.h>

#include "matching/rule_tables.h"
#include "runtime/csv_reader.h"
#include "runtime/text.h"

namespace qm {

namespace {

constexpr const char* kTableColumn = "Table";

// Without these columns the file is none of rules, or would switch every rule off.
constexpr std::string_view kRequired[] = {
    "AbstractField", "PatientField",         "FieldName", "Weight", "ExactMatch",
    "ignore",        "PotentialPatientMatch"};
// What is written without quotes here is a number however it is spelt (1.50).
constexpr std::string_view kNumbers[] = {
    "BlockingID", "MatchingID",           "Weight", "ExactMatch", "StringComparatorParam",
    "ignore",     "PotentialPatientMatch"};

[[noreturn]] void Refuse(std::int64_t line, const std::string& reason) {
  throw Error(kErrBadArgument, "QMDataObjects2", "line " + std::to_string(line) + ": " + reason);
}

// The fewest digits that read as the same number.
std::string NumberText(double value) {
  char text[40];
  const auto end = std::to_chars(text, text + sizeof text, value).ptr;
  return {text, end};
}

bool Named(std::span<const std::string_view> names, std::string_view name) {
  return std::ranges::any_of(names,
                             [&](std::string_view one) { return EqualsIgnoreCase(one, name); });
}

Variant NumberOf(double value) {
  if (value == std::floor(value) && std::abs(value) <= std::numeric_limits<std::int32_t>::max() &&
      !(value == 0 && std::signbit(value))) {
    return Variant(static_cast<std::int32_t>(value));
  }
  return Variant(value);
}

// A cell without quotes is a number only where that number would be written so again.
Variant ValueOf(const CsvCell& cell, std::string_view column) {
  if (cell.quoted) return Variant(cell.text);
  if (cell.text.empty()) return Variant::Null();
  const char* begin = cell.text.data();
  const char* end = begin + cell.text.size();
  std::int64_t whole = 0;
  const auto read = std::from_chars(begin, end, whole);
  if (read.ec == std::errc() && read.ptr == end && std::to_string(whole) == cell.text) {
    const auto narrow = static_cast<std::int32_t>(whole);
    return narrow == whole ? Variant(narrow) : Variant(whole);
  }
  double real = 0;
  const auto parsed = std::from_chars(begin, end, real);
  if (parsed.ec == std::errc() && parsed.ptr == end && std::isfinite(real) &&
      NumberText(real) == cell.text) {
    return Variant(real);
  }
  const auto number = Named(kNumbers, column) ? ParseNumber(cell.text) : std::nullopt;
  return number ? NumberOf(*number) : Variant(cell.text);
}

void WriteCell(std::string& csv, const Variant& value) {
  if (value.IsNull()) return;
  if (!value.IsText()) {
    const double* real = value.GetIf<double>();
    csv += real != nullptr ? NumberText(*real) : ToText(value);
    return;
  }
  const std::string& text = value.Get<std::string>();
  if (!text.empty() && text.find_first_of(",\"\r\n") == std::string::npos && !IsNumeric(value)) {
    csv += text;
    return;
  }
  csv += '"';
  for (const char c : text) {
    if (c == '"') csv += '"';
    csv += c;
  }
  csv += '"';
}

// Columns of all tables, each name once.
std::vector<std::string> AllColumns(const MatchRules& rules) {
  std::vector<std::string> columns;
  std::set<std::string> names;
  for (const RuleTableInfo& info : kRuleTables) {
    for (const std::string& column : (rules.*info.member).columns) {
      if (names.insert(LowerCase(column)).second) columns.push_back(column);
    }
  }
  return columns;
}

class Parser {
 public:
  explicit Parser(std::string_view csv) : reader_(csv) {}

  MatchRules Parse() {
    ReadHeading();
    MatchRules rules;
    for (const RuleTableInfo& info : kRuleTables) (rules.*info.member).columns = columns_;
    while (Next()) AddRow(rules);
    for (const RuleTableInfo& info : kRuleTables) {
      CheckKeys(info, rules.*info.member);
      DropEmptyColumns(rules.*info.member);
    }
    if (rules.cutoff.rows.empty()) Refuse(reader_.Line(), "the file ends without a cut-off row");
    return rules;
  }

 private:
  bool Next() {
    const bool more = reader_.Next(row_);
    if (!reader_.Fault().empty()) Refuse(reader_.Line(), std::string(reader_.Fault()));
    for (std::size_t i = 0; more && i < row_.size(); ++i) {
      const std::string& text = row_[i].text;
      if (!IsValidUtf8(text) || text.find('\0') != std::string::npos) {
        Refuse(reader_.Line(), "cell " + std::to_string(i + 1) + " is no text in UTF-8");
      }
    }
    return more;
  }

  void ReadHeading() {
    if (!Next() || !EqualsIgnoreCase(row_.front().text, kTableColumn)) {
      Refuse(1, "the heading does not begin with Table; columns stand between commas");
    }
    std::set<std::string> names;
    for (std::size_t i = 1; i < row_.size(); ++i) {
      columns_.push_back(row_[i].text);
      if (!names.insert(LowerCase(row_[i].text)).second) {
        Refuse(1, "column '" + row_[i].text + "' stands twice in the heading");
      }
    }
    for (const std::string_view required : kRequired) {
      if (!names.contains(LowerCase(required))) {
        Refuse(1, "the heading lacks the column " + std::string(required));
      }
    }
  }

  void AddRow(MatchRules& rules) {
    const std::int64_t line = reader_.Line();
    const auto info = std::ranges::find_if(kRuleTables, [&](const RuleTableInfo& one) {
      return EqualsIgnoreCase(one.file_name, row_.front().text);
    });
    if (info == kRuleTables.end()) {
      Refuse(line, "Table is none of blocking, matching, cutoff");
    }
    if (row_.size() - 1 > columns_.size()) Refuse(line, "more cells than the heading has");
    row_.resize(columns_.size() + 1);
    RuleTable::Row added;
    added.line = line;
    for (std::size_t i = 0; i < columns_.size(); ++i) {
      added.values.push_back(ValueOf(row_[i + 1], columns_[i]));
    }
    RuleTable& table = rules.*info->member;
    if (const std::string why = WhyNotLoaded(*info, table, added); !why.empty()) Refuse(line, why);
    table.rows.push_back(std::move(added));
  }

  // The engine gives keys to rows without one; beside given keys they could collide.
  static void CheckKeys(const RuleTableInfo& info, const RuleTable& table) {
    std::set<std::string> keys;
    for (const RuleTable::Row& row : table.rows) {
      const Variant key = info.key.empty() ? Variant::Null() : table.Value(row, info.key);
      const Variant first =
          info.key.empty() ? Variant::Null() : table.Value(table.rows.front(), info.key);
      const std::string name(info.key);
      if (key.IsNull() != first.IsNull()) {
        Refuse(row.line, name + " must be given in all rows of its table or in none");
      }
      if (!key.IsNull() && !keys.insert(ToText(key)).second) {
        Refuse(row.line, name + " " + ToText(key) + " stands twice");
      }
    }
  }

  static void DropEmptyColumns(RuleTable& table) {
    for (std::size_t i = table.columns.size(); i-- > 0;) {
      const auto at = static_cast<std::ptrdiff_t>(i);
      const bool filled = std::ranges::any_of(
          table.rows, [&](const RuleTable::Row& row) { return !row.values[i].IsNull(); });
      if (filled) continue;
      table.columns.erase(table.columns.begin() + at);
      for (RuleTable::Row& row : table.rows) row.values.erase(row.values.begin() + at);
    }
  }

  CsvReader reader_;
  std::vector<CsvCell> row_;
  std::vector<std::string> columns_;
};

}  // namespace

std::string MatchRulesCsv(const MatchRules& rules) {
  const std::vector<std::string> columns = AllColumns(rules);
  std::string csv = kTableColumn;
  for (const std::string& column : columns) WriteCell(csv.append(","), Variant(column));
  csv += "\r\n";
  for (const RuleTableInfo& info : kRuleTables) {
    const RuleTable& table = rules.*info.member;
    for (const RuleTable::Row& row : table.rows) {
      csv += info.file_name;
      for (const std::string& column : columns) {
        WriteCell(csv.append(","), table.Value(row, column));
      }
      csv += "\r\n";
    }
  }
  return csv;
}

MatchRules ParseMatchRules(std::string_view csv) { return Parser(csv).Parse(); }

}  // namespace qm
