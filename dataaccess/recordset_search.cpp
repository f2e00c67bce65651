#include <span>
#include <string>
#include <utility>

#include <qm/error.h>

#include "dataaccess/data_error.h"
#include "dataaccess/find_criteria.h"
#include "dataaccess/recordset_impl.h"

namespace qm {

namespace {

PageRange RangeOf(std::int32_t option) {
  switch (option) {
    case kSeekFirstEqual:
      return {.equal = true};
    case kSeekLastEqual:
      return {.backward = true, .equal = true};
    case kSeekAfterEqual:
      return {.equal = true, .beyond = true};
    case kSeekAfter:
      return {.beyond = true};
    case kSeekBeforeEqual:
      return {.backward = true, .equal = true, .beyond = true};
    case kSeekBefore:
      return {.backward = true, .beyond = true};
    default:
      RaiseData(kErrBadArgument, "seek option");
  }
}

bool IsFindStart(const Variant& start, std::int32_t which) {
  return start == Variant(which) || start == Variant(static_cast<std::int16_t>(which));
}

}  // namespace

bool RecordsetImpl::Supports(std::int32_t option) const {
  RequireOpen();
  switch (option) {
    case kSupportsFind:
      return true;
    case kSupportsMovePrevious:
    case kSupportsBookmark:
      return rows_->Scrolls();
    case kSupportsIndex:
    case kSupportsSeek:
      return rows_->HasOrder();
    case kSupportsAddNew:
    case kSupportsUpdate:
      return IsUpdatable();
    default:
      return false;
  }
}

void RecordsetImpl::Find(std::string_view criteria, std::int64_t skip, std::int32_t direction,
                         const Variant& start) {
  RequireOpen();
  const FindCriteria wanted(criteria);
  const auto column = static_cast<std::size_t>(RequiredOrdinal(wanted.column()));
  const bool forward = direction == kSearchForward;
  if (!forward && direction != kSearchBackward) RaiseData(kErrBadArgument, "search direction");
  if (skip < 0) RaiseData(kErrBadArgument, "rows to skip");
  if (!forward && !rows_->Scrolls()) RaiseData(kErrNotAllowedHere);
  SavePending();
  GoToStart(start);
  while (!bof_ && !eof_) {
    if (skip > 0) {
      --skip;
    } else if (!deleted_ && wanted.Meets(row_[column])) {
      return;
    }
    Settle(forward ? rows_->Next(row_) : rows_->Previous(row_), forward);
  }
}

void RecordsetImpl::GoToStart(const Variant& start) {
  if (start.IsEmpty() || IsFindStart(start, kBookmarkCurrent)) {
    if (bof_ || eof_) RaiseData(kErrNoCurrentRecord);
  } else if (IsFindStart(start, kBookmarkFirst)) {
    MoveFirst();
  } else if (IsFindStart(start, kBookmarkLast)) {
    MoveLast();
  } else {
    GoTo(start);
  }
}

Variant RecordsetImpl::Bookmark() const {
  RequireOpen();
  if (!rows_->Scrolls()) RaiseData(kErrNotSupported);
  if (edit_mode_ == kEditAdd) RaiseData(kErrNoCurrentRecord);
  RequireRow();
  Variant::Array mark{opening_};
  rows_->Mark(row_, mark);
  return Variant(std::move(mark));
}

void RecordsetImpl::SetBookmark(const Variant& bookmark) {
  RequireOpen();
  if (!rows_->Scrolls()) RaiseData(kErrNotSupported);
  SavePending();
  GoTo(bookmark);
}

void RecordsetImpl::GoTo(const Variant& bookmark) {
  if (!rows_->Scrolls()) RaiseData(kErrNotSupported);
  if (!bookmark.IsArray() || bookmark.Elements().empty() ||
      bookmark.Elements().front() != Variant(opening_)) {
    RaiseData(kErrBadArgument, "bookmark");
  }
  const auto mark = std::span<const Variant>(bookmark.Elements()).subspan(1);
  const Moved moved = rows_->GoTo(mark, row_);
  if (moved == Moved::kDeleted) RaiseData(kErrRowDeleted);
  Settle(moved, true);
}

void RecordsetImpl::SetIndex(std::string_view name) {
  if (rows_) {
    RequireOpen();
    if (!rows_->HasOrder()) RaiseData(kErrNotSupported);
    const auto order = open_on_->RequireSession().FindOrder(*shape_, name);
    if (order == nullptr) RaiseData(kErrNoSuchItem, "index \"" + std::string(name) + "\"");
    rows_->SetOrder(order, row_);
  }
  index_ = name;
}

void RecordsetImpl::Seek(const Variant& key, std::int32_t option) {
  RequireOpen();
  if (!rows_->HasOrder()) RaiseData(kErrNotSupported);
  const PageRange range = RangeOf(option);
  if (index_.empty()) RaiseData(kErrNotAllowedHere, "no index is set");
  const auto values =
      key.IsArray() ? std::span<const Variant>(key.Elements()) : std::span<const Variant>(&key, 1);
  Row stored;
  for (const Variant& value : values) {
    stored.push_back(open_on_->RequireSession().StoredForm(value));
  }
  if (stored.empty() || stored.size() > rows_->IndexWidth()) {
    RaiseData(kErrBadArgument, "key of an index");
  }
  SavePending();
  Settle(rows_->Seek(range, stored, row_), true);
}

}  // namespace qm
