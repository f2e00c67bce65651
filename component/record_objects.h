// Abstract, Patient and Tumor for automation clients. The three classes have the same members, save
// for a few; each member is the one of the same name of the record.
#pragma once

#include <memory>
#include <utility>
#include <vector>

#include <qm/record.h>

#include "component/automation_object.h"
#include "component/interfaces.h"

namespace qm::component {

/// The objects of a record's recordsets, counted from 1.
SAFEARRAY* ArrayOf(const std::vector<std::shared_ptr<Recordset>>& recordsets);

template <typename Self, typename Interface, const CLSID* kClass, typename RecordClass>
class RecordObject : public AutomationObject<Self, Interface, kClass> {
 public:
  explicit RecordObject(RecordClass record) : record_(std::move(record)) {}

  RecordClass& record() { return record_; }

  STDMETHODIMP get_Fields(VARIANT vFieldIndex, VARIANT* result) override {
    return this->Get(result, [&] { return record_.Fields(Value(vFieldIndex)); });
  }
  STDMETHODIMP put_Fields(VARIANT vFieldIndex, VARIANT newval) override {
    return this->Do([&] { record_.SetFields(Value(vFieldIndex), Value(newval)); });
  }
  STDMETHODIMP get_FieldByIndex(short iFieldIndex, VARIANT* result) override {
    return this->Get(result, [&] { return record_.FieldByIndex(iFieldIndex); });
  }
  STDMETHODIMP put_FieldByIndex(short iFieldIndex, VARIANT newval) override {
    return this->Do([&] { record_.SetFieldByIndex(iFieldIndex, Value(newval)); });
  }
  STDMETHODIMP get_FieldByName(BSTR strFieldName, VARIANT* result) override {
    return this->Get(result, [&] { return record_.FieldByName(Text(strFieldName)); });
  }
  STDMETHODIMP put_FieldByName(BSTR strFieldName, VARIANT newval) override {
    return this->Do([&] { record_.SetFieldByName(Text(strFieldName), Value(newval)); });
  }
  STDMETHODIMP Recordset(short Index, IDispatch** result) override {
    return this->Get(result, [&] { return record_.Recordset(Index); });
  }
  STDMETHODIMP Recordsets(SAFEARRAY** result) override {
    return this->Get(result, [&] { return ArrayOf(record_.Recordsets()); });
  }
  STDMETHODIMP get_FieldTableNo(short* Index, short* result) override {
    return this->Get(result, [&] { return record_.FieldTableNo(At(Index)); });
  }
  STDMETHODIMP get_AutoFormatValues(VARIANT_BOOL* result) override {
    return this->Get(result, [&] { return record_.AutoFormatValues(); });
  }
  STDMETHODIMP put_AutoFormatValues(VARIANT_BOOL newval) override {
    return this->Do([&] { record_.SetAutoFormatValues(Bool(newval)); });
  }
  STDMETHODIMP get_EOF(VARIANT_BOOL* result) override {
    return this->Get(result, [&] { return record_.Eof(); });
  }
  STDMETHODIMP get_BOF(VARIANT_BOOL* result) override {
    return this->Get(result, [&] { return record_.Bof(); });
  }
  STDMETHODIMP MoveNext() override {
    return this->Do([&] { record_.MoveNext(); });
  }
  STDMETHODIMP MoveLast() override {
    return this->Do([&] { record_.MoveLast(); });
  }
  STDMETHODIMP MoveFirst() override {
    return this->Do([&] { record_.MoveFirst(); });
  }
  STDMETHODIMP MovePrevious() override {
    return this->Do([&] { record_.MovePrevious(); });
  }
  STDMETHODIMP Find(BSTR strCriteria, LONG lSkip, short iDirection, LONG lStart) override {
    return this->Do([&] { record_.Find(Text(strCriteria), lSkip, iDirection, lStart); });
  }
  STDMETHODIMP SeekRecord(VARIANT vValue) override {
    return this->Do([&] { record_.SeekRecord(Value(vValue)); });
  }
  STDMETHODIMP put_Index(BSTR newval) override {
    return this->Do([&] { record_.SetIndex(Text(newval)); });
  }
  STDMETHODIMP Filter(BSTR strFilter) override {
    return this->Do([&] { record_.Filter(Text(strFilter)); });
  }
  // One element for each table, counted from 1.
  STDMETHODIMP get_BookMark(VARIANT* result) override {
    return this->Get(result, [&] {
      PlatformVariant mark;
      *mark.Receive() = ToPlatform(record_.BookMark(), 1);
      return mark;
    });
  }
  STDMETHODIMP put_BookMark(VARIANT newval) override {
    return this->Do([&] { record_.SetBookMark(Value(newval)); });
  }
  STDMETHODIMP get_RecordCount(LONG* result) override {
    return this->Get(result, [&] { return record_.RecordCount(); });
  }
  STDMETHODIMP get_SupportsIndex(VARIANT_BOOL* result) override {
    return this->Get(result, [&] { return record_.SupportsIndex(); });
  }
  STDMETHODIMP get_State(short* result) override {
    return this->Get(result, [&] { return record_.State(); });
  }
  STDMETHODIMP CloseRecordset() override {
    return this->Do([&] { record_.CloseRecordset(); });
  }
  STDMETHODIMP AddNew(LONG key) override {
    return this->Do([&] { record_.AddNew(key); });
  }
  STDMETHODIMP Update() override {
    return this->Do([&] { record_.Update(); });
  }
  STDMETHODIMP CancelUpdate() override {
    return this->Do([&] { record_.CancelUpdate(); });
  }
  STDMETHODIMP get_FieldName(short* Index, BSTR* result) override {
    return this->Get(result, [&] { return record_.FieldName(At(Index)); });
  }
  STDMETHODIMP get_FieldLength(short* Index, BSTR* result) override {
    return this->Get(result, [&] { return record_.FieldLength(At(Index)); });
  }
  STDMETHODIMP get_FieldJustification(short* Index, BSTR* result) override {
    return this->Get(result, [&] { return record_.FieldJustification(At(Index)); });
  }
  STDMETHODIMP get_FieldStartCol(short* Index, short* result) override {
    return this->Get(result, [&] { return record_.FieldStartCol(At(Index)); });
  }
  STDMETHODIMP get_FieldStart(short Index, short* result) override {
    return this->Get(result, [&] { return record_.FieldStart(Index); });
  }
  STDMETHODIMP put_FieldStart(short Index, short newval) override {
    return this->Do([&] { record_.SetFieldStart(Index, newval); });
  }
  STDMETHODIMP get_FieldExists(short* Index, VARIANT_BOOL* result) override {
    return this->Get(result, [&] { return record_.FieldExists(At(Index)); });
  }
  STDMETHODIMP get_FieldDataType(short* Index, BSTR* result) override {
    return this->Get(result, [&] { return record_.FieldDataType(At(Index)); });
  }
  STDMETHODIMP get_FieldType(short Index, BSTR* result) override {
    return this->Get(result, [&] { return record_.FieldType(Index); });
  }
  STDMETHODIMP put_FieldType(short Index, BSTR newval) override {
    return this->Do([&] { record_.SetFieldType(Index, Text(newval)); });
  }
  STDMETHODIMP get_FieldPrompting(short* Index, BSTR* result) override {
    return this->Get(result, [&] { return record_.FieldPrompting(At(Index)); });
  }
  STDMETHODIMP get_FieldDefaultVal(short* Index, BSTR* result) override {
    return this->Get(result, [&] { return record_.FieldDefaultVal(At(Index)); });
  }
  STDMETHODIMP get_FieldDescription(short* Index, BSTR* result) override {
    return this->Get(result, [&] { return record_.FieldDescription(At(Index)); });
  }
  STDMETHODIMP get_FieldInvisible(short* Index, VARIANT_BOOL* result) override {
    return this->Get(result, [&] { return record_.FieldInvisible(At(Index)); });
  }
  STDMETHODIMP get_FieldNAACCRNumber(short* Index, short* result) override {
    return this->Get(result, [&] { return record_.FieldNAACCRNumber(At(Index)); });
  }
  STDMETHODIMP get_FieldRow(short Index, short* result) override {
    return this->Get(result, [&] { return record_.FieldRow(Index); });
  }
  STDMETHODIMP put_FieldRow(short Index, short newval) override {
    return this->Do([&] { record_.SetFieldRow(Index, newval); });
  }
  STDMETHODIMP Max(BSTR strFieldName, BSTR* result) override {
    return this->Get(result, [&] { return record_.Max(Text(strFieldName)); });
  }
  STDMETHODIMP Min(BSTR strFieldName, BSTR* result) override {
    return this->Get(result, [&] { return record_.Min(Text(strFieldName)); });
  }
  STDMETHODIMP GetXML(VARIANT* result) override {
    return this->Get(result, [&] { return record_.GetXML(); });
  }

