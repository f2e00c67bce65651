// The tables of the registry that are the library's own, beside those that every application on it
// knows. Each has its text in one place, used by the set-up of a new registry and by whoever finds
// a registry that was made before the table existed.
#pragma once

#include <span>
#include <string_view>

namespace qm {

struct OwnTable {
  std::string_view name;
  std::string_view create;  ///< the statement that makes it
};

std::span<const OwnTable> OwnTables();

/// Makes the table in the session's registry where it is missing; one short query where it is
/// there. Some engines end a transaction when a table is made, so call it outside of any. A name
/// that is not among them is kErrBadArgument.
void EnsureOwnTable(std::string_view name);
/// All of them.
void EnsureOwnTables();

}  // namespace qm
