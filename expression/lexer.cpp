#include "expression/lexer.h"

#include <array>
#include <cmath>
#include <optional>
#include <string>
#include <utility>

#include <qm/error.h>
#include "expression/operators.h"
#include "expression/syntax_error.h"
#include "runtime/date_text.h"
#include "runtime/number_text.h"
#include "runtime/text.h"

namespace qm {

namespace {

constexpr std::size_t kLongestName = 255;

bool IsLetter(char c) { return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z'); }
bool IsNamePart(char c) { return IsLetter(c) || IsDigit(c) || c == '_'; }
bool IsHexDigit(char c) { return IsDigit(c) || (c >= 'A' && c <= 'F') || (c >= 'a' && c <= 'f'); }
bool IsLineEnd(char c) { return c == '\n' || c == '\r'; }

}  // namespace

char Lexer::Peek(std::size_t ahead) const {
  return at_ + ahead < text_.size() ? text_[at_ + ahead] : '\0';
}

void Lexer::SkipBlanks() {
  for (;;) {
    while (Peek() == ' ' || Peek() == '\t') ++at_;
    // An underscore between a blank and the end of the line continues it.
    if (Peek() != '_' || (at_ > 0 && IsNamePart(text_[at_ - 1]))) return;
    std::size_t end = 1;
    while (Peek(end) == ' ' || Peek(end) == '\t') ++end;
    if (!IsLineEnd(Peek(end))) return;
    at_ += end + (Peek(end) == '\r' && Peek(end + 1) == '\n' ? 2 : 1);
  }
}

// Behind a comment or the end of the line nothing more may stand.
void Lexer::SkipToEnd() {
  if (Peek() == '\'') {
    while (at_ < text_.size() && !IsLineEnd(Peek())) ++at_;
  }
  while (IsLineEnd(Peek()) || Peek() == ' ' || Peek() == '\t') ++at_;
  if (at_ < text_.size()) RaiseSyntax(kSyntaxError);
}

Token Lexer::Next() {
  SkipBlanks();
  const char c = Peek();
  if (c == '\'' || IsLineEnd(c)) SkipToEnd();
  if (at_ >= text_.size()) return {TokenKind::kEnd, text_.substr(text_.size()), {}};
  if (c == '"') return TakeText();
  if (c == '#') return TakeDate();
  if (IsDigit(c) || (c == '.' && IsDigit(Peek(1)))) return TakeNumber();
  if (c == '&') {
    const char kind = Peek(1);
    const bool hex = (kind == 'H' || kind == 'h') && IsHexDigit(Peek(2));
    const bool octal = (kind == 'O' || kind == 'o') && Peek(2) >= '0' && Peek(2) <= '7';
    if (hex || octal) return TakeRadixNumber();
  }
  if (IsLetter(c)) return TakeName();
  if (c == '[') return TakeBracketedName();
  return TakeSymbol();
}

Token Lexer::Literal(std::size_t begin, Variant value) const {
  return {TokenKind::kLiteral, text_.substr(begin, at_ - begin), std::move(value)};
}

Token Lexer::TakeText() {
  const std::size_t begin = at_++;
  std::string value;
  for (;;) {
    const auto quote = text_.find('"', at_);
    const auto piece = text_.substr(at_, quote - at_);
    if (quote == std::string_view::npos || piece.find_first_of("\r\n") != piece.npos) {
      RaiseSyntax(kUnterminatedString);
    }
    value += piece;
    at_ = quote + 1;
    if (Peek() != '"') break;
    value += '"';
    ++at_;
  }
  return Literal(begin, Variant(std::move(value)));
}

Token Lexer::TakeDate() {
  const std::size_t begin = at_;
  const auto end = text_.find('#', begin + 1);
  if (end == std::string_view::npos) RaiseSyntax(kSyntaxError);
  const auto date = ReadDate(text_.substr(begin + 1, end - begin - 1));
  if (!date) RaiseSyntax(kSyntaxError);
  at_ = end + 1;
  return Literal(begin, *date);
}

Token Lexer::TakeNumber() {
  const std::size_t begin = at_;
  bool whole = true;
  while (IsDigit(Peek())) ++at_;
  if (Peek() == '.') {
    whole = false;
    ++at_;
    while (IsDigit(Peek())) ++at_;
  }
  if (Peek() == 'e' || Peek() == 'E') {
    whole = false;
    ++at_;
    if (Peek() == '+' || Peek() == '-') ++at_;
    if (!IsDigit(Peek())) RaiseSyntax(kInvalidNumber);
    while (IsDigit(Peek())) ++at_;
  }
  const auto number = ReadNumber(text_.substr(begin, at_ - begin));
  const double value = Finite(number ? number->value : HUGE_VAL);
  if (whole && value <= 2147483647.0) {
    return Literal(begin, WholeNumber(static_cast<std::int64_t>(value), VarType::kInteger));
  }
  return Literal(begin, value);
}

// The bits of a 16-bit number (&HFFFF is -1) or, when there are more or a & closes it, a 32-bit
// one.
Token Lexer::TakeRadixNumber() {
  const std::size_t begin = at_;
  const bool hex = Peek(1) == 'H' || Peek(1) == 'h';
  at_ += 2;
  while (hex ? IsHexDigit(Peek()) : (Peek() >= '0' && Peek() <= '7')) ++at_;
  const auto number = ReadNumber(text_.substr(begin, at_ - begin));
  if (!number || !number->bits || *number->bits > 0xFFFFFFFFU) RaiseSyntax(kInvalidNumber);
  const std::uint64_t bits = *number->bits;
  const bool wide = Peek() == '&';
  if (wide) ++at_;
  if (wide || bits > 0xFFFFU) {
    return Literal(begin, static_cast<std::int32_t>(static_cast<std::uint32_t>(bits)));
  }
  return Literal(begin, static_cast<std::int16_t>(static_cast<std::uint16_t>(bits)));
}

Token Lexer::TakeName() {
  const std::size_t begin = at_;
  while (IsNamePart(Peek())) ++at_;
  if (at_ - begin > kLongestName) RaiseSyntax(kIdentifierTooLong);
  return {TokenKind::kName, text_.substr(begin, at_ - begin), {}};
}

// Any characters between brackets are a name, also those of a reserved word.
Token Lexer::TakeBracketedName() {
  const std::size_t begin = at_ + 1;
  const auto end = text_.find_first_of("]\r\n", begin);
  if (end == std::string_view::npos || text_[end] != ']') RaiseSyntax(kInvalidCharacter);
  if (end - begin > kLongestName) RaiseSyntax(kIdentifierTooLong);
  at_ = end + 1;
  return {TokenKind::kBracketedName, text_.substr(begin, end - begin), {}};
}

Token Lexer::TakeSymbol() {
  static constexpr std::array<std::string_view, 5> kPairs = {"<>", "<=", ">=", "=<", "=>"};
  static constexpr std::string_view kSingles = "^*/\\+-&=<>(),.";
  std::size_t length = 0;
  for (const std::string_view pair : kPairs) {
    if (text_.substr(at_, 2) == pair) length = 2;
  }
  if (length == 0 && kSingles.find(Peek()) != std::string_view::npos) length = 1;
  if (length == 0) RaiseSyntax(Peek() == ':' ? kSyntaxError : kInvalidCharacter);
  at_ += length;
  return {TokenKind::kSymbol, text_.substr(at_ - length, length), {}};
}

}  // namespace qm
