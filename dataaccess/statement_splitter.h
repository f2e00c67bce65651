// One statement a call. Values stand in statement text as they are, so this rule is what keeps a
// value from running a statement of its own.
#pragma once

#include <string_view>

#include "dataaccess/sql_scanner.h"

namespace qm {

/// Refuses (kErrStatement) text that holds no statement, a second one behind a semicolon, or a
/// place for a parameter: engines would take that for Null, or read beyond what they were sent. A
/// closing semicolon, blanks and comments are allowed. Bodies with semicolons of their own (CREATE
/// TRIGGER) count as several statements.
void RequireSingleStatement(std::string_view text, SqlQuoting quoting = {});

}  // namespace qm
