// Statements that clients know by a misspelt keyword, put right for engines that refuse it. Every
// provider's dialect may use it; the text that callers see stays as they gave it.
#pragma once

#include <string>
#include <string_view>

#include "dataaccess/sql_scanner.h"

namespace qm {

/// The text with `OERDER BY` as `ORDER BY` where it stands as a clause: as bare words, in any case,
/// somewhere behind FROM. In strings, quoted names and comments, and where a table or a column goes
/// by that name, it stays. All else is kept letter for letter.
std::string WithOrderSpelt(std::string_view text, SqlQuoting quoting = {});

}  // namespace qm
