#include "dataaccess/plain_select.h"

#include <algorithm>
#include <vector>

#include "runtime/text.h"

namespace qm {

namespace {

// Functions known to give one value a row; any other may be an aggregate.
constexpr std::string_view kScalarFunctions[] = {
    "ABS",   "COALESCE", "IFNULL", "LENGTH", "LOWER", "UPPER",   "TRIM",   "LTRIM",
    "RTRIM", "CAST",     "SUBSTR", "NULLIF", "ROUND", "REPLACE", "TYPEOF", "SUBSTRING"};
constexpr std::string_view kForbidden[] = {"SELECT", "UNION",  "INTERSECT", "EXCEPT",
                                           "GROUP",  "HAVING", "WINDOW",    "OVER"};

template <typename Names>
bool Among(const SqlToken& token, const Names& names) {
  return std::any_of(std::begin(names), std::end(names),
                     [&](std::string_view name) { return token.Is(name); });
}

std::vector<SqlToken> Tokens(std::string_view text, SqlQuoting quoting) {
  std::vector<SqlToken> tokens;
  SqlScanner scanner(text, quoting);
  for (SqlToken token = scanner.Next(); token.kind != SqlToken::Kind::kEnd;
       token = scanner.Next()) {
    tokens.push_back(token);
  }
  while (!tokens.empty() && tokens.back().IsSymbol(';')) tokens.pop_back();
  return tokens;
}

bool IsClause(const SqlToken& token) {
  return token.Is("WHERE") || token.Is("ORDER") || token.Is("LIMIT");
}

// Whether the tokens hold only expressions that keep one row of the table one row of the result.
bool KeepsRows(const std::vector<SqlToken>& tokens, std::size_t first, std::size_t end) {
  for (std::size_t i = first; i < end; ++i) {
    if (Among(tokens[i], kForbidden)) return false;
    const bool call = tokens[i].IsName() && i + 1 < end && tokens[i + 1].IsSymbol('(');
    const bool operator_word = tokens[i].Is("IN") || tokens[i].Is("AND") || tokens[i].Is("OR") ||
                               tokens[i].Is("NOT") || tokens[i].Is("BY");
    if (call && !operator_word && !Among(tokens[i], kScalarFunctions)) return false;
  }
  return true;
}

// The next token outside parentheses that fits, or the end.
template <typename Fits>
std::size_t FindOutside(const std::vector<SqlToken>& tokens, std::size_t first, Fits fits) {
  int depth = 0;
  for (std::size_t i = first; i < tokens.size(); ++i) {
    if (tokens[i].IsSymbol('(')) ++depth;
    if (tokens[i].IsSymbol(')')) --depth;
    if (depth == 0 && fits(tokens[i])) return i;
  }
  return tokens.size();
}

std::size_t EndOf(const SqlToken& token) { return token.offset + token.text.size(); }

}  // namespace

std::optional<PlainSelect> ParsePlainSelect(std::string_view text, SqlQuoting quoting) {
  const std::vector<SqlToken> tokens = Tokens(text, quoting);
  const std::size_t count = tokens.size();
  if (count < 4 || !tokens[0].Is("SELECT") || tokens[1].Is("DISTINCT") || tokens[1].Is("ALL")) {
    return std::nullopt;
  }
  const std::size_t from = FindOutside(tokens, 1, [](const SqlToken& t) { return t.Is("FROM"); });
  if (from < 2 || from + 1 >= count || !tokens[from + 1].IsName()) return std::nullopt;
  if (!KeepsRows(tokens, 1, from)) return std::nullopt;

  PlainSelect plain;
  std::size_t at = from + 1;
  if (at + 2 < count && tokens[at + 1].IsSymbol('.') && tokens[at + 2].IsName()) {
    plain.schema = UnquoteName(tokens[at].text);
    at += 2;
  }
  plain.table = UnquoteName(tokens[at].text);
  plain.reference = tokens[at].text;
  const std::size_t name = at;
  std::size_t last = at++;
  const bool as = at < count && tokens[at].Is("AS");
  if (as) ++at;
  if (at < count && tokens[at].IsName() && !IsClause(tokens[at])) {
    plain.reference = tokens[at].text;
    last = at++;
  } else if (as) {
    return std::nullopt;
  }
  if (at < count && !IsClause(tokens[at])) return std::nullopt;

  // Sub-queries are harmless within WHERE, but not a compound or a grouping beside it.
  const auto compound = [](const SqlToken& t) { return Among(t, kForbidden); };
  if (FindOutside(tokens, at, compound) < count) return std::nullopt;
  const std::size_t order =
      FindOutside(tokens, at, [](const SqlToken& t) { return t.Is("ORDER"); });
  if (!KeepsRows(tokens, order, count)) return std::nullopt;

  const auto between = [&](std::size_t first, std::size_t end) {
    return text.substr(first, end - first);
  };
  plain.list = between(EndOf(tokens[0]), tokens[from].offset);
  plain.table_text = between(tokens[from + 1].offset, EndOf(tokens[last]));
  plain.target = between(tokens[from + 1].offset, EndOf(tokens[name]));
  plain.rest = between(EndOf(tokens[last]), EndOf(tokens.back()));
  return plain;
}

}  // namespace qm
