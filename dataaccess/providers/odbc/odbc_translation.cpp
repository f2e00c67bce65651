#include "dataaccess/providers/odbc/odbc_translation.h"

#include <algorithm>
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
constexpr std::string_view kColumnless[] = {"PRIMARY", "UNIQUE", "FOREIGN", "CHECK", "CONSTRAINT"};

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

  std::string Finish() {
    result_ += text_.substr(written_);
    return std::move(result_);
  }

  std::string Names() {
    FindTables();
    for (std::size_t i = 0; i < tokens_.size(); ++i) Token(i);
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
      }
    }
  }

  const OdbcTableInfo* TableAt(std::size_t place) const {
    for (const auto& [at, table] : tables_) {
      if (at == place) return table.get();
    }
    return nullptr;
  }

  const std::string* FindColumn(std::string_view name) const {
    for (const auto& [at, table] : tables_) {
      if (const OdbcColumn* column = table->FindColumn(name)) return &column->name;
    }
    return nullptr;
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
    const bool bare = token.kind == SqlToken::Kind::kWord;
    if (bare && (Among(token, kStructure) || IsSymbol(i + 1, '('))) return;
    const std::string name = UnquoteName(token.text);
    if (IsSymbol(i + 1, '.')) {
      if (const OdbcTableInfo* table = FindQualifier(name)) {
        return Replace(token, dialect_.Quote(table->name));
      }
    } else if (const std::string* column = FindColumn(name)) {
      return Replace(token, dialect_.Quote(*column));
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
    for (std::size_t at = i + 4; at < tokens_.size(); ++at) Token(at);
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
  std::string result_;
  std::size_t written_ = 0;
};

}  // namespace

std::string TranslateStatement(std::string_view text, const OdbcDialect& dialect,
                               OdbcCatalog& catalog) {
  const std::string spelt = WithOrderSpelt(text, dialect.Quoting());
  return Translation(spelt, dialect, catalog).Result();
}

}  // namespace qm
