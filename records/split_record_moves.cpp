// Moving a record: the primary recordset moves, the others wait until they are touched.
#include <utility>

#include <qm/conversions.h>

#include "layout/layout_state.h"
#include "records/split_record.h"

namespace qm {

void SplitRecord::MarkStale() {
  for (std::size_t t = 1; t < stale_.size(); ++t) stale_[t] = true;
}

// Only the end is asked for: before the first row there is no memo to read, which is an error.
void SplitRecord::RefillTextsThatFollow() {
  if (family_->texts_follow && !Primary().Eof()) RefillTexts();
}

void SplitRecord::Move(MoveMember move) {
  MarkStale();
  (Primary().*move)();
  RefillTextsThatFollow();
}

void SplitRecord::Find(std::string_view strCriteria) {
  if (family_->find_marks_stale_first) MarkStale();
  Primary().Find(strCriteria, 0, kSearchForward);
  if (!family_->find_marks_stale_first) MarkStale();
  RefillTextsThatFollow();
}

void SplitRecord::SeekRecord(const Variant& vValue) {
  Primary().Seek(vValue, kSeekFirstEqual);
  if (family_->seek_marks_stale) MarkStale();
}

void SplitRecord::SetIndex(std::string_view name) {
  for (const auto& recordset : recordsets_) recordset->SetIndex(name);
}

Variant SplitRecord::BookMark() const {
  Variant::Array bookmarks(recordsets_.size());
  for (std::size_t t = 0; t < recordsets_.size(); ++t) {
    if (recordsets_[t]->State() == kStateOpen) bookmarks[t] = recordsets_[t]->Bookmark();
  }
  return Variant(std::move(bookmarks));
}

// A secondary table that was opened anew since refuses its bookmark; one that was behind the
// primary when the bookmark was taken stands on another key. Both are read again when they are
// touched.
bool SplitRecord::PlacedByBookmark(std::size_t table, const Variant& bookmark) {
  if (bookmark.IsEmpty()) return false;
  qm::Recordset& recordset = *recordsets_[table];
  if (table == 0) {
    recordset.SetBookmark(bookmark);
    return true;
  }
  try {
    recordset.SetBookmark(bookmark);
  } catch (const Error& refusal) {
    if (refusal.number() != kErrBadArgument) throw;
    return false;
  }
  return recordset.Value(family_->key) == Primary().Value(family_->key);
}

void SplitRecord::SetBookMark(const Variant& value) {
  if (!value.IsArray()) RaiseRunTime(kErrTypeMismatch);
  const auto cleared = static_cast<std::size_t>(((*layout_).*(family_->bookmark_count))());
  std::vector<bool> stale = stale_;
  for (std::size_t t = 0; t < recordsets_.size(); ++t) {
    const Variant& bookmark = At(value.Elements(), t);
    if (recordsets_[t]->State() != kStateOpen || PlacedByBookmark(t, bookmark)) {
      if (t < cleared) stale[t] = false;
    } else {
      stale[t] = true;
    }
    // Should a later table fail, none may pass for the row that the primary stands on by now.
    if (t == 0) MarkStale();
  }
  RefillTextsThatFollow();
  stale_ = std::move(stale);
}

void SplitRecord::CloseRecordset() {
  for (const auto& recordset : recordsets_) {
    if (recordset->State() == kStateOpen) recordset->Close();
  }
}

}  // namespace qm
