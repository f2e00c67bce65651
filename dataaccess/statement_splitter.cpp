#include "dataaccess/statement_splitter.h"

#include <string>

#include <qm/error.h>

namespace qm {

namespace {

[[noreturn]] void Refuse(const char* description, std::string_view text) {
  throw Error(kErrStatement, "QMDataObjects2.DataAccess", description, 0, std::string(text));
}

}  // namespace

void RequireSingleStatement(std::string_view text, SqlQuoting quoting) {
  // An engine may take the text to end at a zero byte, and so not see what was looked at here.
  if (text.find('\0') != std::string_view::npos) Refuse("The statement holds a zero byte", text);
  SqlScanner scanner(text, quoting);
  SqlToken token = scanner.Next();
  while (token.IsSymbol(';')) token = scanner.Next();
  if (token.kind == SqlToken::Kind::kEnd) Refuse("The statement is empty", text);
  bool closed = false;
  for (; token.kind != SqlToken::Kind::kEnd; token = scanner.Next()) {
    if (token.IsSymbol('?')) {
      Refuse("The statement holds a parameter (?), for which no value can be given", text);
    } else if (token.IsSymbol(';')) {
      closed = true;
    } else if (closed) {
      Refuse("Only one statement may be given", text);
    }
  }
}

}  // namespace qm
