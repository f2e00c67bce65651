// The engine's failures as errors of the data-access layer.
#pragma once

#include <string_view>

namespace qm {

inline constexpr const char* kSqliteSource = "SQLite";

/// Whether the code says that another user holds a lock.
bool IsSqliteBusy(int code);
[[noreturn]] void RaiseSqlite(int code, const char* description, std::string_view statement);

}  // namespace qm
