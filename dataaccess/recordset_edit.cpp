#include <utility>
#include <vector>

#include <qm/error.h>

#include "dataaccess/data_error.h"
#include "dataaccess/recordset_impl.h"
#include "dataaccess/stored_form.h"

namespace qm {

bool RecordsetImpl::IsUpdatable() const {
  return lock_type_ != kLockReadOnly && shape_->origin != nullptr;
}

std::int32_t RecordsetImpl::EditMode() const {
  RequireOpen();
  return edit_mode_;
}

void RecordsetImpl::SetValue(int ordinal, const Variant& value) {
  RequireOrdinal(ordinal);
  const auto at = static_cast<std::size_t>(ordinal);
  if (!IsUpdatable() || shape_->columns[at].origin.empty()) {
    RaiseData(kErrNotSupported, "column \"" + shape_->columns[at].name + "\" cannot be written");
  }
  Variant stored = open_on_->RequireSession().StoredForm(value);
  if (edit_mode_ == kEditAdd) {
    pending_[ordinal] = std::move(stored);
    return;
  }
  RequireRow();
  if (edit_mode_ == kEditNone && lock_type_ == kLockPessimistic) LockRow();
  if (SameStored(row_[at], stored)) {
    pending_.erase(ordinal);
  } else {
    pending_[ordinal] = std::move(stored);
  }
  // A lock that was taken stays until the edit is ended; without one, no change is no edit.
  const bool editing = lock_type_ == kLockPessimistic || !pending_.empty();
  edit_mode_ = editing ? kEditInProgress : kEditNone;
}

void RecordsetImpl::LockRow() {
  holds_edit_lock_ = open_on_->TakeEditLock();
  bool unchanged = false;
  try {
    Row now;
    unchanged = open_on_->RequireSession().ReadRow(*shape_->origin,
                                                   IdentityOf(row_, *shape_->origin), now, true) &&
                now.size() == row_.size();
    for (std::size_t i = 0; unchanged && i < shape_->columns.size(); ++i) {
      unchanged = shape_->columns[i].origin.empty() || SameStored(now[i], row_[i]);
    }
  } catch (...) {
    ForgetEdit();
    throw;
  }
  if (unchanged) return;
  ForgetEdit();
  rows_->Distrust();
  RaiseData(kErrRowChanged);
}

void RecordsetImpl::SavePending() {
  if (edit_mode_ != kEditNone) Update();
}

void RecordsetImpl::AddNew() {
  RequireOpen();
  if (!IsUpdatable()) RaiseData(kErrNotSupported);
  SavePending();
  edit_mode_ = kEditAdd;
}

void RecordsetImpl::Update() {
  RequireOpen();
  if (edit_mode_ == kEditNone) return;
  if (edit_mode_ == kEditAdd) {
    InsertNew();
  } else if (!pending_.empty()) {
    WriteChanges();
  }
  if (holds_edit_lock_) {
    open_on_->ReleaseEditLock();
    holds_edit_lock_ = false;
  }
  edit_mode_ = kEditNone;
}

void RecordsetImpl::WriteChanges() {
  std::vector<ColumnChange> changes;
  changes.reserve(pending_.size());
  for (const auto& [ordinal, value] : pending_) {
    const auto at = static_cast<std::size_t>(ordinal);
    changes.push_back({shape_->columns[at].origin, row_[at], value});
  }
  open_on_->PrepareToWrite();
  const auto identity = std::span<Variant>(row_).last(shape_->origin->IdentityWidth());
  if (!open_on_->RequireSession().UpdateRow(*shape_->origin, identity, changes)) {
    rows_->Distrust();
    RaiseData(kErrRowChanged);
  }
  auto change = changes.begin();
  for (const auto& [ordinal, value] : pending_) {
    row_[static_cast<std::size_t>(ordinal)] = std::move(change++->value);
  }
  pending_.clear();
  rows_->Replaced(row_);
}

void RecordsetImpl::InsertNew() {
  std::vector<ColumnChange> values;
  values.reserve(pending_.size());
  for (const auto& [ordinal, value] : pending_) {
    values.push_back({shape_->columns[static_cast<std::size_t>(ordinal)].origin, {}, value});
  }
  open_on_->PrepareToWrite();
  ProviderSession& session = open_on_->RequireSession();
  const Row identity = session.InsertRow(*shape_->origin, values);
  pending_.clear();
  edit_mode_ = kEditNone;
  // The engine may have filled in defaults, or a trigger have taken the row away.
  const bool there = session.ReadRow(*shape_->origin, identity, row_, false);
  if (there) rows_->Added(row_);
  Settle(there ? Moved::kRow : Moved::kDeleted, true);
}

void RecordsetImpl::CancelUpdate() {
  RequireOpen();
  if (holds_edit_lock_) {
    open_on_->ReleaseEditLock();
    holds_edit_lock_ = false;
  }
  pending_.clear();
  edit_mode_ = kEditNone;
}

void RecordsetImpl::ForgetEdit() noexcept {
  if (holds_edit_lock_) open_on_->DropEditLock();
  holds_edit_lock_ = false;
  pending_.clear();
  edit_mode_ = kEditNone;
}

}  // namespace qm
