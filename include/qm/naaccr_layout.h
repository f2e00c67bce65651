// NAACCRLayout: the description of one version of the NAACCR fixed-width record as this registry
// stores it: for every item its name, number, columns in the record, codes, and the table and grid
// that hold it. `QMDataSets::GetNAACCRLayout` loads one from the control database.
//
// A field index runs from 1 to `FieldsCount`. Text fields (prompting code "X", kept together in
// the memo column) take 1 to `TextFieldsCount`; the other fields follow, each group in the order
// asked for at loading. Element 0 exists and is unused.
//
// Columns and lengths count characters, columns from 1. Look-ups by name and item number cost one
// hash probe. A layout is shared by reference and belongs to the thread that loaded it.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include <qm/api.h>
#include <qm/variant.h>

namespace qm {

enum RecordType : std::int16_t { qmRecordTypeA = 1, qmRecordTypeC = 2, qmRecordTypeI = 3 };

/// The eighteen arrays that `GetControlArrays` copies, each indexed by field index.
struct ControlArrays {
  std::vector<std::string> sField_Name;
  std::vector<std::int16_t> iField_Num;
  std::vector<std::int16_t> iField_Start;
  std::vector<std::int16_t> iField_Len;
  std::vector<std::string> sField_Type;
  std::vector<std::string> sField_Desc;
  std::vector<std::string> sField_Just;
  std::vector<std::int16_t> iMedTable;
  std::vector<std::int16_t> iPatTable;
  std::vector<std::int16_t> iAbstable;
  std::vector<std::int16_t> iMedTableNo;
  std::vector<std::int16_t> iPatTableNo;
  std::vector<std::int16_t> iAbsTableNo;
  std::vector<std::int16_t> iField_Protected;
  std::vector<std::int16_t> iField_Invisible;
  std::vector<std::string> sField_DefaultVal;
  std::vector<std::int16_t> iField_Critical;
  std::vector<std::int16_t> iField_Row;
};

class QM_API NAACCRLayout {
 public:
  NAACCRLayout();
  ~NAACCRLayout();
  NAACCRLayout(const NAACCRLayout&) = delete;
  NAACCRLayout& operator=(const NAACCRLayout&) = delete;

  // Trapped getters: an index outside the arrays raises base + 1302 to 1313 with source
  // "QMData.NAACCRLayout." + the member, "Invalid index". `FieldPrompting` returns what
  // `FieldType` does and reports its errors under that name.
  const std::string& FieldName(std::int16_t iFieldIndex) const;
  std::int16_t FieldNumber(std::int16_t iFieldIndex) const;
  std::int16_t FieldLength(std::int16_t iFieldIndex) const;
  std::int16_t FieldStart(std::int16_t iFieldIndex) const;
  const std::string& FieldType(std::int16_t iFieldIndex) const;
  const std::string& FieldPrompting(std::int16_t iFieldIndex) const;
  const std::string& FieldDescription(std::int16_t iFieldIndex) const;
  const std::string& FieldJustification(std::int16_t iFieldIndex) const;
  std::int16_t IsPatientField(std::int16_t iFieldIndex) const;
  std::int16_t IsAbstractField(std::int16_t iFieldIndex) const;
  std::int16_t IsMedicalSummaryField(std::int16_t iFieldIndex) const;
  std::int16_t IsProtected(std::int16_t iFieldIndex) const;

  // Untrapped: an index outside the arrays is the subscript error (9).
  bool FieldProtected(std::int16_t iFieldIndex) const;
  void SetFieldProtected(std::int16_t iFieldIndex, bool value);
  const std::string& fieldvalue(std::int16_t iFieldIndex) const;
  void Setfieldvalue(std::int16_t iFieldIndex, std::string_view value);
  bool FieldInvisible(std::int16_t iFieldIndex) const;
  void SetFieldInvisible(std::int16_t iFieldIndex, bool value);
  std::int16_t FieldRow(std::int16_t iFieldIndex) const;
  void SetFieldRow(std::int16_t iFieldIndex, std::int16_t value);
  const std::string& FieldDefaultVal(std::int16_t iFieldIndex) const;
  void SetFieldDefaultVal(std::int16_t iFieldIndex, std::string_view value);
  /// The projects in which the field must be filled: bit p - 1 stands for project p.
  std::int16_t FieldCriticalFlag(std::int16_t FieldIndex) const;
  void SetFieldCriticalFlag(std::int16_t FieldIndex, std::int16_t value);
  const std::string& FieldPromptingValue(std::int16_t iFieldIndex) const;
  /// Nothing fills these keys: every index is the subscript error.
  const std::string& ValidateKey(std::int16_t iFieldIndex) const;
  Variant UnknownValues(std::int16_t iFieldIndex) const;
  void SetUnknownValues(std::int16_t iFieldIndex, const Variant& value);
  /// Table codes as stored: 0 none, 1, 2 and 4 for tables 1, 2 and 3.
  std::int16_t FieldAbsTable(std::int16_t iFieldIndex) const;
  std::int16_t FieldPatTable(std::int16_t iFieldIndex) const;
  std::int16_t FieldMedTable(std::int16_t iFieldIndex) const;
  /// Item number of the k-th text field in query order, k from 0 to 20.
  std::int16_t TextField(std::int16_t k) const;

