#include "expression/syntax_error.h"

#include <qm/error.h>

namespace qm {

namespace {

const char* Description(SyntaxErrorNumber number) {
  switch (number) {
    case kSyntaxError:
      return "Syntax error";
    case kExpectedClosingParenthesis:
      return "Expected ')'";
    case kExpectedIdentifier:
      return "Expected identifier";
    case kExpectedEndOfStatement:
      return "Expected end of statement";
    case kIdentifierTooLong:
      return "Identifier too long";
    case kInvalidNumber:
      return "Invalid number";
    case kInvalidCharacter:
      return "Invalid character";
    case kUnterminatedString:
      return "Unterminated string constant";
  }
  return "Syntax error";
}

}  // namespace

void RaiseSyntax(SyntaxErrorNumber number) {
  throw Error(number, "QMDataObjects2", Description(number));
}

}  // namespace qm
