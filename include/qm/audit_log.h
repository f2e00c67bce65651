// The audit log: who changed what, when, and from which file, one row a change in the table QMAudit
// of the registry.
//
// A row is written over the session's registry connection, so it belongs to the transaction of the
// change it tells of: both stay or neither. The importer and the linker write their own rows; an
// application writes those of its changes. Rows are never changed.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include <qm/api.h>

namespace qm {

struct AuditEntry {
  std::string action;  ///< one word: "import", "set", "link", "lock", …
  std::string record;  ///< what was changed: "abstract", "patient", "tumor", "tables", …
  std::optional<std::int32_t> id;
  std::string detail;  ///< for people; may hold a patient's data
  std::string file;    ///< the file that the change came from
};

struct AuditRow {
  std::string time;  ///< UTC, "2026-01-05T15:04:05.123456Z"
  std::string user;
  AuditEntry entry;
};

/// Which rows are wanted; what is not given does not count. Texts agree without regard to case.
struct AuditFilter {
  std::string record{};
  std::optional<std::int32_t> id{};
  std::string user{};
  std::string action{};
  std::string since{};  ///< rows of that time or later: "2026-01", "2026-01-05T15:04", …
  bool newest_first = false;
};

/// Writes one row in the name of the session's user. kErrNoSuchTable before `PrepareAudit`.
QM_API void WriteAudit(const AuditEntry& entry);

/// Rows in the order in which they were written, or the newest first, one at a time, until the
/// function gives false. A registry without the table has none. A `since` that is no such time
/// is kErrBadArgument.
QM_API void ReadAudit(const AuditFilter& filter, const std::function<bool(const AuditRow&)>& take);

/// Makes the table where a registry lacks it. Call it outside a transaction.
QM_API void PrepareAudit();

}  // namespace qm