  const std::string& Version() const;
  const std::string& ControlTable() const;
  const std::string& NAACCRGlobalValue() const;
  void SetNAACCRGlobalValue(std::string_view value);
  const std::string& NAACCRExchgValue() const;
  void SetNAACCRExchgValue(std::string_view value);
  const std::string& MetaFileName() const;
  void SetMetaFileName(std::string_view value);
  std::int16_t LengthOfAbstract() const;
  void SetLengthOfAbstract(std::int16_t value);
  std::int16_t LengthOfIncidence() const;
  void SetLengthOfIncidence(std::int16_t value);
  std::int16_t LengthOfConfidential() const;
  void SetLengthOfConfidential(std::int16_t value);
  std::int16_t ColProjects() const;
  void SetColProjects(std::int16_t value);
  std::int16_t ColVersionID() const;
  void SetColVersionID(std::int16_t value);
  std::int16_t ColRecType() const;
  void SetColRecType(std::int16_t value);
  std::int16_t FieldsCount() const;
  std::int16_t TextFieldsCount() const;
  std::int16_t AbsTableCnt() const;
  std::int16_t PatTableCnt() const;
  std::int16_t MedTableCnt() const;

  /// Length in characters of a record type; any other value is base + 1300, "Invalid record type".
  std::int16_t RecordLength(std::int32_t iRecType) const;
  /// Replaces the caller's array with the 21 item numbers of `TextField`.
  void getTextFields(std::vector<std::int16_t>& nTextFields) const;
  void GetControlArrays(ControlArrays& arrays) const;

  /// The lowest index of the item number or of the name (without regard to case), or -1.
  std::int16_t IndexByNAACCRItemNo(std::int16_t iNAACCRItemNo) const;
  std::int16_t IndexByFieldName(std::string_view strFieldName) const;
  /// As `IndexByFieldName`, but an unknown name is base + 1318, "Invalid Field Name: " + name.
  std::int16_t FieldIndex(std::string_view FieldName) const;

  /// Sets every `FieldCriticalFlag` from the registry's table CRITICALFIELDS. Items and fields are
  /// merged in one forward pass, so the layout must be loaded in the order of the item numbers, at
  /// least over the critical ones. An item that the pass does not meet shows a message box and then
  /// fails as `FieldNumber` does (base + 1303); the flags set before stay.
  void LoadCriticalFields();

  /// Packs the texts (element k for text field k) into a memo: in item-number order, each trimmed
  /// and followed by the character with code 2. Gives 0; any failure is base + 1314.
  std::int16_t CompressMemoText(std::string& sMemoText,
                                const std::vector<std::string>& sTextStrs) const;
  /// Unpacks a memo into the caller's array, which is dimensioned already. Gives 0 when it matched,
  /// 1 when it holds more texts than the layout, -1 when separators were missing; those are
  /// appended to the caller's memo. Any failure is base + 1315.
  std::int16_t GetMemoTextArray(std::string& sMemoText, std::vector<std::string>& sTextStrs) const;
  /// Cuts the texts out of a fixed-width record. Gives 0; any failure is base + 1316.
  std::int16_t GetTextFromNAACCRRec(std::string_view NAACCRtext,
                                    std::vector<std::string>& sTextStrs) const;

 private:
  friend class LayoutLoader;
  friend class LayoutAccess;
  struct State;
  std::unique_ptr<State> state_;
};

}  // namespace qm
