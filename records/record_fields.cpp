// What a record knows of its fields: its own view of the layout's arrays.
#include <qm/record.h>

#include "layout/layout_state.h"
#include "records/split_record.h"

namespace qm {

const std::string& Record::FieldName(std::int16_t Index) const {
  return At(record_->FieldArrays().sField_Name, Index);
}
std::string Record::FieldLength(std::int16_t Index) const {
  return std::to_string(At(record_->FieldArrays().iField_Len, Index));
}
const std::string& Record::FieldJustification(std::int16_t Index) const {
  return At(record_->FieldArrays().sField_Just, Index);
}
std::int16_t Record::FieldStartCol(std::int16_t Index) const { return FieldStart(Index); }
std::int16_t Record::FieldStart(std::int16_t Index) const {
  return At(record_->FieldArrays().iField_Start, Index);
}
void Record::SetFieldStart(std::int16_t Index, std::int16_t value) {
  At(record_->ChangeFieldArrays().iField_Start, Index) = value;
}
bool Record::FieldExists(std::int16_t Index) const {
  return At(record_->FieldArrays().*(record_->Family().membership), Index) != 0;
}
std::int16_t Record::FieldTableNo(std::int16_t Index) const { return record_->FieldTableNo(Index); }

const std::string& Record::FieldDataType(std::int16_t Index) const { return FieldType(Index); }
const std::string& Record::FieldType(std::int16_t Index) const {
  return At(record_->FieldArrays().sField_Type, Index);
}
void Record::SetFieldType(std::int16_t Index, std::string_view value) {
  At(record_->ChangeFieldArrays().sField_Type, Index) = value;
}
const std::string& Record::FieldPrompting(std::int16_t Index) const { return FieldType(Index); }

const std::string& Record::FieldDefaultVal(std::int16_t Index) const {
  return At(record_->FieldArrays().sField_DefaultVal, Index);
}
const std::string& Record::FieldDescription(std::int16_t Index) const {
  return At(record_->FieldArrays().sField_Desc, Index);
}
bool Record::FieldInvisible(std::int16_t Index) const {
  return At(record_->FieldArrays().iField_Invisible, Index) != 0;
}
std::int16_t Record::FieldNAACCRNumber(std::int16_t Index) const {
  return At(record_->FieldArrays().iField_Num, Index);
}
std::int16_t Record::FieldRow(std::int16_t Index) const {
  return At(record_->FieldArrays().iField_Row, Index);
}
void Record::SetFieldRow(std::int16_t Index, std::int16_t value) {
  At(record_->ChangeFieldArrays().iField_Row, Index) = value;
}

}  // namespace qm
