#include <qm/error.h>

#include "dataaccess/data_error.h"
#include "dataaccess/recordset_impl.h"

namespace qm {

bool RecordsetImpl::Supports(std::int32_t option) const {
  RequireOpen();
  switch (option) {
    case kSupportsMovePrevious:
      return rows_->Scrolls();
    case kSupportsAddNew:
    case kSupportsUpdate:
      return IsUpdatable();
    default:
      return false;
  }
}

void RecordsetImpl::Find(std::string_view, std::int64_t, std::int32_t, const Variant&) {
  RequireOpen();
  RaiseData(kErrNotSupported);
}

Variant RecordsetImpl::Bookmark() const {
  RequireOpen();
  RaiseData(kErrNotSupported);
}

void RecordsetImpl::SetBookmark(const Variant&) {
  RequireOpen();
  RaiseData(kErrNotSupported);
}

void RecordsetImpl::SetIndex(std::string_view) {
  RequireOpen();
  RaiseData(kErrNotSupported);
}

void RecordsetImpl::Seek(const Variant&, std::int32_t) {
  RequireOpen();
  RaiseData(kErrNotSupported);
}

}  // namespace qm
