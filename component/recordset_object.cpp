#include "component/recordset_object.h"

#include "component/connection_object.h"
#include "dataaccess/providers/automation/late_bound.h"

namespace qm::component {

namespace {

// A connection in a variant: an object, Nothing, or the text to open one of its own with.
std::shared_ptr<Connection> ConnectionInVariant(const VARIANT& given) {
  const VARIANT& value = given.vt == (VT_BYREF | VT_VARIANT) ? *given.pvarVal : given;
  const auto type = static_cast<VARTYPE>(value.vt & ~VT_BYREF);
  if (type == VT_BSTR) {
    auto connection = Connection::Create();
    connection->Open(ToText(Value(value)));
    return connection;
  }
  const auto object = ObjectIn(value);
  if (!object && type != VT_DISPATCH) RaiseRunTime(kErrTypeMismatch);
  return ConnectionIn(object.get());
}

}  // namespace

STDMETHODIMP RecordsetObject::get_ActiveConnection(IDispatch** result) {
  return Get(result, [&] { return recordset_->ActiveConnection(); });
}
STDMETHODIMP RecordsetObject::get_Source(BSTR* result) {
  return Get(result, [&] { return recordset_->Source(); });
}
STDMETHODIMP RecordsetObject::put_Source(BSTR newval) {
  return Do([&] { recordset_->SetSource(Text(newval)); });
}
STDMETHODIMP RecordsetObject::get_CursorType(LONG* result) {
  return Get(result, [&] { return recordset_->CursorType(); });
}
STDMETHODIMP RecordsetObject::put_CursorType(LONG newval) {
  return Do([&] { recordset_->SetCursorType(newval); });
}
STDMETHODIMP RecordsetObject::get_LockType(LONG* result) {
  return Get(result, [&] { return recordset_->LockType(); });
}
STDMETHODIMP RecordsetObject::put_LockType(LONG newval) {
  return Do([&] { recordset_->SetLockType(newval); });
}
STDMETHODIMP RecordsetObject::get_CursorLocation(LONG* result) {
  return Get(result, [&] { return recordset_->CursorLocation(); });
}
STDMETHODIMP RecordsetObject::put_CursorLocation(LONG newval) {
  return Do([&] { recordset_->SetCursorLocation(newval); });
}
STDMETHODIMP RecordsetObject::get_MaxRecords(LONG* result) {
  return Get(result, [&] { return recordset_->MaxRecords(); });
}
STDMETHODIMP RecordsetObject::put_MaxRecords(LONG newval) {
  return Do([&] { recordset_->SetMaxRecords(newval); });
}
STDMETHODIMP RecordsetObject::get_State(LONG* result) {
  return Get(result, [&] { return recordset_->State(); });
}
STDMETHODIMP RecordsetObject::get_EOF(VARIANT_BOOL* result) {
  return Get(result, [&] { return recordset_->Eof(); });
}
STDMETHODIMP RecordsetObject::get_BOF(VARIANT_BOOL* result) {
  return Get(result, [&] { return recordset_->Bof(); });
}
STDMETHODIMP RecordsetObject::get_RecordCount(LONG* result) {
  return Get(result, [&] { return recordset_->RecordCount(); });
}
STDMETHODIMP RecordsetObject::get_Bookmark(VARIANT* result) {
  return Get(result, [&] { return recordset_->Bookmark(); });
}
STDMETHODIMP RecordsetObject::put_Bookmark(VARIANT newval) {
  return Do([&] { recordset_->SetBookmark(Value(newval)); });
}
STDMETHODIMP RecordsetObject::get_EditMode(LONG* result) {
  return Get(result, [&] { return recordset_->EditMode(); });
}
STDMETHODIMP RecordsetObject::get_Index(BSTR* result) {
  return Get(result, [&] { return recordset_->Index(); });
}
STDMETHODIMP RecordsetObject::put_Index(BSTR newval) {
  return Do([&] { recordset_->SetIndex(Text(newval)); });
}
STDMETHODIMP RecordsetObject::Close() {
  return Do([&] { recordset_->Close(); });
}
STDMETHODIMP RecordsetObject::MoveFirst() {
  return Do([&] { recordset_->MoveFirst(); });
}
STDMETHODIMP RecordsetObject::MoveLast() {
  return Do([&] { recordset_->MoveLast(); });
}
STDMETHODIMP RecordsetObject::MoveNext() {
  return Do([&] { recordset_->MoveNext(); });
}
STDMETHODIMP RecordsetObject::MovePrevious() {
  return Do([&] { recordset_->MovePrevious(); });
}
STDMETHODIMP RecordsetObject::Seek(VARIANT KeyValues, LONG SeekOption) {
  return Do([&] { recordset_->Seek(Value(KeyValues), SeekOption); });
}
STDMETHODIMP RecordsetObject::Supports(LONG CursorOptions, VARIANT_BOOL* result) {
  return Get(result, [&] { return recordset_->Supports(CursorOptions); });
}
STDMETHODIMP RecordsetObject::CancelUpdate() {
  return Do([&] { recordset_->CancelUpdate(); });
}

STDMETHODIMP RecordsetObject::get_Fields(_Fields** result) {
  return Get(result, [&] {
    if (!fields_) fields_ = MakeFields(recordset_);
    return fields_;
  });
}
STDMETHODIMP RecordsetObject::get_Properties(_Properties** result) {
  return Get(result, [&] {
    if (!properties_) properties_ = MakeProperties(recordset_);
    return properties_;
  });
}
STDMETHODIMP RecordsetObject::put_ActiveConnection(VARIANT newval) {
  return Do([&] { recordset_->SetActiveConnection(ConnectionInVariant(newval)); });
}
STDMETHODIMP RecordsetObject::putref_ActiveConnection(IDispatch* newval) {
  return Do([&] { recordset_->SetActiveConnection(ConnectionIn(newval)); });
}

// What is not given stays as it was set.
STDMETHODIMP RecordsetObject::Open(VARIANT Source, VARIANT ActiveConnection, LONG CursorType,
                                   LONG LockType, LONG Options) {
  return Do([&] {
    if (!IsMissing(Source)) recordset_->SetSource(ToText(Value(Source)));
    if (!IsMissing(ActiveConnection)) {
      recordset_->SetActiveConnection(ConnectionInVariant(ActiveConnection));
    }
    if (CursorType != kOptionsUnspecified) recordset_->SetCursorType(CursorType);
    if (LockType != kOptionsUnspecified) recordset_->SetLockType(LockType);
    if (Options == kOptionsUnspecified || Options == kCommandUnknown) {
      recordset_->Open();
    } else {
      recordset_->OpenWithOptions(Options);
    }
  });
}

STDMETHODIMP RecordsetObject::Requery(LONG) {
  return Do([&] { recordset_->Requery(); });
}

STDMETHODIMP RecordsetObject::Find(BSTR Criteria, LONG SkipRecords, LONG SearchDirection,
                                   VARIANT Start) {
  return Do([&] { recordset_->Find(Text(Criteria), SkipRecords, SearchDirection, Value(Start)); });
}

}  // namespace qm::component
