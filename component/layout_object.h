// NAACCRLayout for automation clients. One layout has one object.
#pragma once

#include <memory>
#include <utility>

#include <qm/naaccr_layout.h>

#include "component/automation_object.h"
#include "component/interfaces.h"
#include "component/references.h"

namespace qm::component {

class LayoutObject final
    : public AutomationObject<LayoutObject, _NAACCRLayout, &CLSID_NAACCRLayout> {
 public:
  explicit LayoutObject(std::shared_ptr<NAACCRLayout> layout) : layout_(std::move(layout)) {}
  ~LayoutObject() override { NoLongerStand(layout_.get()); }

  const std::shared_ptr<NAACCRLayout>& layout() const { return layout_; }

  STDMETHODIMP get_FieldName(short* iFieldIndex, BSTR* result) override;
  STDMETHODIMP get_FieldNumber(short* iFieldIndex, VARIANT* result) override;
  STDMETHODIMP get_FieldLength(short* iFieldIndex, VARIANT* result) override;
  STDMETHODIMP get_FieldStart(short* iFieldIndex, VARIANT* result) override;
  STDMETHODIMP get_FieldType(short* iFieldIndex, VARIANT* result) override;
  STDMETHODIMP get_FieldPrompting(short* iFieldIndex, VARIANT* result) override;
  STDMETHODIMP get_FieldDescription(short* iFieldIndex, VARIANT* result) override;
  STDMETHODIMP get_FieldJustification(short* iFieldIndex, VARIANT* result) override;
  STDMETHODIMP get_IsPatientField(short* iFieldIndex, VARIANT* result) override;
  STDMETHODIMP get_IsAbstractField(short* iFieldIndex, VARIANT* result) override;
  STDMETHODIMP get_IsMedicalSummaryField(short* iFieldIndex, VARIANT* result) override;
  STDMETHODIMP get_IsProtected(short* iFieldIndex, VARIANT* result) override;
  STDMETHODIMP get_FieldProtected(short iFieldIndex, VARIANT_BOOL* result) override;
  STDMETHODIMP put_FieldProtected(short iFieldIndex, VARIANT_BOOL newval) override;
  STDMETHODIMP get_fieldvalue(short iFieldIndex, BSTR* result) override;
  STDMETHODIMP put_fieldvalue(short iFieldIndex, BSTR newval) override;
  STDMETHODIMP get_FieldInvisible(short iFieldIndex, VARIANT_BOOL* result) override;
  STDMETHODIMP put_FieldInvisible(short iFieldIndex, VARIANT_BOOL newval) override;
  STDMETHODIMP get_FieldRow(short iFieldIndex, short* result) override;
  STDMETHODIMP put_FieldRow(short iFieldIndex, short newval) override;
  STDMETHODIMP get_FieldDefaultVal(short iFieldIndex, BSTR* result) override;
  STDMETHODIMP put_FieldDefaultVal(short iFieldIndex, BSTR newval) override;
  STDMETHODIMP get_FieldCriticalFlag(short FieldIndex, short* result) override;
  STDMETHODIMP put_FieldCriticalFlag(short FieldIndex, short newval) override;
  STDMETHODIMP get_FieldAbsTable(short* iFieldIndex, short* result) override;
  STDMETHODIMP get_FieldPatTable(short* iFieldIndex, short* result) override;
  STDMETHODIMP get_FieldMedTable(short* iFieldIndex, short* result) override;
  STDMETHODIMP get_FieldPromptingValue(short iFieldIndex, BSTR* result) override;
  STDMETHODIMP get_ValidateKey(short iFieldIndex, BSTR* result) override;
  STDMETHODIMP get_UnknownValues(short iFieldIndex, VARIANT* result) override;
  STDMETHODIMP put_UnknownValues(short iFieldIndex, VARIANT newval) override;
  STDMETHODIMP get_TextField(short* k, short* result) override;
  STDMETHODIMP get_Version(BSTR* result) override;
  STDMETHODIMP get_ControlTable(BSTR* result) override;
  STDMETHODIMP get_NAACCRGlobalValue(BSTR* result) override;
  STDMETHODIMP put_NAACCRGlobalValue(BSTR newval) override;
  STDMETHODIMP get_NAACCRExchgValue(BSTR* result) override;
  STDMETHODIMP put_NAACCRExchgValue(BSTR newval) override;
  STDMETHODIMP get_MetaFileName(BSTR* result) override;
  STDMETHODIMP put_MetaFileName(BSTR newval) override;
  STDMETHODIMP get_LengthOfAbstract(short* result) override;
  STDMETHODIMP put_LengthOfAbstract(short newval) override;
  STDMETHODIMP get_LengthOfIncidence(short* result) override;
  STDMETHODIMP put_LengthOfIncidence(short newval) override;
  STDMETHODIMP get_LengthOfConfidential(short* result) override;
  STDMETHODIMP put_LengthOfConfidential(short newval) override;
  STDMETHODIMP get_ColProjects(short* result) override;
  STDMETHODIMP put_ColProjects(short newval) override;
  STDMETHODIMP get_ColVersionID(short* result) override;
  STDMETHODIMP put_ColVersionID(short newval) override;
  STDMETHODIMP get_ColRecType(short* result) override;
  STDMETHODIMP put_ColRecType(short newval) override;
  STDMETHODIMP get_FieldsCount(short* result) override;
  STDMETHODIMP get_TextFieldsCount(short* result) override;
  STDMETHODIMP get_AbsTableCnt(short* result) override;
  STDMETHODIMP get_PatTableCnt(short* result) override;
  STDMETHODIMP get_MedTableCnt(short* result) override;
  STDMETHODIMP get_RecordLength(::RecordType iRecType, short* result) override;
  STDMETHODIMP getTextFields(SAFEARRAY** nTextFields) override;
  STDMETHODIMP GetControlArrays(SAFEARRAY** sField_Name, SAFEARRAY** iField_Num,
                                SAFEARRAY** iField_Start, SAFEARRAY** iField_Len,
                                SAFEARRAY** sField_Type, SAFEARRAY** sField_Desc,
                                SAFEARRAY** sField_Just, SAFEARRAY** iMedTable,
                                SAFEARRAY** iPatTable, SAFEARRAY** iAbstable,
                                SAFEARRAY** iMedTableNo, SAFEARRAY** iPatTableNo,
                                SAFEARRAY** iAbsTableNo, SAFEARRAY** iField_Protected,
                                SAFEARRAY** iField_Invisible, SAFEARRAY** sField_DefaultVal,
                                SAFEARRAY** iField_Critical, SAFEARRAY** iField_Row) override;
  STDMETHODIMP IndexByNAACCRItemNo(short iNAACCRItemNo, short* result) override;
  STDMETHODIMP IndexByFieldName(BSTR strFieldName, short* result) override;
  STDMETHODIMP FieldIndex(BSTR FieldName, short* result) override;
  STDMETHODIMP LoadCriticalFields() override;
  STDMETHODIMP CompressMemoText(BSTR* sMemoText, SAFEARRAY** sTextStrs, short* result) override;
  STDMETHODIMP GetMemoTextArray(BSTR* sMemoText, SAFEARRAY** sTextStrs, short* result) override;
  STDMETHODIMP GetTextFromNAACCRRec(BSTR* NAACCRtext, SAFEARRAY** sTextStrs,
                                    short* result) override;

 private:
  std::shared_ptr<NAACCRLayout> layout_;
};

}  // namespace qm::component
