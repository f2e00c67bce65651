// AuditWriter: writes rows of the audit log in the name of the session's user, over one open
// recordset, so that the many rows of a bulk change cost little more than their inserts.
//
// It belongs to one transaction or less: make it where the changes begin, in the transaction that
// they are part of. Memory grows by a key a row.
#pragma once

#include <memory>
#include <string_view>

#include <qm/audit_log.h>
#include <qm/recordset.h>

namespace qm {

class AuditWriter {
 public:
  /// Opens over the session's registry. kErrNoSuchTable before `PrepareAudit`.
  AuditWriter();

  void Write(const AuditEntry& entry);

 private:
  std::shared_ptr<Recordset> rows_;
};

/// Whether a row's time can begin with the text, as `AuditFilter::since` wants it.
bool IsAuditTime(std::string_view text);

}  // namespace qm
