// LockHolder: who keeps a record from being changed, asked without showing anything. For operations
// that change records and give way to another user's lock; taking and freeing locks is
// `QMConnection`'s.
//
// Asked inside the transaction of the change, the answer holds until its end: nobody else can take
// the lock before.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace qm {

enum class LockedRecord { kCase, kAbstract };

/// The user, other than the session's own, who holds the record's lock. Nothing when it is free
/// (Null or empty), the user's own, or when there is no such record. One statement.
std::optional<std::string> LockHolder(LockedRecord kind, std::int32_t id);

/// Refuses with 70 where there is such a user, whose identifier and name the message tells.
void RequireUnlocked(LockedRecord kind, std::int32_t id, std::string_view source);

}  // namespace qm
