// What the engine cannot take in a caller's statement, put into its own words, here and nowhere
// else. Brackets and back quotes around names it takes as they are.
#pragma once

#include <string>
#include <string_view>

namespace qm {

/// The text to prepare for a caller's statement.
std::string InSqliteDialect(std::string_view text);

}  // namespace qm
