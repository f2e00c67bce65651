#include "dataaccess/providers/odbc/odbc_translation.h"

#include <algorithm>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "dataaccess/keyword_spelling.h"
#include "dataaccess/sql_scanner.h"
#include "runtime/text.h"

namespace qm {

namespace {

// Words that build a statement, which a bare word of that spelling always is.
constexpr std::string_view kStructure[] = {
    "SELECT", "FROM",   "WHERE", "AND",  "OR",   "NOT",   "NULL",   "IS",      "IN",       "LIKE",
    "ORDER",  "GROUP",  "BY",    "ASC",  "DESC", "SET",   "VALUES", "INTO",    "AS",       "UPDATE",
    "DELETE", "INSERT", "JOIN",  "ON",   "LEFT", "INNER", "OUTER",  "UNION",   "ALL",      "LIMIT",
    "HAVING", "EXISTS", "CASE",  "WHEN", "THEN", "ELSE",  "END",    "BETWEEN", "DISTINCT", "TABLE"};
// What a table's name follows, and what ends a list of tables.
constexpr std::string_view kBeforeTable[] = {"FROM", "JOIN", "INTO", "UPDATE", "TABLE"};
constexpr std::string_view kBehindTables[] = {"WHERE", "ORDER", "GROUP",  "SET",  "VALUES",
                                              "ON",    "LIMIT", "SELECT", "UNION"};
// What may stand behind a table's name and is no other name of it.
constexpr std::string_view kBehindTable[] = {"RIGHT",   "FULL",  "CROSS",  "NATURAL",   "USING",
                                             "DEFAULT", "FOR",   "WINDOW", "INTERSECT", "EXCEPT",
                                             "OFFSET",  "FETCH", "WITH",   "RETURNING"};
constexpr std::string_view kColumnless[] = {"PRIMARY", "UNIQUE", "FOREIGN", "CHECK", "CONSTRAINT"};

constexpr std::string_view kBehindOrder[] = {"LIMIT", "OFFSET", "FETCH", "FOR", "UNION"};
constexpr std::string_view kArithmetic = "+-*/%|.&^~";

std::string WithoutZeros(std::string_view digits) {
  return std::string(digits.substr(std::min(digits.find_first_not_of('0'), digits.size() - 1)));
}

template <typename Words>
bool Among(const SqlToken& token, const Words& words) {
  return std::any_of(std::begin(words), std::end(words),
                     [&](std::string_view word) { return token.Is(word); });
}

class Translation {
 public:
  Translation(std::string_view text, const OdbcDialect& dialect, OdbcCatalog& catalog)
      : text_(text), dialect_(dialect), catalog_(catalog) {
    SqlScanner scanner(text, dialect.Quoting());
    for (SqlToken token = scanner.Next(); token.kind != SqlToken::Kind::kEnd;
         token = scanner.Next()) {
      tokens_.push_back(token);
    }
    // A driver may put words of its own behind the statement: nothing else may stand there.
    while (!tokens_.empty() && tokens_.back().IsSymbol(';')) tokens_.pop_back();
    end_ = tokens_.empty() ? text.size() : tokens_.back().offset + tokens_.back().text.size();
  }

  std::string Result() {
    if (IsWord(0, "CREATE")) return Create();
    if (IsWord(0, "DROP") && IsWord(1, "INDEX") && tokens_.size() > 2 && tokens_[2].IsName()) {
      const std::string index = UnquoteName(tokens_[2].text);
      return dialect_.DropIndex(index, catalog_.TableOfIndex(index).value_or(std::string()));
    }
    return Names();
  }

 private:
  bool IsWord(std::size_t i, std::string_view word) const {
    return i < tokens_.size() && tokens_[i].Is(word);
  }
  bool IsSymbol(std::size_t i, char symbol) const {
    return i < tokens_.size() && tokens_[i].IsSymbol(symbol);
  }

  // Writes what stands before the token as it is, and this instead of the token.
  void Replace(const SqlToken& token, std::string_view replacement) {
    result_.append(text_.substr(written_, token.offset - written_)).append(replacement);
    written_ = token.offset + token.text.size();
  }

  // Writes that behind the token.
  void Append(const SqlToken& token, std::string_view addition) {
    const std::size_t end = token.offset + token.text.size();
    if (end > written_) result_.append(text_.substr(written_, end - written_));
    written_ = end;
    result_.append(addition);
  }

  std::string Finish() {
    if (end_ > written_) result_ += text_.substr(written_, end_ - written_);
    return std::move(result_);
  }

