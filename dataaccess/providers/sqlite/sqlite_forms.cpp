#include "dataaccess/providers/sqlite/sqlite_forms.h"

#include <algorithm>
#include <charconv>
#include <utility>

#include "dataaccess/sql_scanner.h"
#include "runtime/text.h"

namespace qm {

namespace {

constexpr std::size_t kMostForms = 32;
constexpr std::size_t kMostDigits = 18;       // of a number that no engine takes for a real
constexpr std::size_t kLongestText = 500000;  // what the engine takes as a statement
constexpr std::string_view kInsert = "INSERT INTO ";
constexpr std::string_view kValues = ") values (";

bool ReadNumber(std::string_view& text, std::int64_t& number) {
  const std::size_t sign = text.starts_with('-') ? 1 : 0;
  std::size_t end = sign;
  while (end < text.size() && IsDigit(text[end])) ++end;
  if (end == sign || end - sign > kMostDigits) return false;
  std::from_chars(text.data(), text.data() + end, number);
  text.remove_prefix(end);
  return true;
}

// A text without an apostrophe in it.
bool ReadText(std::string_view& text, std::string_view& value) {
  if (!text.starts_with('\'')) return false;
  const std::size_t close = text.find('\'', 1);
  if (close == std::string_view::npos) return false;
  value = text.substr(1, close - 1);
  text.remove_prefix(close + 1);
  return !text.starts_with('\'');
}

// What stands behind "values (", up to the end of the statement.
bool ReadConstants(std::string_view text, std::vector<SqliteConstant>& values) {
  if (text.find('\0') != std::string_view::npos) return false;
  constexpr std::string_view kEmptyText = "'', ";  // as most of them are
  for (;;) {
    SqliteConstant& value = values.emplace_back();
    if (text.starts_with(kEmptyText)) {
      value.is_text = true;
      value.text = text.substr(1, 0);
      text.remove_prefix(kEmptyText.size());
      continue;
    }
    value.is_text = ReadText(text, value.text);
    if (!value.is_text && !ReadNumber(text, value.number)) return false;
    if (text == ")") return true;
    if (!text.starts_with(',')) return false;
    text.remove_prefix(text.starts_with(", ") ? 2 : 1);
  }
}

// The number of columns that "INSERT INTO table (columns" names; 0 when it is anything else.
std::size_t ColumnsNamed(std::string_view text) {
  SqlScanner scanner(text);
  scanner.Next();
  scanner.Next();
  if (!scanner.Next().IsName() || !scanner.Next().IsSymbol('(')) return 0;
  for (std::size_t count = 1;; ++count) {
    if (!scanner.Next().IsName()) return 0;
    const SqlToken behind = scanner.Next();
    if (behind.kind == SqlToken::Kind::kEnd) return count;
    if (!behind.IsSymbol(',')) return 0;
  }
}

std::string_view WithoutDigitsAtEnd(std::string_view text) {
  const std::size_t last = text.find_last_not_of("0123456789");
  return text.substr(0, last == std::string_view::npos ? 0 : last + 1);
}

}  // namespace

std::optional<SqliteForms::Fitting> SqliteForms::Fit(std::string_view text, bool with_identity) {
  const bool inserts = text.starts_with(kInsert);
  if (text.size() > kLongestText) return std::nullopt;
  for (const auto& form : forms_) {
    if (form->inserts != inserts || !text.starts_with(form->head)) continue;
    if (!inserts && form->with_identity != with_identity) continue;
    std::string_view rest = text.substr(form->head.size());
    Fitting fitting{form, {}};
    if (inserts) {
      fitting.values.reserve(form->places);
      if (!ReadConstants(rest, fitting.values) || fitting.values.size() != form->places) continue;
    } else {
      SqliteConstant& key = fitting.values.emplace_back();
      if (!ReadNumber(rest, key.number) || !rest.empty()) continue;
    }
    if (!form->spoilt) return fitting;
    std::erase(forms_, fitting.form);
    return std::nullopt;
  }
  return std::nullopt;
}

void SqliteForms::LearnInsert(std::string_view text) {
  if (!text.starts_with(kInsert) || text.size() > kLongestText) return;
  const std::size_t close = text.find(kValues);
  if (close == std::string_view::npos) return;
  const std::size_t columns = ColumnsNamed(text.substr(0, close));
  std::vector<SqliteConstant> values;
  if (columns == 0 || !ReadConstants(text.substr(close + kValues.size()), values)) return;
  if (values.size() != columns) return;
  auto form = std::make_shared<SqliteForm>();
  form->inserts = true;
  form->places = columns;
  form->head = text.substr(0, close + kValues.size());
  form->prepared = form->head + "?";
  for (std::size_t i = 1; i < columns; ++i) form->prepared += ", ?";
  form->prepared += ")";
  Keep(std::move(form));
}

std::string SqliteForms::KeyTested(const PlainSelect& plain) {
  SqlScanner scanner(plain.rest);
  if (!scanner.Next().Is("WHERE")) return {};
  const SqlToken column = scanner.Next();
  if (!column.IsName() || !scanner.Next().IsSymbol('=')) return {};
  const SqlToken number = scanner.Next();
  const bool whole = number.kind == SqlToken::Kind::kNumber &&
                     WithoutDigitsAtEnd(number.text).empty() && number.text.size() <= kMostDigits;
  return whole && number.offset + number.text.size() == plain.rest.size() ? UnquoteName(column.text)
                                                                          : std::string();
}

void SqliteForms::LearnSelect(std::string_view text, const PlainSelect& plain,
                              std::shared_ptr<const SqliteTable> table) {
  const std::string_view head = WithoutDigitsAtEnd(text);
  if (head.size() == text.size()) return;  // a closing semicolon or comment
  auto form = std::make_shared<SqliteForm>();
  form->head = head;
  form->with_identity = table != nullptr;
  const std::string test(WithoutDigitsAtEnd(plain.rest));
  form->prepared = table != nullptr ? table->WithIdentity(test + "?") : form->head + "?";
  form->table = std::move(table);
  Keep(std::move(form));
}

void SqliteForms::Keep(std::shared_ptr<SqliteForm> form) {
  if (forms_.size() == kMostForms) forms_.erase(forms_.begin());
  forms_.push_back(std::move(form));
}

}  // namespace qm
