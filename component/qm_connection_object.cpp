// QMConnection for automation clients.

#include <qm/qm_connection.h>

#include "component/automation_object.h"
#include "component/creators.h"
#include "component/interfaces.h"
#include "session/trap.h"

namespace qm::component {

namespace {

// Whether it was passed is all that counts; its value is not asked for.
std::optional<Variant> Given(const VARIANT& value) {
  return IsMissing(value) ? std::nullopt : std::optional<Variant>(std::in_place);
}

class QMConnectionObject final
    : public AutomationObject<QMConnectionObject, _QMConnection, &CLSID_QMConnection> {
 public:
  STDMETHODIMP Connect(BSTR* strConnectionString, ::ShareMode* iShareMode,
                       short* iConnectionTimeOut, short* iCommandTimeOut,
                       IDispatch** result) override {
    return Get(result, [&] {
      return connection_.Connect(Text(strConnectionString),
                                 static_cast<qm::ShareMode>(At(iShareMode)), At(iConnectionTimeOut),
                                 At(iCommandTimeOut));
    });
  }
  STDMETHODIMP Disconnect() override {
    return Do([&] { connection_.Disconnect(); });
  }
  STDMETHODIMP BeginTrans() override {
    return Do([&] { connection_.BeginTrans(); });
  }
  STDMETHODIMP CommitTrans() override {
    return Do([&] { connection_.CommitTrans(); });
  }
  STDMETHODIMP RollBackTrans() override {
    return Do([&] { connection_.RollBackTrans(); });
  }

  STDMETHODIMP get_ApplicationName(BSTR* result) override {
    return Get(result, [&] { return connection_.ApplicationName(); });
  }
  STDMETHODIMP put_ApplicationName(BSTR newval) override {
    return Do([&] { connection_.SetApplicationName(Text(newval)); });
  }
  STDMETHODIMP get_Control(IDispatch** result) override {
    return Get(result, [&] { return connection_.Control(); });
  }
  STDMETHODIMP putref_Control(IDispatch* newval) override {
    return Do([&] { connection_.SetControl(ConnectionIn(newval)); });
  }
  STDMETHODIMP get_Registry(IDispatch** result) override {
    return Get(result, [&] { return connection_.Registry(); });
  }
  STDMETHODIMP putref_Registry(IDispatch* newval) override {
    return Do([&] { connection_.SetRegistry(ConnectionIn(newval)); });
  }
  STDMETHODIMP get_Catval(IDispatch** result) override {
    return Get(result, [&] { return connection_.Catval(); });
  }
  STDMETHODIMP putref_Catval(IDispatch* newval) override {
    return Do([&] { connection_.SetCatval(ConnectionIn(newval)); });
  }
  STDMETHODIMP get_User(BSTR* result) override {
    return Get(result, [&] { return connection_.User(); });
  }
  STDMETHODIMP put_User(BSTR newval) override {
    return Do([&] { connection_.SetUser(Text(newval)); });
  }

  STDMETHODIMP CaseLockStatus(BSTR CaseID, VARIANT_BOOL* result) override {
    return Get(result, [&] { return connection_.CaseLockStatus(Text(CaseID)); });
  }
  STDMETHODIMP LockAbstract(LONG AbsID, VARIANT_BOOL* result) override {
    return Get(result, [&] { return connection_.LockAbstract(AbsID); });
  }
  STDMETHODIMP LockCase(BSTR CasID, VARIANT_BOOL* result) override {
    return Get(result, [&] { return connection_.LockCase(Text(CasID)); });
  }
  STDMETHODIMP UnLockAbstract(LONG AbsID, VARIANT msg, VARIANT_BOOL* result) override {
    return Get(result, [&] { return connection_.UnLockAbstract(AbsID, Given(msg)); });
  }
  STDMETHODIMP UnlockCase(BSTR CasID, VARIANT msg, VARIANT Locktable,
                          VARIANT_BOOL* result) override {
    return Get(result,
               [&] { return connection_.UnlockCase(Text(CasID), Given(msg), Given(Locktable)); });
  }
  STDMETHODIMP TablesLocked(BSTR* TablesToLock, VARIANT CustomMsg, VARIANT_BOOL* result) override {
    return Get(result, [&] {
      RequireNotNull(TablesToLock);
      std::string tables = Text(TablesToLock);
      return WritingBack([&] { Rewrite(TablesToLock, tables); },
                         [&] {
                           const auto message = Trap(1006, "QMObjects.QMConnection.TablesLocked",
                                                     [&] { return Optional(CustomMsg); });
                           return connection_.TablesLocked(tables, message);
                         });
    });
  }
  STDMETHODIMP TablesUnlocked(BSTR* TablesToUnlock, VARIANT_BOOL* result) override {
    return Get(result, [&] { return connection_.TablesUnlocked(Text(TablesToUnlock)); });
  }

  STDMETHODIMP put_PreserveRecordsets(VARIANT_BOOL newval) override {
    return Do([&] { connection_.SetPreserveRecordsets(Bool(newval)); });
  }
  STDMETHODIMP DataAccessType(BSTR* strType) override {
    return Do([&] { connection_.DataAccessType(Text(strType)); });
  }
  STDMETHODIMP get_Edits(IDispatch** result) override {
    return Get(result, [&] { return connection_.Edits(); });
  }
  STDMETHODIMP putref_Edits(IDispatch* newval) override {
    return Do([&] { connection_.SetEdits(ConnectionIn(newval)); });
  }
  STDMETHODIMP get_Inprocess(IDispatch** result) override {
    return Get(result, [&] { return connection_.Inprocess(); });
  }
  STDMETHODIMP putref_Inprocess(IDispatch* newval) override {
    return Do([&] { connection_.SetInprocess(ConnectionIn(newval)); });
  }
  STDMETHODIMP get_Track(IDispatch** result) override {
    return Get(result, [&] { return connection_.Track(); });
  }
  // A plain assignment, by the interface; it stores the reference all the same.
  STDMETHODIMP put_Track(IDispatch* newval) override {
    return Do([&] { connection_.SetTrack(ConnectionIn(newval)); });
  }

 private:
  QMConnection connection_;
};

}  // namespace

IDispatch* CreateQMConnection() { return MakeObject<QMConnectionObject>(); }

}  // namespace qm::component
