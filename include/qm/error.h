// Error: the one exception type of the library. Everything the library raises carries the number,
// the source and the description that clients match on; there is no hierarchy to catch by.
//
// `what()` is the description. The statement that an engine refused, and the values in it, hold
// patients' data: they travel beside the description and never in it. An engine's own text may
// quote a piece of its statement, so a program that shows messages to others than the user who
// asked prints the description only when `engine_code()` is 0.
#pragma once

#include <cstdint>
#include <stdexcept>
#include <string>
#include <string_view>

#include <qm/api.h>

namespace qm {

/// The platform's custom-error base, 0x80040000; the library's own numbers count from it.
inline constexpr std::int32_t kObjectErrorBase = -2147221504;

/// Run-time error numbers of the platform's language.
enum RunTimeErrorNumber : std::int32_t {
  kErrInvalidCall = 5,
  kErrOverflow = 6,
  kErrSubscript = 9,
  kErrDivisionByZero = 11,
  kErrTypeMismatch = 13,
  kErrStringSpace = 14,
  kErrStackSpace = 28,
  kErrObjectNotSet = 91,
  kErrInvalidUseOfNull = 94,
  kErrObjectRequired = 424,
  kErrNoSuchMember = 438,
  kErrWrongArgumentCount = 450,
  kErrKeyInUse = 457,
  kErrSyntax = 1002
};

/// Numbers of the data-access layer (ActiveX Data Objects 2.5).
enum DataErrorNumber : std::int32_t {
  kErrBadArgument = 3001,
  kErrNoCurrentRecord = 3021,
  kErrNotAllowedHere = 3219,
  kErrInTransaction = 3246,
  kErrNotSupported = 3251,
  kErrEngineBusy = 3254,
  kErrNoSuchItem = 3265,
  kErrWrongType = 3421,
  kErrObjectClosed = 3704,
  kErrObjectOpen = 3705,
  kErrUnknownProvider = 3706,
  kErrInvalidConnection = 3709,
  kErrStatement = -2147217900,  ///< rejected by the engine
  kErrIntegrity = -2147217873,  ///< a constraint would be violated
  kErrNoSuchTable = -2147217865,
  kErrRowChanged = -2147217864,  ///< another user changed the row since it was read
  kErrRowDeleted = -2147217885,  ///< the row that a keyset stands on is gone
  kErrNestedTransaction = -2147168237,
  kErrNoTransaction = -2147168242,
  kErrEngine = -2147467259  ///< could not connect, and anything else of the engine's
};

class QM_API Error : public std::runtime_error {
 public:
  Error(std::int32_t number, std::string source, const std::string& description,
        int engine_code = 0, std::string statement = {});

  std::int32_t number() const noexcept { return number_; }
  const std::string& source() const noexcept { return source_; }
  const char* description() const noexcept { return what(); }
  /// The engine's own code, or 0 when the description is the library's own text.
  int engine_code() const noexcept { return engine_code_; }
  /// The statement that the engine refused; empty when there was none.
  const std::string& statement() const noexcept { return statement_; }

  /// The same failure under another number and source, as an operation that traps its failures
  /// raises it: description, engine code and statement stay.
  Error As(std::int32_t number, std::string source) const;

 private:
  std::int32_t number_;
  std::string source_;
  int engine_code_;
  std::string statement_;
};

/// The platform's usual English description of a run-time error ("Type mismatch").
QM_API std::string_view RunTimeDescription(std::int32_t number);

/// Raises a run-time error with its usual description; `detail`, when given, is appended as
/// `: 'detail'` (a name, never a record's value).
[[noreturn]] QM_API void RaiseRunTime(std::int32_t number, std::string_view detail = {});

}  // namespace qm
