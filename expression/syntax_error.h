// Errors that stop an expression from being read at all. The numbers and descriptions are the
// language's own; the text of the expression is never part of the description.
#pragma once

#include <cstdint>

namespace qm {

enum SyntaxErrorNumber : std::int32_t {
  kSyntaxError = 1002,
  kExpectedClosingParenthesis = 1006,
  kExpectedIdentifier = 1010,
  kExpectedEndOfStatement = 1025,
  kIdentifierTooLong = 1030,
  kInvalidNumber = 1031,
  kInvalidCharacter = 1032,
  kUnterminatedString = 1033
};

[[noreturn]] void RaiseSyntax(SyntaxErrorNumber number);

}  // namespace qm
