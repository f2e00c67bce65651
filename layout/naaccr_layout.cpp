#include <qm/naaccr_layout.h>

#include "layout/layout_state.h"

namespace qm {

namespace {

constexpr std::int32_t kInvalidRecordType = kObjectErrorBase + 1300;
constexpr std::int32_t kInvalidFieldName = kObjectErrorBase + 1318;

// The element of an array whose getter reports an index outside it in its own name.
template <typename Element>
const Element& Trapped(const std::vector<Element>& elements, std::int16_t index,
                       std::int32_t number, const char* member) {
  if (index < 0 || static_cast<std::size_t>(index) >= elements.size()) {
    throw Error(kObjectErrorBase + number, std::string("QMData.NAACCRLayout.") + member,
                "Invalid index");
  }
  return elements[static_cast<std::size_t>(index)];
}

}  // namespace

NAACCRLayout::NAACCRLayout() : state_(std::make_unique<State>()) {}
NAACCRLayout::~NAACCRLayout() = default;

const std::string& NAACCRLayout::FieldName(std::int16_t iFieldIndex) const {
  return Trapped(state_->arrays->sField_Name, iFieldIndex, 1302, "FieldName");
}
std::int16_t NAACCRLayout::FieldNumber(std::int16_t iFieldIndex) const {
  return Trapped(state_->arrays->iField_Num, iFieldIndex, 1303, "FieldNumber");
}
std::int16_t NAACCRLayout::FieldLength(std::int16_t iFieldIndex) const {
  return Trapped(state_->arrays->iField_Len, iFieldIndex, 1304, "FieldLength");
}
std::int16_t NAACCRLayout::FieldStart(std::int16_t iFieldIndex) const {
  return Trapped(state_->arrays->iField_Start, iFieldIndex, 1305, "FieldStart");
}
const std::string& NAACCRLayout::FieldType(std::int16_t iFieldIndex) const {
  return Trapped(state_->arrays->sField_Type, iFieldIndex, 1306, "FieldType");
}
const std::string& NAACCRLayout::FieldPrompting(std::int16_t iFieldIndex) const {
  return Trapped(state_->arrays->sField_Type, iFieldIndex, 1307, "FieldType");
}
const std::string& NAACCRLayout::FieldDescription(std::int16_t iFieldIndex) const {
  return Trapped(state_->arrays->sField_Desc, iFieldIndex, 1308, "FieldDescription");
}
const std::string& NAACCRLayout::FieldJustification(std::int16_t iFieldIndex) const {
  return Trapped(state_->arrays->sField_Just, iFieldIndex, 1309, "FieldJustification");
}
std::int16_t NAACCRLayout::IsPatientField(std::int16_t iFieldIndex) const {
  return Trapped(state_->arrays->iPatTable, iFieldIndex, 1310, "IsPatientField");
}
std::int16_t NAACCRLayout::IsAbstractField(std::int16_t iFieldIndex) const {
  return Trapped(state_->arrays->iAbstable, iFieldIndex, 1311, "IsAbstractField");
}
std::int16_t NAACCRLayout::IsMedicalSummaryField(std::int16_t iFieldIndex) const {
  return Trapped(state_->arrays->iMedTable, iFieldIndex, 1312, "IsMedicalSummaryField");
}
std::int16_t NAACCRLayout::IsProtected(std::int16_t iFieldIndex) const {
  return Trapped(state_->arrays->iField_Protected, iFieldIndex, 1313, "IsProtected");
}

bool NAACCRLayout::FieldProtected(std::int16_t iFieldIndex) const {
  return At(state_->arrays->iField_Protected, iFieldIndex) != 0;
}
void NAACCRLayout::SetFieldProtected(std::int16_t iFieldIndex, bool value) {
  At(state_->Changeable().iField_Protected, iFieldIndex) =
      value ? std::int16_t{-1} : std::int16_t{0};
}
const std::string& NAACCRLayout::fieldvalue(std::int16_t iFieldIndex) const {
  return At(state_->fieldvalue, iFieldIndex);
}
void NAACCRLayout::Setfieldvalue(std::int16_t iFieldIndex, std::string_view value) {
  At(state_->fieldvalue, iFieldIndex) = value;
}
bool NAACCRLayout::FieldInvisible(std::int16_t iFieldIndex) const {
  return At(state_->arrays->iField_Invisible, iFieldIndex) != 0;
}
void NAACCRLayout::SetFieldInvisible(std::int16_t iFieldIndex, bool value) {
  At(state_->Changeable().iField_Invisible, iFieldIndex) =
      value ? std::int16_t{-1} : std::int16_t{0};
}
std::int16_t NAACCRLayout::FieldRow(std::int16_t iFieldIndex) const {
  return At(state_->arrays->iField_Row, iFieldIndex);
}
void NAACCRLayout::SetFieldRow(std::int16_t iFieldIndex, std::int16_t value) {
  At(state_->Changeable().iField_Row, iFieldIndex) = value;
}
const std::string& NAACCRLayout::FieldDefaultVal(std::int16_t iFieldIndex) const {
  return At(state_->arrays->sField_DefaultVal, iFieldIndex);
}
void NAACCRLayout::SetFieldDefaultVal(std::int16_t iFieldIndex, std::string_view value) {
  At(state_->Changeable().sField_DefaultVal, iFieldIndex) = value;
}
std::int16_t NAACCRLayout::FieldAbsTable(std::int16_t iFieldIndex) const {
  return At(state_->arrays->iAbsTableNo, iFieldIndex);
}
std::int16_t NAACCRLayout::FieldPatTable(std::int16_t iFieldIndex) const {
  return At(state_->arrays->iPatTableNo, iFieldIndex);
}
std::int16_t NAACCRLayout::FieldMedTable(std::int16_t iFieldIndex) const {
  return At(state_->arrays->iMedTableNo, iFieldIndex);
}
std::int16_t NAACCRLayout::TextField(std::int16_t k) const { return At(state_->TextItemNo, k); }

const std::string& NAACCRLayout::Version() const { return state_->Version; }
const std::string& NAACCRLayout::ControlTable() const { return state_->ControlTable; }
const std::string& NAACCRLayout::NAACCRGlobalValue() const { return state_->NAACCRGlobalValue; }
void NAACCRLayout::SetNAACCRGlobalValue(std::string_view value) {
  state_->NAACCRGlobalValue = value;
}
const std::string& NAACCRLayout::NAACCRExchgValue() const { return state_->NAACCRExchgValue; }
void NAACCRLayout::SetNAACCRExchgValue(std::string_view value) { state_->NAACCRExchgValue = value; }
const std::string& NAACCRLayout::MetaFileName() const { return state_->MetaFileName; }
void NAACCRLayout::SetMetaFileName(std::string_view value) { state_->MetaFileName = value; }
std::int16_t NAACCRLayout::LengthOfAbstract() const { return state_->LengthOfAbstract; }
void NAACCRLayout::SetLengthOfAbstract(std::int16_t value) { state_->LengthOfAbstract = value; }
std::int16_t NAACCRLayout::LengthOfIncidence() const { return state_->LengthOfIncidence; }
void NAACCRLayout::SetLengthOfIncidence(std::int16_t value) { state_->LengthOfIncidence = value; }
std::int16_t NAACCRLayout::LengthOfConfidential() const { return state_->LengthOfConfidential; }
void NAACCRLayout::SetLengthOfConfidential(std::int16_t value) {
  state_->LengthOfConfidential = value;
}
std::int16_t NAACCRLayout::ColProjects() const { return state_->ColProjects; }
void NAACCRLayout::SetColProjects(std::int16_t value) { state_->ColProjects = value; }
std::int16_t NAACCRLayout::ColVersionID() const { return state_->ColVersionID; }
void NAACCRLayout::SetColVersionID(std::int16_t value) { state_->ColVersionID = value; }
std::int16_t NAACCRLayout::ColRecType() const { return state_->ColRecType; }
void NAACCRLayout::SetColRecType(std::int16_t value) { state_->ColRecType = value; }
std::int16_t NAACCRLayout::FieldsCount() const { return state_->FieldsCount; }
std::int16_t NAACCRLayout::TextFieldsCount() const { return state_->TextFieldsCount; }
std::int16_t NAACCRLayout::AbsTableCnt() const { return state_->AbsTableCnt; }
std::int16_t NAACCRLayout::PatTableCnt() const { return state_->PatTableCnt; }
std::int16_t NAACCRLayout::MedTableCnt() const { return state_->MedTableCnt; }

std::int16_t NAACCRLayout::RecordLength(std::int32_t iRecType) const {
  switch (iRecType) {
    case qmRecordTypeA:
      return state_->LengthOfAbstract;
    case qmRecordTypeC:
      return state_->LengthOfConfidential;
    case qmRecordTypeI:
      return state_->LengthOfIncidence;
    default:
      throw Error(kInvalidRecordType, "QMData.NAACCRLayout.RecordLength", "Invalid record type");
  }
}

void NAACCRLayout::getTextFields(std::vector<std::int16_t>& nTextFields) const {
  nTextFields.assign(state_->TextItemNo.begin(), state_->TextItemNo.end());
}

void NAACCRLayout::GetControlArrays(ControlArrays& arrays) const { arrays = *state_->arrays; }

std::int16_t NAACCRLayout::IndexByNAACCRItemNo(std::int16_t iNAACCRItemNo) const {
  return state_->lookups.ByNumber(iNAACCRItemNo);
}

std::int16_t NAACCRLayout::IndexByFieldName(std::string_view strFieldName) const {
  return state_->lookups.ByName(strFieldName);
}

std::int16_t NAACCRLayout::FieldIndex(std::string_view FieldName) const {
  const std::int16_t index = state_->lookups.ByName(FieldName);
  if (index < 1) {
    throw Error(kInvalidFieldName, "NAACCRLayout", "Invalid Field Name: " + std::string(FieldName));
  }
  return index;
}

const ColumnList& AbstractColumns(const NAACCRLayout& layout, int table) {
  const auto& columns = LayoutAccess::Columns(layout);
  if (!columns || table < 1) RaiseRunTime(kErrSubscript);
  return At(*columns, table - 1);
}

}  // namespace qm
