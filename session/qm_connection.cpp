#include <qm/qm_connection.h>

#include "dataaccess/connection_choice.h"
#include "session/session_state.h"
#include "session/trap.h"

namespace qm {

std::shared_ptr<Connection> QMConnection::Connect(std::string_view strConnectionString,
                                                  ShareMode iShareMode,
                                                  std::int16_t iConnectionTimeOut,
                                                  std::int16_t iCommandTimeOut) {
  return Trap(1000, "QMObjects.QMConnecion.Connect", [&] {
    auto connection = CreateConnectionFor(strConnectionString);
    connection->SetConnectionString(strConnectionString);
    connection->SetConnectionTimeout(iConnectionTimeOut);
    connection->SetCommandTimeout(iCommandTimeOut);
    connection->SetMode(iShareMode);
    connection->Open({}, {}, {}, kOptionsUnspecified);
    return connection;
  });
}

void QMConnection::Disconnect() {
  ConnectionSlot& registry = CurrentSession().gcnRegistry;
  if (registry.Get()->State() != kStateOpen) return;
  registry.Get()->Close();
  registry.Clear();
}

// The level that BeginTrans gives is dropped: the library counts no transactions of its own.
void QMConnection::BeginTrans() { CurrentSession().gcnRegistry.Get()->BeginTrans(); }
void QMConnection::CommitTrans() { CurrentSession().gcnRegistry.Get()->CommitTrans(); }
void QMConnection::RollBackTrans() { CurrentSession().gcnRegistry.Get()->RollbackTrans(); }

std::string QMConnection::ApplicationName() const { return CurrentSession().gstrApplicationName; }
void QMConnection::SetApplicationName(std::string_view name) {
  CurrentSession().gstrApplicationName = name;
}

std::shared_ptr<Connection> QMConnection::Control() const {
  return CurrentSession().gcnControl.Get();
}
void QMConnection::SetControl(std::shared_ptr<Connection> connection) {
  CurrentSession().gcnControl.Set(std::move(connection));
}

std::shared_ptr<Connection> QMConnection::Registry() const {
  return CurrentSession().gcnRegistry.Get();
}
void QMConnection::SetRegistry(std::shared_ptr<Connection> connection) {
  CurrentSession().gcnRegistry.Set(std::move(connection));
}

std::shared_ptr<Connection> QMConnection::Catval() const {
  return CurrentSession().gcnCatval.Get();
}
void QMConnection::SetCatval(std::shared_ptr<Connection> connection) {
  CurrentSession().gcnCatval.Set(std::move(connection));
}

std::string QMConnection::User() const { return CurrentSession().gstrUser; }
void QMConnection::SetUser(std::string_view name) { CurrentSession().gstrUser = name; }

void QMConnection::SetPreserveRecordsets(bool preserve) {
  CurrentSession().gblnPreserveRecordsets = preserve;
}

void QMConnection::DataAccessType(std::string_view strType) {
  CurrentSession().gstrDataAccessType = strType;
}

std::shared_ptr<Connection> QMConnection::Edits() const { return CurrentSession().gcnEdits.Get(); }
void QMConnection::SetEdits(std::shared_ptr<Connection> connection) {
  CurrentSession().gcnEdits.Set(std::move(connection));
}

std::shared_ptr<Connection> QMConnection::Inprocess() const {
  return CurrentSession().gcnInprocess.Get();
}
void QMConnection::SetInprocess(std::shared_ptr<Connection> connection) {
  CurrentSession().gcnInprocess.Set(std::move(connection));
}

std::shared_ptr<Connection> QMConnection::Track() const { return CurrentSession().gcnTrack.Get(); }
void QMConnection::SetTrack(std::shared_ptr<Connection> connection) {
  CurrentSession().gcnTrack.Set(std::move(connection));
}

}  // namespace qm
