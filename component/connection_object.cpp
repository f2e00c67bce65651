#include "component/connection_object.h"

#include <qm/recordset.h>

#include "component/client_variable.h"
#include "dataaccess/data_error.h"

namespace qm::component {

namespace {

// Of ADO's options for a command, its kind counts; the others are hints that the library does not
// need.
constexpr LONG kKinds = 0x1 | 0x2 | 0x4 | 0x8 | 0x100 | 0x200;

// 3001 for a stored procedure or a file.
bool NamesTable(LONG options) {
  if (options == kOptionsUnspecified) return false;
  switch (options & kKinds) {
    case 0:
    case kCommandText:
    case kCommandUnknown:
      return false;
    case kCommandTable:
    case kCommandTableDirect:
      return true;
    default:
      RaiseData(kErrBadArgument, "options");
  }
}

std::shared_ptr<Recordset> WholeTable(const std::shared_ptr<Connection>& connection,
                                      std::string_view name) {
  auto recordset = connection->CreateRecordset();
  recordset->SetSource(name);
  recordset->SetActiveConnection(connection);
  recordset->OpenWithOptions(kCommandTable);
  return recordset;
}

}  // namespace

STDMETHODIMP ConnectionObject::get_ConnectionString(BSTR* result) {
  return Get(result, [&] { return connection_->ConnectionString(); });
}
STDMETHODIMP ConnectionObject::put_ConnectionString(BSTR newval) {
  return Do([&] { connection_->SetConnectionString(Text(newval)); });
}
STDMETHODIMP ConnectionObject::get_CommandTimeout(LONG* result) {
  return Get(result, [&] { return connection_->CommandTimeout(); });
}
STDMETHODIMP ConnectionObject::put_CommandTimeout(LONG newval) {
  return Do([&] { connection_->SetCommandTimeout(newval); });
}
STDMETHODIMP ConnectionObject::get_ConnectionTimeout(LONG* result) {
  return Get(result, [&] { return connection_->ConnectionTimeout(); });
}
STDMETHODIMP ConnectionObject::put_ConnectionTimeout(LONG newval) {
  return Do([&] { connection_->SetConnectionTimeout(newval); });
}
STDMETHODIMP ConnectionObject::get_Mode(LONG* result) {
  return Get(result, [&] { return connection_->Mode(); });
}
STDMETHODIMP ConnectionObject::put_Mode(LONG newval) {
  return Do([&] { connection_->SetMode(newval); });
}
STDMETHODIMP ConnectionObject::get_IsolationLevel(LONG* result) {
  return Get(result, [&] { return connection_->IsolationLevel(); });
}
STDMETHODIMP ConnectionObject::put_IsolationLevel(LONG newval) {
  return Do([&] { connection_->SetIsolationLevel(newval); });
}
STDMETHODIMP ConnectionObject::get_State(LONG* result) {
  return Get(result, [&] { return connection_->State(); });
}
STDMETHODIMP ConnectionObject::Open(BSTR ConnectionString, BSTR UserID, BSTR Password,
                                    LONG Options) {
  return Do(
      [&] { connection_->Open(Text(ConnectionString), Text(UserID), Text(Password), Options); });
}
STDMETHODIMP ConnectionObject::Close() {
  return Do([&] { connection_->Close(); });
}
STDMETHODIMP ConnectionObject::BeginTrans(LONG* result) {
  return Get(result, [&] { return connection_->BeginTrans(); });
}
STDMETHODIMP ConnectionObject::CommitTrans() {
  return Do([&] { connection_->CommitTrans(); });
}
STDMETHODIMP ConnectionObject::RollbackTrans() {
  return Do([&] { connection_->RollbackTrans(); });
}
STDMETHODIMP ConnectionObject::CreateRecordset(IDispatch** result) {
  return Get(result, [&] { return connection_->CreateRecordset(); });
}
// Of ADO, whose shape and error numbers these objects have.
STDMETHODIMP ConnectionObject::get_Version(BSTR* result) {
  return Get(result, [] { return std::string_view("2.5"); });
}

STDMETHODIMP ConnectionObject::Execute(BSTR CommandText, VARIANT* RecordsAffected, LONG Options,
                                       IDispatch** result) {
  return Get(result, [&] {
    std::int64_t affected = 0;
    auto recordset = NamesTable(Options) ? WholeTable(connection_, Text(CommandText))
                                         : connection_->Execute(Text(CommandText), &affected);
    if (RecordsAffected != nullptr) {
      LONG count = 0;
      HandOut(affected, &count);
      const HRESULT assigned = Assign(
          *RecordsAffected, PlatformVariant(Variant(std::int32_t{count})), LOCALE_USER_DEFAULT);
      if (FAILED(assigned)) {
        RaiseRunTime(assigned == DISP_E_OVERFLOW ? kErrOverflow : kErrTypeMismatch);
      }
    }
    return recordset;
  });
}

}  // namespace qm::component
