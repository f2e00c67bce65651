// Handles of the ODBC driver manager, freed with their scope, and its diagnostics as errors of the
// data-access layer. All text crosses as UTF-16, which every platform's driver manager takes.
#pragma once

#ifdef _WIN32
#include <windows.h>
#endif
#include <sql.h>
#include <sqlext.h>

#include <string>
#include <string_view>
#include <utility>

namespace qm {

/// The driver manager's view of a UTF-16 text. It is only read, whatever the type says.
SQLWCHAR* WideText(const std::u16string& text);

class OdbcHandle {
 public:
  OdbcHandle() = default;
  /// Raises the parent's diagnostics when there is no handle to be had.
  OdbcHandle(SQLSMALLINT type, SQLSMALLINT parent_type, SQLHANDLE parent);
  OdbcHandle(OdbcHandle&& other) noexcept
      : type_(other.type_), handle_(std::exchange(other.handle_, nullptr)) {}
  OdbcHandle& operator=(OdbcHandle&& other) noexcept {
    std::swap(type_, other.type_);
    std::swap(handle_, other.handle_);
    return *this;
  }
  ~OdbcHandle();

  SQLHANDLE get() const { return handle_; }
  explicit operator bool() const { return handle_ != nullptr; }

 private:
  SQLSMALLINT type_ = 0;
  SQLHANDLE handle_ = nullptr;
};

/// What a driver says of a failure: the first diagnostic, its text without the names of the
/// components that passed it on.
struct OdbcDiagnostic {
  std::string state;
  int native = 0;
  std::string text;
};
OdbcDiagnostic DiagnosticOf(SQLSMALLINT type, SQLHANDLE handle);

/// The published number of a failure.
std::int32_t NumberOf(const OdbcDiagnostic& diagnostic);
/// Whether it says that the connection is gone.
bool IsConnectionLost(const OdbcDiagnostic& diagnostic);

[[noreturn]] void RaiseOdbc(const OdbcDiagnostic& diagnostic, std::string_view statement = {});

inline constexpr const char* kOdbcSource = "ODBC";

}  // namespace qm
