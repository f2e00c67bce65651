// Lexer: cuts the text of an expression into tokens, one at a time. Blanks, tabs, continued lines
// and a closing comment are skipped; a text or character that begins no token is a syntax error.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

#include <qm/variant.h>

namespace qm {

enum class TokenKind : std::uint8_t {
  kEnd,
  kLiteral,        ///< a number, text or date, in `value`
  kName,           ///< an identifier or keyword
  kBracketedName,  ///< an identifier in brackets, without them
  kSymbol          ///< an operator's sign, a parenthesis, a comma, a point
};

struct Token {
  TokenKind kind = TokenKind::kEnd;
  std::string_view text;
  Variant value;
};

class Lexer {
 public:
  /// The text must outlive the tokens, which point into it.
  explicit Lexer(std::string_view text) : text_(text) {}

  Token Next();

 private:
  char Peek(std::size_t ahead = 0) const;
  void SkipBlanks();
  void SkipToEnd();
  Token Literal(std::size_t begin, Variant value) const;
  Token TakeText();
  Token TakeDate();
  Token TakeNumber();
  Token TakeRadixNumber();
  Token TakeName();
  Token TakeBracketedName();
  Token TakeSymbol();

  std::string_view text_;
  std::size_t at_ = 0;
};

}  // namespace qm
