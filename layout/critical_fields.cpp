// The editing metadata of a field beside its columns: in which projects it must be filled, what it
// is prompted with, its codes for "unknown".
#include <cmath>

#include <qm/conversions.h>
#include <qm/hooks.h>
#include <qm/recordset.h>

#include "layout/layout_state.h"
#include "session/session_state.h"

namespace qm {

namespace {

// A project below 1 gives a fraction that rounds to no bit, one above 15 an overflow.
std::int16_t ProjectBit(const Variant& project) {
  return NarrowInt16(RoundHalfEven(std::exp2(ToDouble(project) - 1)));
}

}  // namespace

void NAACCRLayout::LoadCriticalFields() {
  std::int16_t i = 1;
  for (int k = 1; k <= FieldsCount(); ++k) At(state_->Changeable().iField_Critical, k) = 0;
  const auto& registry = CurrentSession().gcnRegistry.Get();
  const auto rows = registry->CreateRecordset();
  rows->Open("SELECT * FROM CRITICALFIELDS ORDER BY NAACCR_Item_No;", registry, kOpenStatic);
  for (; !rows->Eof(); rows->MoveNext()) {
    const Variant item = rows->Value("NAACCR_Item_No");
    const double item_number = ToDouble(item);
    while (item_number != FieldNumber(i)) {
      i = NarrowInt16(i + 1.0);
      if (i <= FieldsCount()) continue;
      ShowMessage({"ERROR: NAACCR_Item_No " + ToText(item) + " in project " +
                       ToTextOrEmpty(rows->Value("projectID")) +
                       " not found in arrays in LoadCritFieldCheck",
                   MessageButtons::kOk,
                   MessageIcon::kNone,
                   {}});
    }
    const std::int16_t bit = ProjectBit(rows->Value("projectID"));
    std::int16_t& flag = At(state_->Changeable().iField_Critical, i);
    flag = static_cast<std::int16_t>(flag | bit);
  }
  rows->Close();
}

std::int16_t NAACCRLayout::FieldCriticalFlag(std::int16_t FieldIndex) const {
  return At(state_->arrays->iField_Critical, FieldIndex);
}
void NAACCRLayout::SetFieldCriticalFlag(std::int16_t FieldIndex, std::int16_t value) {
  At(state_->Changeable().iField_Critical, FieldIndex) = value;
}
const std::string& NAACCRLayout::FieldPromptingValue(std::int16_t iFieldIndex) const {
  return At(state_->FieldPromptingValue, iFieldIndex);
}
const std::string& NAACCRLayout::ValidateKey(std::int16_t iFieldIndex) const {
  return At(state_->ValidateKey, iFieldIndex);
}
Variant NAACCRLayout::UnknownValues(std::int16_t iFieldIndex) const {
  return At(state_->UnknownValues, iFieldIndex);
}
void NAACCRLayout::SetUnknownValues(std::int16_t iFieldIndex, const Variant& value) {
  At(state_->UnknownValues, iFieldIndex) = ToText(value);
}

}  // namespace qm
