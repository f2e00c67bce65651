#include "dataaccess/data_error.h"

#include <string>

namespace qm {

namespace {

std::string_view DataDescription(std::int32_t number) {
  switch (number) {
    case kErrBadArgument:
      return "Arguments are of the wrong type, are out of acceptable range, or are in conflict "
             "with one another";
    case kErrNoCurrentRecord:
      return "Either BOF or EOF is True, or the current record has been deleted; the operation "
             "requires a current record";
    case kErrNotAllowedHere:
      return "Operation is not allowed in this context";
    case kErrInTransaction:
      return "Operation is not allowed while a row is being edited under a lock of its own";
    case kErrNotSupported:
      return "The recordset does not support this operation";
    case kErrNoSuchItem:
      return "Item cannot be found in the collection";
    case kErrWrongType:
      return "A value of the wrong type for this operation";
    case kErrObjectClosed:
      return "Operation is not allowed when the object is closed";
    case kErrObjectOpen:
      return "Operation is not allowed when the object is open";
    case kErrUnknownProvider:
      return "Provider cannot be found";
    case kErrInvalidConnection:
      return "The connection cannot be used to perform this operation; it is closed or invalid";
    case kErrRowDeleted:
      return "The row was deleted";
    case kErrRowChanged:
      return "The row was changed by another user since it was read";
    case kErrNestedTransaction:
      return "A transaction is already open";
    case kErrNoTransaction:
      return "No transaction is open";
    default:
      return "Data access failed";
  }
}

}  // namespace

void RaiseData(std::int32_t number, std::string_view detail) {
  std::string description(DataDescription(number));
  if (!detail.empty()) description.append(": ").append(detail);
  throw Error(number, "QMDataObjects2.DataAccess", description);
}

bool IsConnectionLost(const Error& failure) {
  return failure.engine_code() != 0 &&
         std::string_view(failure.description()).starts_with(kConnectionLost);
}

}  // namespace qm