  std::string Names() {
    FindTables();
    FindOrderTerms();
    for (std::size_t i = 0; i < tokens_.size(); ++i) {
      if (const auto end = ComparedAsText(i)) {
        SqlToken number = tokens_[i];
        const SqlToken& last = tokens_[*end - 1];
        number.text = std::string_view(text_).substr(
            number.offset, last.offset + last.text.size() - number.offset);
        Replace(number, "'" + NumberText(i) + "'");
        i = *end - 1;
      } else {
        Token(i);
      }
      const auto order = null_orders_.find(i);
      if (order != null_orders_.end()) Append(tokens_[i], dialect_.NullOrder(order->second));
    }
    return Finish();
  }

  // The tables that the statement names, by the place of their names.
  void FindTables() {
    bool in_tables = false;
    bool expects = false;
    for (std::size_t i = 0; i < tokens_.size(); ++i) {
      const SqlToken& token = tokens_[i];
      if (Among(token, kBeforeTable)) {
        in_tables = expects = true;
      } else if (Among(token, kBehindTables) || token.IsSymbol('(')) {
        in_tables = expects = false;
      } else if (in_tables && token.IsSymbol(',')) {
        expects = true;
      } else if (expects && token.IsName()) {
        if (IsSymbol(i + 1, '.')) continue;  // a schema, or a table's own qualifier
        expects = false;
        if (auto table = catalog_.Table(UnquoteName(token.text))) {
          tables_.push_back({i, std::move(table)});
        }
        const std::size_t alias = IsWord(i + 1, "AS") ? i + 2 : i + 1;
        if (IsAlias(alias)) aliases_.push_back(alias);
      }
    }
  }

  bool IsAlias(std::size_t i) const {
    if (i >= tokens_.size() || !tokens_[i].IsName()) return false;
    return tokens_[i].kind == SqlToken::Kind::kQuotedName ||
           !(Among(tokens_[i], kStructure) || Among(tokens_[i], kBehindTable));
  }

  const OdbcTableInfo* TableAt(std::size_t place) const {
    for (const auto& [at, table] : tables_) {
      if (at == place) return table.get();
    }
    return nullptr;
  }

  const OdbcColumn* FindColumn(std::string_view name) const {
    for (const auto& [at, table] : tables_) {
      if (const OdbcColumn* column = table->FindColumn(name)) return column;
    }
    return nullptr;
  }

  // The column that the token names, if it names one; a qualifier before it is no matter.
  const OdbcColumn* ColumnAt(std::size_t i) const {
    if (i >= tokens_.size() || !tokens_[i].IsName() || IsSymbol(i + 1, '.')) return nullptr;
    const bool keyword = tokens_[i].kind == SqlToken::Kind::kWord && Among(tokens_[i], kStructure);
    return keyword ? nullptr : FindColumn(UnquoteName(tokens_[i].text));
  }

  // Where the name that ends there begins, with its qualifier.
  std::size_t NameStart(std::size_t i) const { return i >= 2 && IsSymbol(i - 1, '.') ? i - 2 : i; }

  bool IsOperator(std::size_t i) const {
    return i < tokens_.size() && tokens_[i].kind == SqlToken::Kind::kSymbol &&
           kArithmetic.find(tokens_[i].text) != std::string_view::npos;
  }
  bool IsComparison(std::size_t i) const {
    return IsSymbol(i, '=') || IsSymbol(i, '<') || IsSymbol(i, '>') || IsSymbol(i, '!');
  }
  bool IsTextColumn(std::size_t i) const {
    const OdbcColumn* column = ColumnAt(i);
    return column != nullptr && KindOf(column->place.sql_type) == OdbcKind::kText;
  }

  bool IsDigits(std::size_t i) const {
    return i < tokens_.size() && tokens_[i].kind == SqlToken::Kind::kNumber &&
           tokens_[i].text.find_first_not_of("0123456789") == std::string_view::npos;
  }
  bool IsSign(std::size_t i) const { return IsSymbol(i, '-') || IsSymbol(i, '+'); }

  // Behind the number that begins there, with its sign and fraction; `i` when none does.
  std::size_t NumberEnd(std::size_t i) const {
    const std::size_t whole = IsSign(i) ? i + 1 : i;
    if (!IsDigits(whole)) return i;
    return IsSymbol(whole + 1, '.') && IsDigits(whole + 2) ? whole + 3 : whole + 1;
  }

  // The number as the text that it is kept as: no zeros that say nothing.
  std::string NumberText(std::size_t i) const {
    std::string text = IsSymbol(i, '-') ? "-" : "";
    const std::size_t whole = IsSign(i) ? i + 1 : i;
    text += WithoutZeros(tokens_[whole].text);
    if (NumberEnd(i) == whole + 1) return text == "-0" ? "0" : text;
    std::string_view fraction = tokens_[whole + 2].text;
    while (fraction.size() > 1 && fraction.ends_with('0')) fraction.remove_suffix(1);
    return text.append(".").append(fraction);
  }

