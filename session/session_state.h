// SessionState: what one thread's session holds. Created empty at the thread's first use; every
// class above reaches the databases through it. Written by `QMConnection`, by
// `OpenGlobalRecordsets` and by the layout loader; read everywhere.
#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include <qm/connection.h>
#include <qm/recordset.h>
#include <qm/session.h>

namespace qm {

/// A place for a connection that is never seen empty: reading it while it holds nothing puts a
/// new, unopened connection there.
class ConnectionSlot {
 public:
  const std::shared_ptr<Connection>& Get();
  void Set(std::shared_ptr<Connection> connection) { connection_ = std::move(connection); }
  void Clear() { connection_.reset(); }
  bool HoldsAnything() const { return connection_ != nullptr; }

 private:
  std::shared_ptr<Connection> connection_;
};

/// The recordsets of one family's tables, lower bound 1; none until first dimensioned.
using GlobalRecordsets = std::optional<std::vector<std::shared_ptr<Recordset>>>;

/// What gives the rows of the audit log their times and keys.
struct AuditClock {
  std::int64_t last = 0;                ///< microseconds since 1970 of the last row written
  std::optional<std::uint32_t> writer;  ///< drawn at the first row
};

struct SessionState {
  ConnectionSlot gcnRegistry;
  ConnectionSlot gcnControl;
  ConnectionSlot gcnCatval;
  ConnectionSlot gcnEdits;
  ConnectionSlot gcnInprocess;
  ConnectionSlot gcnTrack;
  std::string gstrApplicationName;
  std::string gstrUser;
  std::string gstrDataAccessType;
  bool gblnPreserveRecordsets = false;
  GlobalRecordsets grsAbstracts;
  GlobalRecordsets grsPatients;
  GlobalRecordsets grsMedicalSum;
  /// Comma-separated columns of the three abstract tables, as the last layout load left them.
  std::array<std::string, 3> AbsTableFieldList;
  AuditClock audit_clock;

  /// Whether it differs from the empty session that a thread starts with.
  bool HoldsAnything() const;
};

/// The calling thread's session.
SessionState& CurrentSession();

}  // namespace qm
