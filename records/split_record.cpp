#include "records/split_record.h"

#include <utility>

#include <qm/conversions.h>

#include "layout/field_format.h"
#include "layout/layout_state.h"
#include "layout/table_code.h"
#include "runtime/text.h"

namespace qm {

namespace {

constexpr std::int32_t kFieldNotFound = kObjectErrorBase + 1204;
constexpr std::int32_t kNotOpened = kObjectErrorBase + 1205;
constexpr std::int32_t kOutOfBounds = kObjectErrorBase + 1206;

constexpr std::string_view kDateCode = "D";

// What begins with a letter reads as no number, however it goes on.
bool IsName(std::string_view text) {
  const char first = text.empty() ? '\0' : text.front();
  return (first >= 'A' && first <= 'Z') || (first >= 'a' && first <= 'z');
}

std::string SourceOf(const RecordFamily& family, std::string_view member) {
  return "QMData." + std::string(family.record_class) + "." + std::string(member);
}

}  // namespace

SplitRecord::SplitRecord(const RecordFamily& family, std::shared_ptr<NAACCRLayout> layout)
    : family_(&family),
      layout_(layout ? std::move(layout) : std::make_shared<NAACCRLayout>()),
      fields_(LayoutAccess::Arrays(*layout_)) {}

void SplitRecord::AttachRecordsets(RecordsetList recordsets) {
  recordsets_ = std::move(recordsets);
  stale_.assign(recordsets_.size(), false);
  texts_.assign(static_cast<std::size_t>(layout_->TextFieldsCount()) + 1, {});
  if (!Primary().Eof()) RefillTexts();
}

qm::Recordset& SplitRecord::Primary() const { return *At(recordsets_, 0); }

ControlArrays& SplitRecord::ChangeFieldArrays() {
  if (!own_fields_) {
    own_fields_ = std::make_shared<ControlArrays>(*fields_);
    fields_ = own_fields_;
  }
  return *own_fields_;
}

void SplitRecord::RefillTexts() { SplitMemo(ToTextOrEmpty(Primary().Value(kMemoColumn))); }

// The layout may extend the memo; only this copy of it changes.
void SplitRecord::SplitMemo(std::string memo) { layout_->GetMemoTextArray(memo, texts_); }

bool SplitRecord::IsTextField(std::int16_t index) const {
  return At(fields_->sField_Type, index) == "X";
}

int SplitRecord::FieldTable(std::int16_t index) const { return TableOfCode(FieldTableNo(index)); }

std::int16_t SplitRecord::FieldTableNo(std::int16_t Index) const {
  return At((*fields_).*(family_->table_codes), Index);
}

void SplitRecord::Open(qm::Recordset& recordset, int table) {
  recordset.SetSource("SELECT * FROM " + std::string(family_->table) + "_" + std::to_string(table) +
                      " WHERE " + std::string(family_->select_key) + " = " +
                      ToText(Primary().Value(family_->key)));
  recordset.Open();
  stale_[static_cast<std::size_t>(table) - 1] = false;
}

// A new row that waits here is the record's own while the primary one waits too, or was saved under
// the same key.
bool SplitRecord::ShowsRecord(const qm::Recordset& recordset, int table) const {
  if (!stale_[static_cast<std::size_t>(table) - 1]) return true;
  if (recordset.EditMode() != kEditAdd) return false;
  const qm::Recordset& primary = Primary();
  if (primary.EditMode() == kEditAdd) return true;
  return !primary.Bof() && !primary.Eof() &&
         recordset.Value(family_->key) == primary.Value(family_->key);
}

qm::Recordset& SplitRecord::Current(int table) {
  qm::Recordset& recordset = *At(recordsets_, table - 1);
  if (table == 1) return recordset;
  const bool open = recordset.State() == kStateOpen;
  if (open && ShowsRecord(recordset, table)) return recordset;
  if (open) recordset.Close();
  Open(recordset, table);
  return recordset;
}

int SplitRecord::getTable(std::string_view name) const {
  try {
    if (const int table = OwnColumnTable(*family_, name)) return table;
    const std::int16_t index = layout_->IndexByFieldName(name);
    return index < 1 ? 0 : FieldTable(index);
  } catch (const Error&) {
    if (!family_->traps_get_table) throw;
    throw Error(kFieldNotFound, SourceOf(*family_, "getTable"),
                " Field " + std::string(name) + " not found in Patients tables.");
  }
}

std::string SplitRecord::Padded(std::string_view value, std::int16_t index) const {
  return PadValue(value, At(fields_->sField_Just, index), At(fields_->iField_Len, index));
}

Variant SplitRecord::Fields(const Variant& vFieldIndex) {
  if (const auto* name = vFieldIndex.GetIf<std::string>(); name != nullptr && IsName(*name)) {
    return FieldByName(*name);
  }
  if (IsNumeric(vFieldIndex)) return FieldByIndex(ToInt16(vFieldIndex));
  return FieldByName(ToText(vFieldIndex));
}

void SplitRecord::SetFields(const Variant& vFieldIndex, const Variant& value) {
  if (IsNumeric(vFieldIndex)) {
    SetFieldByIndex(ToInt16(vFieldIndex), value);
  } else {
    SetFieldByName(ToText(vFieldIndex), value);
  }
}

Variant SplitRecord::FieldByIndex(std::int16_t iFieldIndex) {
  if (IsTextField(iFieldIndex)) return At(texts_, iFieldIndex);
  Variant value = Current(FieldTable(iFieldIndex)).Value(At(fields_->sField_Name, iFieldIndex));
  if (!auto_format_values_ || value.IsNull() || iFieldIndex < 1) return value;
  std::string text = ToText(std::move(value));
  if (At(fields_->sField_Just, iFieldIndex) == kDateCode) text = FormatDate(text, "D");
  return Padded(text, iFieldIndex);
}

void SplitRecord::SetFieldByIndex(std::int16_t iFieldIndex, const Variant& value) {
  if (IsTextField(iFieldIndex)) {
    At(texts_, iFieldIndex) = ToTextOrEmpty(value);
    return;
  }
  qm::Recordset& recordset = Current(FieldTable(iFieldIndex));
  const std::string& column = At(fields_->sField_Name, iFieldIndex);
  if (!auto_format_values_ || value.IsNull() || iFieldIndex < 1) {
    recordset.SetValue(column, value);
    return;
  }
  std::string text = ToText(value);
  if (At(fields_->sField_Just, iFieldIndex) == kDateCode) {
    text = FormatDate(text, "M");
    if (text == "H") RaiseRunTime(kErrTypeMismatch);
  }
  recordset.SetValue(column, Padded(text, iFieldIndex));
}

Variant SplitRecord::FieldByName(std::string_view strFieldName) {
  const std::int16_t index = layout_->IndexByFieldName(strFieldName);
  if (index >= 1) return FieldByIndex(index);
  return Current(getTable(strFieldName)).Value(strFieldName);
}

void SplitRecord::SetFieldByName(std::string_view strFieldName, const Variant& value) {
  if (EqualsIgnoreCase(strFieldName, kMemoColumn)) {
    SplitMemo(ToTextOrEmpty(value));
    return;
  }
  const std::int16_t index = layout_->IndexByFieldName(strFieldName);
  if (index >= 1) {
    SetFieldByIndex(index, value);
  } else {
    Current(getTable(strFieldName)).SetValue(strFieldName, value);
  }
}

std::shared_ptr<qm::Recordset> SplitRecord::Recordset(std::int16_t Index) {
  if (Index > static_cast<std::int64_t>(recordsets_.size())) {
    throw Error(kOutOfBounds, SourceOf(*family_, "Recordset"), " Array out-of-bounds.");
  }
  return At(recordsets_, Index - 1);
}

SplitRecord::RecordsetList SplitRecord::Recordsets() {
  if (recordsets_.empty() || recordsets_.front()->State() != kStateOpen) {
    throw Error(kNotOpened, SourceOf(*family_, "GetRecordsets"),
                std::string(family_->record_class) + " recordsets have not been opened yet");
  }
  for (std::size_t t = 1; t < recordsets_.size(); ++t) {
    if (recordsets_[t]->State() != kStateOpen) Open(*recordsets_[t], static_cast<int>(t) + 1);
  }
  return recordsets_;
}

}  // namespace qm
