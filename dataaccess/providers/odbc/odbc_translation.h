// A caller's statement as the engine takes it.
//
// Names of tables and columns are found in the catalog without regard to case and written as the
// catalog spells them, in the engine's quotes: that serves engines that fold names, engines that
// tell their case apart, brackets, and columns with the name of a keyword. The keyword that clients
// misspell in the query of a display's fields is put right. In statements that make tables the
// types are the engine's. What closes a statement, semicolons and comments behind it, is left out.
// Everything else stays letter for letter: values, comments, blanks.
#pragma once

#include <string>
#include <string_view>

#include "dataaccess/providers/odbc/odbc_catalog.h"
#include "dataaccess/providers/odbc/odbc_dialect.h"

namespace qm {

std::string TranslateStatement(std::string_view text, const OdbcDialect& dialect,
                               OdbcCatalog& catalog);

}  // namespace qm