 private:
  RecordClass record_;
};

class AbstractObject final
    : public RecordObject<AbstractObject, _Abstract, &CLSID_Abstract, Abstract> {
 public:
  using RecordObject::RecordObject;
  STDMETHODIMP get_FieldByNAACCRNum(short Index, BSTR* result) override {
    return Get(result, [&] { return record().FieldByNAACCRNum(Index); });
  }
  STDMETHODIMP put_FieldByNAACCRNum(short Index, BSTR newval) override {
    return Do([&] { record().SetFieldByNAACCRNum(Index, Text(newval)); });
  }
  STDMETHODIMP CriticalFieldsMissing(VARIANT_BOOL* result) override {
    return Get(result, [&] { return record().CriticalFieldsMissing(); });
  }
};

template <typename Self, typename Interface, const CLSID* kClass, typename RecordClass>
class CaseRecordObject : public RecordObject<Self, Interface, kClass, RecordClass> {
 public:
  using RecordObject<Self, Interface, kClass, RecordClass>::RecordObject;
  STDMETHODIMP get_FieldsByNAACCRNum(short Index, VARIANT* result) override {
    return this->Get(result, [&] { return this->record().FieldsByNAACCRNum(Index); });
  }
  STDMETHODIMP put_FieldsByNAACCRNum(short Index, VARIANT newval) override {
    return this->Do([&] { this->record().SetFieldsByNAACCRNum(Index, Value(newval)); });
  }
};

class PatientObject final
    : public CaseRecordObject<PatientObject, _Patient, &CLSID_Patient, Patient> {
 public:
  using CaseRecordObject::CaseRecordObject;
};

class TumorObject final : public CaseRecordObject<TumorObject, _Tumor, &CLSID_Tumor, Tumor> {
 public:
  using CaseRecordObject::CaseRecordObject;
};

}  // namespace qm::component