  // Before the values of a list or a range that end there, where they belong to that word.
  std::optional<std::size_t> BeforeValues(std::size_t i, std::string_view word) const {
    const auto is_value = [&](std::size_t at) {
      return tokens_[at].kind == SqlToken::Kind::kNumber ||
             tokens_[at].kind == SqlToken::Kind::kString || IsSign(at) || IsSymbol(at, '.') ||
             IsSymbol(at, ',') || (word == "IN" && IsSymbol(at, '('));
    };
    while (i > 0 && is_value(i)) --i;
    if (i == 0 || !IsWord(i, word)) return std::nullopt;
    return IsWord(i - 1, "NOT") ? i - 2 : i - 1;
  }

  // A number that stands alone is compared with a column of texts as the text it is: some engines
  // refuse that comparison, others read the texts as numbers. Behind the number that begins there,
  // or nothing.
  std::optional<std::size_t> ComparedAsText(std::size_t i) const {
    const std::size_t end = NumberEnd(i);
    if (end == i || i < 2 || IsOperator(i - 1) || IsOperator(end)) return std::nullopt;
    const auto found = [&](bool compared) { return compared ? std::optional(end) : std::nullopt; };
    std::size_t before = i - 1;
    if (IsComparison(before)) {
      while (before > 0 && IsComparison(before)) --before;
      return found(IsTextColumn(before) &&
                   !(NameStart(before) > 0 && IsOperator(NameStart(before) - 1)));
    }
    std::size_t behind = end;
    while (IsComparison(behind)) ++behind;
    if (behind > end) {
      // A sign behind a value subtracts.
      if (IsSign(i) && !Among(tokens_[before], kStructure) && !IsSymbol(before, '(')) return {};
      if (IsSymbol(behind + 1, '.')) behind += 2;
      return found(IsTextColumn(behind) && !IsOperator(behind + 1));
    }
    std::optional<std::size_t> column;
    if (IsSymbol(before, '(') || IsSymbol(before, ',')) {
      column = BeforeValues(before, "IN");
    } else if (IsWord(before, "BETWEEN")) {
      column = BeforeValues(before, "BETWEEN");
    } else if (IsWord(before, "AND")) {
      column = BeforeValues(before - 1, "BETWEEN");
    }
    return found(column && IsTextColumn(*column));
  }

  // Notes what stands behind the terms of every ORDER BY.
  void FindOrderTerms() {
    for (std::size_t i = 0; i + 2 < tokens_.size(); ++i) {
      if (!IsWord(i, "ORDER") || !IsWord(i + 1, "BY")) continue;
      std::size_t start = i + 2;
      for (std::size_t end = start; start < tokens_.size(); start = ++end) {
        end = EndOfTerm(start);
        NoteOrderTerm(start, end);
        if (!IsSymbol(end, ',')) break;
      }
    }
  }

  std::size_t EndOfTerm(std::size_t i) const {
    int depth = 0;
    for (; i < tokens_.size(); ++i) {
      if (depth == 0 && (IsSymbol(i, ',') || IsSymbol(i, ')') || IsSymbol(i, ';') ||
                         Among(tokens_[i], kBehindOrder))) {
        break;
      }
      if (IsSymbol(i, '(')) ++depth;
      if (IsSymbol(i, ')')) --depth;
    }
    return i;
  }

  void NoteOrderTerm(std::size_t start, std::size_t end) {
    if (start == end) return;
    std::size_t last = end - 1;
    const bool descending = IsWord(last, "DESC");
    if ((descending || IsWord(last, "ASC")) && last > start) --last;
    const OdbcColumn* column = NameStart(last) == start ? ColumnAt(last) : nullptr;
    if (column != nullptr && column->nullable) null_orders_[end - 1] = descending;
  }

  const OdbcTableInfo* FindQualifier(std::string_view name) const {
    for (const auto& [at, table] : tables_) {
      if (EqualsIgnoreCase(table->name, name)) return table.get();
    }
    return nullptr;
  }

