// QMConnection: the door to the calling thread's session. Objects of this class hold nothing of
// their own; two of them on one thread see and change the same session, and releasing one changes
// nothing.
//
// Order of calls: `Connect` once for each database (it stores nothing), hand the connections to
// `SetRegistry` and `SetControl`, set `User` and `ApplicationName`; only then create `QMDataSets`
// and the others.
//
// A connection slot is never empty: reading one that holds nothing puts a new, unopened
// connection there. Accessors, `Disconnect` and the transactions let the data-access layer's
// errors through unchanged.
//
// Locks are kept in the registry itself and never expire: a case (a patient and all under it) and
// an abstract in columns of their row, whole tables in `LOCKMANAGER`. They bind only who asks for
// them. What the user has to know is shown through the message hook; a record lock that cannot be
// written because another user holds the row is an error, not a refusal. Of several users who take
// one record lock at once exactly one gets it; two who take table locks at once may both get them.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include <qm/api.h>
#include <qm/connection.h>
#include <qm/variant.h>

namespace qm {

class QM_API QMConnection {
 public:
  /// Opens a connection with those time-outs (seconds) and that mode and gives it to the caller.
  /// Any failure is -2147220504, source "QMObjects.QMConnecion.Connect", with the provider's text.
  std::shared_ptr<Connection> Connect(std::string_view strConnectionString, ShareMode iShareMode,
                                      std::int16_t iConnectionTimeOut,
                                      std::int16_t iCommandTimeOut);
  /// Closes the registry connection if it is open, and empties its slot. The others stay.
  void Disconnect();

  /// Forwarded to the registry connection as they are.
  void BeginTrans();
  void CommitTrans();
  void RollBackTrans();

  /// Whether the case is locked; shows by whom. A case that is not there is not locked. 1001.
  bool CaseLockStatus(std::string_view CaseID);
  /// Takes the lock for `User` where nobody holds it, and tells whether it did. Whoever holds it,
  /// the caller too, is shown. 1003, for an abstract 1002.
  bool LockCase(std::string_view CasID);
  bool LockAbstract(std::int32_t AbsID);
  /// Frees the lock, whoever holds it, and tells whether the record is there. Passing `msg`,
  /// whatever its value, shows the success; `Locktable` is not used. 1005, for an abstract 1004.
  bool UnlockCase(std::string_view CasID, const std::optional<Variant>& msg = std::nullopt,
                  const std::optional<Variant>& Locktable = std::nullopt);
  bool UnLockAbstract(std::int32_t AbsID, const std::optional<Variant>& msg = std::nullopt);

  /// Locks all tables listed, three characters each without separator, or none, and tells whether
  /// it did. The list is trimmed in place. `CustomMsg` replaces the text of a refusal. Marking a
  /// table is tried again without a wait and without end while another user holds its row. 1006.
  bool TablesLocked(std::string& TablesToLock,
                    const std::optional<Variant>& CustomMsg = std::nullopt);
  /// Frees the tables listed, whoever holds them. A code that is not there is the data-access
  /// layer's error, those before it stay free. 1007.
  bool TablesUnlocked(std::string_view TablesToUnlock);

  std::string ApplicationName() const;
  void SetApplicationName(std::string_view name);
  std::shared_ptr<Connection> Control() const;
  void SetControl(std::shared_ptr<Connection> connection);
  std::shared_ptr<Connection> Registry() const;
  void SetRegistry(std::shared_ptr<Connection> connection);
  std::shared_ptr<Connection> Catval() const;
  void SetCatval(std::shared_ptr<Connection> connection);
  std::string User() const;
  void SetUser(std::string_view name);
  /// Whether retrieved recordsets ask the provider to survive commit and abort. Write only.
  void SetPreserveRecordsets(bool preserve);
  /// Stores the type; nothing reads it.
  void DataAccessType(std::string_view strType);
  std::shared_ptr<Connection> Edits() const;
  void SetEdits(std::shared_ptr<Connection> connection);
  std::shared_ptr<Connection> Inprocess() const;
  void SetInprocess(std::shared_ptr<Connection> connection);
  std::shared_ptr<Connection> Track() const;
  void SetTrack(std::shared_ptr<Connection> connection);
};

}  // namespace qm
