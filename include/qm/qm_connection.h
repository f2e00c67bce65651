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
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include <qm/api.h>
#include <qm/connection.h>

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
