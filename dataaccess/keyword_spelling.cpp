#include "dataaccess/keyword_spelling.h"

#include "runtime/text.h"

namespace qm {

namespace {

constexpr std::string_view kMisspelt = "OERDER";

// Most statements lack the word, and long ones are not cut into tokens for it.
bool Mentions(std::string_view text) {
  for (std::size_t at = text.find_first_of("oO"); at != std::string_view::npos;
       at = text.find_first_of("oO", at + 1)) {
    if (EqualsIgnoreCase(text.substr(at, kMisspelt.size()), kMisspelt)) return true;
  }
  return false;
}

// Behind these a name is expected.
bool ExpectsName(const SqlToken& token) {
  if (token.IsSymbol(',') || token.IsSymbol('.') || token.IsSymbol('(')) return true;
  return token.Is("FROM") || token.Is("JOIN") || token.Is("AS") || token.Is("WHERE");
}

}  // namespace

std::string WithOrderSpelt(std::string_view text, SqlQuoting quoting) {
  if (!Mentions(text)) return std::string(text);
  std::string result;
  std::size_t copied = 0;
  bool from = false;
  SqlScanner scanner(text, quoting);
  SqlToken before;
  SqlToken token = scanner.Next();
  while (token.kind != SqlToken::Kind::kEnd) {
    const SqlToken next = scanner.Next();
    if (from && token.Is(kMisspelt) && next.Is("BY") && !ExpectsName(before)) {
      result.append(text.substr(copied, token.offset - copied)).append("ORDER");
      copied = token.offset + token.text.size();
    }
    from = from || token.Is("FROM");
    before = token;
    token = next;
  }
  return result.append(text.substr(copied));
}

}  // namespace qm
