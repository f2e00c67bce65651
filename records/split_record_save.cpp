// Editing a record in all its tables: new rows, saving, giving up, and what must be filled in.
#include <qm/conversions.h>

#include "layout/layout_state.h"
#include "records/split_record.h"
#include "session/trap.h"

namespace qm {

namespace {

std::string SaveSource(const RecordFamily& family, std::string_view member) {
  return std::string(family.save_source).append(member);
}

// Null equals nothing, not even the empty text.
bool EqualsEmptyText(const Variant& value) {
  const std::string* text = value.GetIf<std::string>();
  return text != nullptr ? text->empty() : value.IsEmpty();
}

}  // namespace

void SplitRecord::AddNew(std::int32_t key) {
  for (const auto& recordset : recordsets_) {
    if (family_->add_new_opens && recordset->State() != kStateOpen) recordset->Open();
    recordset->AddNew();
    recordset->SetValue(family_->key, key);
  }
}

bool SplitRecord::TextsAreThoseOf(const Variant& memo) const {
  std::string text = ToTextOrEmpty(memo);
  std::vector<std::string> texts(texts_.size());
  layout_->GetMemoTextArray(text, texts);
  return texts == texts_;
}

// Packing the texts may rewrite a memo whose texts nobody touched (Null becomes the separators).
// When another user has written the memo since, that alone is no reason to refuse the other
// columns: his memo stays.
void SplitRecord::SavePrimaryWithMemo() {
  qm::Recordset& primary = Primary();
  std::string memo;
  layout_->CompressMemoText(memo, texts_);
  const Variant before = primary.Value(kMemoColumn);
  primary.SetValue(kMemoColumn, memo);
  try {
    primary.Update();
  } catch (const Error& failure) {
    if (failure.number() != kErrRowChanged || !TextsAreThoseOf(before)) throw;
    primary.SetValue(kMemoColumn, before);
    primary.Update();
  }
}

void SplitRecord::Update() {
  Trap(family_->update_error, SaveSource(*family_, "Update"), [this] {
    if (family_->texts_follow) SavePrimaryWithMemo();
    for (const auto& recordset : recordsets_) {
      if (recordset->State() == kStateOpen) recordset->Update();
    }
  });
}

void SplitRecord::CancelUpdate() {
  Trap(family_->cancel_error, SaveSource(*family_, "CancelUpdate"), [this] {
    bool row_dropped = false;
    for (const auto& recordset : recordsets_) {
      if (recordset->State() != kStateOpen) continue;
      row_dropped = row_dropped || recordset->EditMode() == kEditAdd;
      recordset->CancelUpdate();
    }
    // Where the new row was saved in some tables only, the others stand on another record.
    if (row_dropped) MarkStale();
  });
}

bool SplitRecord::CriticalFieldsMissing() {
  for (int i = 1; i <= layout_->FieldsCount(); ++i) {
    const auto index = static_cast<std::int16_t>(i);
    if (layout_->FieldCriticalFlag(index) != 0 && EqualsEmptyText(FieldByIndex(index))) return true;
  }
  return false;
}

}  // namespace qm
