// Connection: one of the library's own connections for automation clients, with ADO's member names.
// One connection has one object.
#pragma once

#include <memory>
#include <utility>

#include <qm/connection.h>

#include "component/automation_object.h"
#include "component/interfaces.h"
#include "component/references.h"

namespace qm::component {

/// Of ADO's options for a command: as unspecified.
inline constexpr LONG kCommandUnknown = 8;

class ConnectionObject final
    : public AutomationObject<ConnectionObject, _Connection, &CLSID_Connection> {
 public:
  explicit ConnectionObject(std::shared_ptr<Connection> connection)
      : connection_(std::move(connection)) {}
  ~ConnectionObject() override { NoLongerStand(connection_.get()); }

  const std::shared_ptr<Connection>& connection() const { return connection_; }

  STDMETHODIMP get_ConnectionString(BSTR* result) override;
  STDMETHODIMP put_ConnectionString(BSTR newval) override;
  STDMETHODIMP get_CommandTimeout(LONG* result) override;
  STDMETHODIMP put_CommandTimeout(LONG newval) override;
  STDMETHODIMP get_ConnectionTimeout(LONG* result) override;
  STDMETHODIMP put_ConnectionTimeout(LONG newval) override;
  STDMETHODIMP get_Mode(LONG* result) override;
  STDMETHODIMP put_Mode(LONG newval) override;
  STDMETHODIMP get_IsolationLevel(LONG* result) override;
  STDMETHODIMP put_IsolationLevel(LONG newval) override;
  STDMETHODIMP get_State(LONG* result) override;
  STDMETHODIMP Open(BSTR ConnectionString, BSTR UserID, BSTR Password, LONG Options) override;
  STDMETHODIMP Close() override;
  STDMETHODIMP Execute(BSTR CommandText, VARIANT* RecordsAffected, LONG Options,
                       IDispatch** result) override;
  STDMETHODIMP BeginTrans(LONG* result) override;
  STDMETHODIMP CommitTrans() override;
  STDMETHODIMP RollbackTrans() override;
  STDMETHODIMP CreateRecordset(IDispatch** result) override;
  STDMETHODIMP get_Version(BSTR* result) override;

 private:
  std::shared_ptr<Connection> connection_;
};

}  // namespace qm::component
