#include <qm/error.h>

#include <utility>

namespace qm {

Error::Error(std::int32_t number, std::string source, const std::string& description,
             int engine_code, std::string statement)
    : std::runtime_error(description),
      number_(number),
      source_(std::move(source)),
      engine_code_(engine_code),
      statement_(std::move(statement)) {}

Error Error::As(std::int32_t number, std::string source) const {
  return {number, std::move(source), what(), engine_code_, statement_};
}

std::string_view RunTimeDescription(std::int32_t number) {
  switch (number) {
    case kErrInvalidCall:
      return "Invalid procedure call or argument";
    case kErrOverflow:
      return "Overflow";
    case 7:
      return "Out of memory";
    case kErrSubscript:
      return "Subscript out of range";
    case kErrDivisionByZero:
      return "Division by zero";
    case kErrTypeMismatch:
      return "Type mismatch";
    case kErrStringSpace:
      return "Out of string space";
    case kErrStackSpace:
      return "Out of stack space";
    case 70:
      return "Permission denied";
    case kErrObjectNotSet:
      return "Object variable not set";
    case kErrInvalidUseOfNull:
      return "Invalid use of Null";
    case kErrObjectRequired:
      return "Object required";
    case 429:
      return "ActiveX component can't create object";
    case kErrNoSuchMember:
      return "Object doesn't support this property or method";
    case 447:
      return "Object doesn't support current locale setting";
    case kErrWrongArgumentCount:
      return "Wrong number of arguments or invalid property assignment";
    case kErrKeyInUse:
      return "This key is already associated with an element of this collection";
    case kErrSyntax:
      return "Syntax error";
    default:
      return "Unknown runtime error";
  }
}

void RaiseRunTime(std::int32_t number, std::string_view detail) {
  std::string description(RunTimeDescription(number));
  if (!detail.empty()) description.append(": '").append(detail).append("'");
  throw Error(number, "QMDataObjects2", description);
}

}  // namespace qm
