// Recordset: one of the library's own recordsets for automation clients, with ADO's member names.
// One recordset has one object.
#pragma once

#include <memory>
#include <utility>

#include <qm/recordset.h>

#include "component/automation_object.h"
#include "component/interfaces.h"
#include "component/references.h"

namespace qm::component {

class RecordsetObject final
    : public AutomationObject<RecordsetObject, _Recordset, &CLSID_Recordset> {
 public:
  explicit RecordsetObject(std::shared_ptr<Recordset> recordset)
      : recordset_(std::move(recordset)) {}
  ~RecordsetObject() override { NoLongerStand(recordset_.get()); }

  const std::shared_ptr<Recordset>& recordset() const { return recordset_; }

  STDMETHODIMP get_Fields(_Fields** result) override;
  STDMETHODIMP get_Properties(_Properties** result) override;
  STDMETHODIMP get_ActiveConnection(IDispatch** result) override;
  STDMETHODIMP put_ActiveConnection(VARIANT newval) override;
  STDMETHODIMP putref_ActiveConnection(IDispatch* newval) override;
  STDMETHODIMP get_Source(BSTR* result) override;
  STDMETHODIMP put_Source(BSTR newval) override;
  STDMETHODIMP get_CursorType(LONG* result) override;
  STDMETHODIMP put_CursorType(LONG newval) override;
  STDMETHODIMP get_LockType(LONG* result) override;
  STDMETHODIMP put_LockType(LONG newval) override;
  STDMETHODIMP get_CursorLocation(LONG* result) override;
  STDMETHODIMP put_CursorLocation(LONG newval) override;
  STDMETHODIMP get_MaxRecords(LONG* result) override;
  STDMETHODIMP put_MaxRecords(LONG newval) override;
  STDMETHODIMP get_State(LONG* result) override;
  STDMETHODIMP get_EOF(VARIANT_BOOL* result) override;
  STDMETHODIMP get_BOF(VARIANT_BOOL* result) override;
  STDMETHODIMP get_RecordCount(LONG* result) override;
  STDMETHODIMP get_Bookmark(VARIANT* result) override;
  STDMETHODIMP put_Bookmark(VARIANT newval) override;
  STDMETHODIMP get_EditMode(LONG* result) override;
  STDMETHODIMP get_Index(BSTR* result) override;
  STDMETHODIMP put_Index(BSTR newval) override;
  STDMETHODIMP Open(VARIANT Source, VARIANT ActiveConnection, LONG CursorType, LONG LockType,
                    LONG Options) override;
  STDMETHODIMP Requery(LONG Options) override;
  STDMETHODIMP Close() override;
  STDMETHODIMP MoveFirst() override;
  STDMETHODIMP MoveLast() override;
  STDMETHODIMP MoveNext() override;
  STDMETHODIMP MovePrevious() override;
  STDMETHODIMP Find(BSTR Criteria, LONG SkipRecords, LONG SearchDirection, VARIANT Start) override;
  STDMETHODIMP Seek(VARIANT KeyValues, LONG SeekOption) override;
  STDMETHODIMP Supports(LONG CursorOptions, VARIANT_BOOL* result) override;
  STDMETHODIMP AddNew(VARIANT FieldList, VARIANT Values) override;
  STDMETHODIMP Update(VARIANT Fields, VARIANT Values) override;
  STDMETHODIMP CancelUpdate() override;
  STDMETHODIMP Move(LONG NumRecords, VARIANT Start) override;
  STDMETHODIMP GetRows(LONG Rows, VARIANT Start, VARIANT Fields, VARIANT* result) override;
  STDMETHODIMP GetString(LONG StringFormat, LONG NumRows, VARIANT ColumnDelimiter,
                         VARIANT RowDelimiter, VARIANT NullExpr, BSTR* result) override;

 private:
  std::shared_ptr<Recordset> recordset_;
  // Made at the first reading.
  ComPointer<_Fields> fields_;
  ComPointer<_Properties> properties_;
};

/// A column by name, or by position counted from 0; 3265 where there is none.
int OrdinalOf(const Recordset& recordset, const Variant& index);

ComPointer<_Fields> MakeFields(std::shared_ptr<Recordset> recordset);
ComPointer<_Properties> MakeProperties(std::shared_ptr<Recordset> recordset);

}  // namespace qm::component
