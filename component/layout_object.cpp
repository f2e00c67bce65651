// Each member is the one of the same name of the layout; those by reference read their index only.

#include "component/layout_object.h"

#include "session/trap.h"

namespace qm::component {

STDMETHODIMP LayoutObject::get_FieldName(short* iFieldIndex, BSTR* result) {
  return Get(result, [&] { return layout_->FieldName(At(iFieldIndex)); });
}
STDMETHODIMP LayoutObject::get_FieldNumber(short* iFieldIndex, VARIANT* result) {
  return Get(result, [&] { return Variant(layout_->FieldNumber(At(iFieldIndex))); });
}
STDMETHODIMP LayoutObject::get_FieldLength(short* iFieldIndex, VARIANT* result) {
  return Get(result, [&] { return Variant(layout_->FieldLength(At(iFieldIndex))); });
}
STDMETHODIMP LayoutObject::get_FieldStart(short* iFieldIndex, VARIANT* result) {
  return Get(result, [&] { return Variant(layout_->FieldStart(At(iFieldIndex))); });
}
STDMETHODIMP LayoutObject::get_FieldType(short* iFieldIndex, VARIANT* result) {
  return Get(result, [&] { return Variant(layout_->FieldType(At(iFieldIndex))); });
}
STDMETHODIMP LayoutObject::get_FieldPrompting(short* iFieldIndex, VARIANT* result) {
  return Get(result, [&] { return Variant(layout_->FieldPrompting(At(iFieldIndex))); });
}
STDMETHODIMP LayoutObject::get_FieldDescription(short* iFieldIndex, VARIANT* result) {
  return Get(result, [&] { return Variant(layout_->FieldDescription(At(iFieldIndex))); });
}
STDMETHODIMP LayoutObject::get_FieldJustification(short* iFieldIndex, VARIANT* result) {
  return Get(result, [&] { return Variant(layout_->FieldJustification(At(iFieldIndex))); });
}
STDMETHODIMP LayoutObject::get_IsPatientField(short* iFieldIndex, VARIANT* result) {
  return Get(result, [&] { return Variant(layout_->IsPatientField(At(iFieldIndex))); });
}
STDMETHODIMP LayoutObject::get_IsAbstractField(short* iFieldIndex, VARIANT* result) {
  return Get(result, [&] { return Variant(layout_->IsAbstractField(At(iFieldIndex))); });
}
STDMETHODIMP LayoutObject::get_IsMedicalSummaryField(short* iFieldIndex, VARIANT* result) {
  return Get(result, [&] { return Variant(layout_->IsMedicalSummaryField(At(iFieldIndex))); });
}
STDMETHODIMP LayoutObject::get_IsProtected(short* iFieldIndex, VARIANT* result) {
  return Get(result, [&] { return Variant(layout_->IsProtected(At(iFieldIndex))); });
}
STDMETHODIMP LayoutObject::get_FieldProtected(short iFieldIndex, VARIANT_BOOL* result) {
  return Get(result, [&] { return layout_->FieldProtected(iFieldIndex); });
}
STDMETHODIMP LayoutObject::put_FieldProtected(short iFieldIndex, VARIANT_BOOL newval) {
  return Do([&] { layout_->SetFieldProtected(iFieldIndex, Bool(newval)); });
}
STDMETHODIMP LayoutObject::get_fieldvalue(short iFieldIndex, BSTR* result) {
  return Get(result, [&] { return layout_->fieldvalue(iFieldIndex); });
}
STDMETHODIMP LayoutObject::put_fieldvalue(short iFieldIndex, BSTR newval) {
  return Do([&] { layout_->Setfieldvalue(iFieldIndex, Text(newval)); });
}
STDMETHODIMP LayoutObject::get_FieldInvisible(short iFieldIndex, VARIANT_BOOL* result) {
  return Get(result, [&] { return layout_->FieldInvisible(iFieldIndex); });
}
STDMETHODIMP LayoutObject::put_FieldInvisible(short iFieldIndex, VARIANT_BOOL newval) {
  return Do([&] { layout_->SetFieldInvisible(iFieldIndex, Bool(newval)); });
}
STDMETHODIMP LayoutObject::get_FieldRow(short iFieldIndex, short* result) {
  return Get(result, [&] { return layout_->FieldRow(iFieldIndex); });
}
STDMETHODIMP LayoutObject::put_FieldRow(short iFieldIndex, short newval) {
  return Do([&] { layout_->SetFieldRow(iFieldIndex, newval); });
}
STDMETHODIMP LayoutObject::get_FieldDefaultVal(short iFieldIndex, BSTR* result) {
  return Get(result, [&] { return layout_->FieldDefaultVal(iFieldIndex); });
}
STDMETHODIMP LayoutObject::put_FieldDefaultVal(short iFieldIndex, BSTR newval) {
  return Do([&] { layout_->SetFieldDefaultVal(iFieldIndex, Text(newval)); });
}
STDMETHODIMP LayoutObject::get_FieldCriticalFlag(short FieldIndex, short* result) {
  return Get(result, [&] { return layout_->FieldCriticalFlag(FieldIndex); });
}
STDMETHODIMP LayoutObject::put_FieldCriticalFlag(short FieldIndex, short newval) {
  return Do([&] { layout_->SetFieldCriticalFlag(FieldIndex, newval); });
}
STDMETHODIMP LayoutObject::get_FieldAbsTable(short* iFieldIndex, short* result) {
  return Get(result, [&] { return layout_->FieldAbsTable(At(iFieldIndex)); });
}
STDMETHODIMP LayoutObject::get_FieldPatTable(short* iFieldIndex, short* result) {
  return Get(result, [&] { return layout_->FieldPatTable(At(iFieldIndex)); });
}
STDMETHODIMP LayoutObject::get_FieldMedTable(short* iFieldIndex, short* result) {
  return Get(result, [&] { return layout_->FieldMedTable(At(iFieldIndex)); });
}
STDMETHODIMP LayoutObject::get_FieldPromptingValue(short iFieldIndex, BSTR* result) {
  return Get(result, [&] { return layout_->FieldPromptingValue(iFieldIndex); });
}
STDMETHODIMP LayoutObject::get_ValidateKey(short iFieldIndex, BSTR* result) {
  return Get(result, [&] { return layout_->ValidateKey(iFieldIndex); });
}
STDMETHODIMP LayoutObject::get_UnknownValues(short iFieldIndex, VARIANT* result) {
  return Get(result, [&] { return layout_->UnknownValues(iFieldIndex); });
}
STDMETHODIMP LayoutObject::put_UnknownValues(short iFieldIndex, VARIANT newval) {
  return Do([&] { layout_->SetUnknownValues(iFieldIndex, Value(newval)); });
}
STDMETHODIMP LayoutObject::get_TextField(short* k, short* result) {
  return Get(result, [&] { return layout_->TextField(At(k)); });
}
STDMETHODIMP LayoutObject::get_Version(BSTR* result) {
  return Get(result, [&] { return layout_->Version(); });
}
STDMETHODIMP LayoutObject::get_ControlTable(BSTR* result) {
  return Get(result, [&] { return layout_->ControlTable(); });
}
STDMETHODIMP LayoutObject::get_NAACCRGlobalValue(BSTR* result) {
  return Get(result, [&] { return layout_->NAACCRGlobalValue(); });
}
STDMETHODIMP LayoutObject::put_NAACCRGlobalValue(BSTR newval) {
  return Do([&] { layout_->SetNAACCRGlobalValue(Text(newval)); });
}
STDMETHODIMP LayoutObject::get_NAACCRExchgValue(BSTR* result) {
  return Get(result, [&] { return layout_->NAACCRExchgValue(); });
}
STDMETHODIMP LayoutObject::put_NAACCRExchgValue(BSTR newval) {
  return Do([&] { layout_->SetNAACCRExchgValue(Text(newval)); });
}
STDMETHODIMP LayoutObject::get_MetaFileName(BSTR* result) {
  return Get(result, [&] { return layout_->MetaFileName(); });
}
STDMETHODIMP LayoutObject::put_MetaFileName(BSTR newval) {
  return Do([&] { layout_->SetMetaFileName(Text(newval)); });
}
STDMETHODIMP LayoutObject::get_LengthOfAbstract(short* result) {
  return Get(result, [&] { return layout_->LengthOfAbstract(); });
}
STDMETHODIMP LayoutObject::put_LengthOfAbstract(short newval) {
  return Do([&] { layout_->SetLengthOfAbstract(newval); });
}
STDMETHODIMP LayoutObject::get_LengthOfIncidence(short* result) {
  return Get(result, [&] { return layout_->LengthOfIncidence(); });
}
STDMETHODIMP LayoutObject::put_LengthOfIncidence(short newval) {
  return Do([&] { layout_->SetLengthOfIncidence(newval); });
}
STDMETHODIMP LayoutObject::get_LengthOfConfidential(short* result) {
  return Get(result, [&] { return layout_->LengthOfConfidential(); });
}
STDMETHODIMP LayoutObject::put_LengthOfConfidential(short newval) {
  return Do([&] { layout_->SetLengthOfConfidential(newval); });
}
STDMETHODIMP LayoutObject::get_ColProjects(short* result) {
  return Get(result, [&] { return layout_->ColProjects(); });
}
STDMETHODIMP LayoutObject::put_ColProjects(short newval) {
  return Do([&] { layout_->SetColProjects(newval); });
}
STDMETHODIMP LayoutObject::get_ColVersionID(short* result) {
  return Get(result, [&] { return layout_->ColVersionID(); });
}
STDMETHODIMP LayoutObject::put_ColVersionID(short newval) {
  return Do([&] { layout_->SetColVersionID(newval); });
}
STDMETHODIMP LayoutObject::get_ColRecType(short* result) {
  return Get(result, [&] { return layout_->ColRecType(); });
}
STDMETHODIMP LayoutObject::put_ColRecType(short newval) {
  return Do([&] { layout_->SetColRecType(newval); });
}
STDMETHODIMP LayoutObject::get_FieldsCount(short* result) {
  return Get(result, [&] { return layout_->FieldsCount(); });
}
STDMETHODIMP LayoutObject::get_TextFieldsCount(short* result) {
  return Get(result, [&] { return layout_->TextFieldsCount(); });
}
STDMETHODIMP LayoutObject::get_AbsTableCnt(short* result) {
  return Get(result, [&] { return layout_->AbsTableCnt(); });
}
STDMETHODIMP LayoutObject::get_PatTableCnt(short* result) {
  return Get(result, [&] { return layout_->PatTableCnt(); });
}
STDMETHODIMP LayoutObject::get_MedTableCnt(short* result) {
  return Get(result, [&] { return layout_->MedTableCnt(); });
}
STDMETHODIMP LayoutObject::get_RecordLength(::RecordType iRecType, short* result) {
  return Get(result, [&] { return layout_->RecordLength(iRecType); });
}
STDMETHODIMP LayoutObject::IndexByNAACCRItemNo(short iNAACCRItemNo, short* result) {
  return Get(result, [&] { return layout_->IndexByNAACCRItemNo(iNAACCRItemNo); });
}
STDMETHODIMP LayoutObject::IndexByFieldName(BSTR strFieldName, short* result) {
  return Get(result, [&] { return layout_->IndexByFieldName(Text(strFieldName)); });
}
STDMETHODIMP LayoutObject::FieldIndex(BSTR FieldName, short* result) {
  return Get(result, [&] { return layout_->FieldIndex(Text(FieldName)); });
}
STDMETHODIMP LayoutObject::LoadCriticalFields() {
  return Do([&] { layout_->LoadCriticalFields(); });
}

// Arrays are replaced, whatever they held.
STDMETHODIMP LayoutObject::getTextFields(SAFEARRAY** nTextFields) {
  return Do([&] {
    std::vector<std::int16_t> fields;
    layout_->getTextFields(fields);
    HandOut(fields, nTextFields);
  });
}
STDMETHODIMP LayoutObject::GetControlArrays(
    SAFEARRAY** sField_Name, SAFEARRAY** iField_Num, SAFEARRAY** iField_Start,
    SAFEARRAY** iField_Len, SAFEARRAY** sField_Type, SAFEARRAY** sField_Desc,
    SAFEARRAY** sField_Just, SAFEARRAY** iMedTable, SAFEARRAY** iPatTable, SAFEARRAY** iAbstable,
    SAFEARRAY** iMedTableNo, SAFEARRAY** iPatTableNo, SAFEARRAY** iAbsTableNo,
    SAFEARRAY** iField_Protected, SAFEARRAY** iField_Invisible, SAFEARRAY** sField_DefaultVal,
    SAFEARRAY** iField_Critical, SAFEARRAY** iField_Row) {
  return Do([&] {
    ControlArrays arrays;
    layout_->GetControlArrays(arrays);
    HandOut(arrays.sField_Name, sField_Name);
    HandOut(arrays.iField_Num, iField_Num);
    HandOut(arrays.iField_Start, iField_Start);
    HandOut(arrays.iField_Len, iField_Len);
    HandOut(arrays.sField_Type, sField_Type);
    HandOut(arrays.sField_Desc, sField_Desc);
    HandOut(arrays.sField_Just, sField_Just);
    HandOut(arrays.iMedTable, iMedTable);
    HandOut(arrays.iPatTable, iPatTable);
    HandOut(arrays.iAbstable, iAbstable);
    HandOut(arrays.iMedTableNo, iMedTableNo);
    HandOut(arrays.iPatTableNo, iPatTableNo);
    HandOut(arrays.iAbsTableNo, iAbsTableNo);
    HandOut(arrays.iField_Protected, iField_Protected);
    HandOut(arrays.iField_Invisible, iField_Invisible);
    HandOut(arrays.sField_DefaultVal, sField_DefaultVal);
    HandOut(arrays.iField_Critical, iField_Critical);
    HandOut(arrays.iField_Row, iField_Row);
  });
}

// The memo and the texts go both ways.
STDMETHODIMP LayoutObject::CompressMemoText(BSTR* sMemoText, SAFEARRAY** sTextStrs, short* result) {
  return Get(result, [&] {
    RequireNotNull(sMemoText);
    const std::vector<std::string> texts = Texts(sTextStrs);
    std::string memo;
    return WritingBack([&] { Rewrite(sMemoText, memo); },
                       [&] { return layout_->CompressMemoText(memo, texts); });
  });
}
STDMETHODIMP LayoutObject::GetMemoTextArray(BSTR* sMemoText, SAFEARRAY** sTextStrs, short* result) {
  return Get(result, [&] {
    RequireNotNull(sMemoText);
    std::string memo = Text(sMemoText);
    std::vector<std::string> texts = Texts(sTextStrs);
    return WritingBack(
        [&] {
          Rewrite(sMemoText, memo);
          PutBack(texts, sTextStrs);
        },
        [&] { return layout_->GetMemoTextArray(memo, texts); });
  });
}
STDMETHODIMP LayoutObject::GetTextFromNAACCRRec(BSTR* NAACCRtext, SAFEARRAY** sTextStrs,
                                                short* result) {
  return Get(result, [&] {
    std::vector<std::string> texts;
    // An array that cannot be made to fit fails as the operation does.
    return Trap(1316, "QMObjects.NAACCRLayOut.GetTextFromNAACCRRec", [&] {
      return WritingBack([&] { HandOut(texts, sTextStrs); },
                         [&] { return layout_->GetTextFromNAACCRRec(Text(NAACCRtext), texts); });
    });
  });
}

}  // namespace qm::component