  void Token(std::size_t i) {
    const SqlToken& token = tokens_[i];
    if (!token.IsName()) return;
    if (const OdbcTableInfo* table = TableAt(i)) return Replace(token, dialect_.Quote(table->name));
    // Another name of a table is written as where it is given.
    for (const std::size_t alias : aliases_) {
      const std::string given = UnquoteName(tokens_[alias].text);
      if ((alias == i || IsSymbol(i + 1, '.')) &&
          EqualsIgnoreCase(UnquoteName(token.text), given)) {
        return Replace(token, dialect_.Quote(given));
      }
    }
    const bool bare = token.kind == SqlToken::Kind::kWord;
    if (bare && (Among(token, kStructure) || IsSymbol(i + 1, '('))) return;
    const std::string name = UnquoteName(token.text);
    if (IsSymbol(i + 1, '.')) {
      if (const OdbcTableInfo* table = FindQualifier(name)) {
        return Replace(token, dialect_.Quote(table->name));
      }
    } else if (const OdbcColumn* column = FindColumn(name)) {
      return Replace(token, dialect_.Quote(column->name));
    }
    if (!bare) Replace(token, dialect_.Quote(name));
  }

  void QuoteAt(std::size_t i) {
    if (i < tokens_.size() && tokens_[i].IsName()) {
      Replace(tokens_[i], dialect_.Quote(UnquoteName(tokens_[i].text)));
    }
  }

  std::string Create() {
    std::size_t i = 1;
    if (IsWord(i, "UNIQUE")) ++i;
    if (IsWord(i, "TABLE")) {
      QuoteAt(i + 1);
      ColumnDefinitions(i + 2);
      std::string statement = Finish();
      return statement.append(dialect_.TableOptions());
    }
    if (!IsWord(i, "INDEX") || !IsWord(i + 2, "ON")) return Names();
    QuoteAt(i + 1);
    const auto table =
        i + 3 < tokens_.size() ? catalog_.Table(UnquoteName(tokens_[i + 3].text)) : nullptr;
    if (table != nullptr) {
      Replace(tokens_[i + 3], dialect_.Quote(table->name));
      tables_.push_back({i + 3, table});
    } else {
      QuoteAt(i + 3);
    }
    for (std::size_t at = i + 4; at < tokens_.size(); ++at) {
      Token(at);
      const OdbcColumn* column = ColumnAt(at);
      if (column == nullptr || !column->nullable) continue;
      // In the order that tables are paged in.
      if (IsSymbol(at + 1, ',') || IsSymbol(at + 1, ')')) {
        Append(tokens_[at], dialect_.NullOrder(false));
      } else if (IsWord(at + 1, "DESC")) {
        Append(tokens_[++at], dialect_.NullOrder(true));
      }
    }
    return Finish();
  }

  // NAME TYPE …, NAME TYPE …, PRIMARY KEY (NAME, …)
  void ColumnDefinitions(std::size_t i) {
    int depth = 0;
    bool starts = false;
    bool names = false;  // within the list of a constraint
    for (; i < tokens_.size(); ++i) {
      const SqlToken& token = tokens_[i];
      if (token.IsSymbol('(')) {
        starts = ++depth == 1;
      } else if (token.IsSymbol(')')) {
        if (--depth == 1) names = false;
      } else if (token.IsSymbol(',')) {
        starts = depth == 1;
      } else if (starts) {
        starts = false;
        if (Among(token, kColumnless)) {
          names = true;
        } else {
          QuoteAt(i);
          i = Type(i + 1);
        }
      } else if ((names && depth == 2) || token.kind == SqlToken::Kind::kQuotedName) {
        QuoteAt(i);
      }
    }
  }

  // The type at that place, and the place of its last token.
  std::size_t Type(std::size_t i) {
    if (i >= tokens_.size() || tokens_[i].kind != SqlToken::Kind::kWord) return i - 1;
    std::size_t last = i;
    if (IsSymbol(i + 1, '(')) {
      while (last < tokens_.size() && !tokens_[last].IsSymbol(')')) ++last;
      if (last == tokens_.size()) return i;
    }
    SqlToken whole = tokens_[i];
    whole.text =
        text_.substr(whole.offset, tokens_[last].offset + tokens_[last].text.size() - whole.offset);
    Replace(whole, dialect_.ColumnType(whole.text));
    return last;
  }

  struct Named {
    std::size_t place;
    std::shared_ptr<const OdbcTableInfo> table;
  };

  std::string_view text_;
  const OdbcDialect& dialect_;
  OdbcCatalog& catalog_;
  std::vector<SqlToken> tokens_;
  std::vector<Named> tables_;
  std::vector<std::size_t> aliases_;         // the places of tables' other names
  std::map<std::size_t, bool> null_orders_;  // by the last token of a term; whether it descends
  std::string result_;
  std::size_t written_ = 0;
  std::size_t end_ = 0;
};

}  // namespace

std::string TranslateStatement(std::string_view text, const OdbcDialect& dialect,
                               OdbcCatalog& catalog) {
  const std::string spelt = WithOrderSpelt(text, dialect.Quoting());
  return Translation(spelt, dialect, catalog).Result();
}

}  // namespace qm
