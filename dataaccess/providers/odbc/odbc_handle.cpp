#include "dataaccess/providers/odbc/odbc_handle.h"

#include <algorithm>
#include <array>

#include <qm/error.h>

#include "runtime/utf16.h"

namespace qm {

namespace {

struct StateNumber {
  std::string_view state;  // the leading part of the SQLSTATE
  std::int32_t number;
};
// The first that fits counts.
constexpr StateNumber kStates[] = {
    {"HYT00", kErrEngineBusy},   // time-out
    {"55P03", kErrEngineBusy},   // lock not available
    {"40P01", kErrEngineBusy},   // deadlock
    {"40001", kErrEngineBusy},   // deadlock, serialization
    {"42P01", kErrNoSuchTable},  // undefined table
    {"42S02", kErrNoSuchTable}, {"23", kErrIntegrity}, {"42", kErrStatement},
    {"22", kErrStatement},      {"21", kErrStatement}, {"07", kErrStatement},
    {"25006", kErrStatement},  // a read-only connection
};

struct NativeNumber {
  int native;
  std::int32_t number;
};
// Codes of MariaDB and MySQL (1xxx) and of SQL Server that come under a general state.
constexpr NativeNumber kNativeNumbers[] = {
    {1205, kErrEngineBusy}, {1213, kErrEngineBusy}, {1222, kErrEngineBusy},
    {1020, kErrEngineBusy}, {1366, kErrStatement},  {1364, kErrIntegrity},
};

constexpr std::array kLostStates = {"08", "57P01", "57P02", "57P03", "HYT01"};
constexpr std::array kLostNatives = {2002, 2006, 2013, 4031, 1927};
constexpr std::array kLostTexts = {"server closed the connection",
                                   "no connection to the server",
                                   "onnection is closed",
                                   "not connected",
                                   "terminating connection",
                                   "Communication link failure",
                                   "Write error",
                                   "Read error",
                                   "Broken pipe",
                                   "Could not send"};

std::string WithoutComponents(std::string text) {
  while (text.starts_with('[')) {
    const std::size_t end = text.find(']');
    if (end == std::string::npos) break;
    text.erase(0, end + 1);
  }
  // What one driver adds to every text of its server.
  text.resize(std::min(text.size(), text.find(";\nError while ")));
  while (!text.empty() && (text.back() == '\n' || text.back() == '\r' || text.back() == ' ')) {
    text.pop_back();
  }
  while (text.starts_with(' ')) text.erase(0, 1);
  return text;
}

}  // namespace

SQLWCHAR* WideText(const std::u16string& text) {
  static_assert(sizeof(SQLWCHAR) == sizeof(char16_t));
  return reinterpret_cast<SQLWCHAR*>(const_cast<char16_t*>(text.c_str()));
}

OdbcHandle::OdbcHandle(SQLSMALLINT type, SQLSMALLINT parent_type, SQLHANDLE parent) : type_(type) {
  if (SQL_SUCCEEDED(SQLAllocHandle(type, parent, &handle_))) return;
  if (parent != nullptr) RaiseOdbc(DiagnosticOf(parent_type, parent));
  RaiseOdbc({"HY001", 0, "The ODBC driver manager gives no handle"});
}

OdbcHandle::~OdbcHandle() {
  if (handle_ != nullptr) SQLFreeHandle(type_, handle_);
}

OdbcDiagnostic DiagnosticOf(SQLSMALLINT type, SQLHANDLE handle) {
  std::array<SQLWCHAR, 6> state{};
  std::array<SQLWCHAR, 1024> text{};
  SQLINTEGER native = 0;
  SQLSMALLINT length = 0;
  OdbcDiagnostic diagnostic{"HY000", 0, "The driver tells nothing of the failure"};
  const SQLRETURN code = SQLGetDiagRecW(type, handle, 1, state.data(), &native, text.data(),
                                        static_cast<SQLSMALLINT>(text.size()), &length);
  if (!SQL_SUCCEEDED(code)) return diagnostic;
  const auto wide = [](const SQLWCHAR* units, std::size_t count) {
    return Utf8({reinterpret_cast<const char16_t*>(units), count});
  };
  const auto shown =
      std::min(static_cast<std::size_t>(std::max<SQLSMALLINT>(length, 0)), text.size() - 1);
  diagnostic.state = wide(state.data(), 5);
  diagnostic.native = static_cast<int>(native);
  diagnostic.text = WithoutComponents(wide(text.data(), shown));
  return diagnostic;
}

namespace {

bool IsLostByCode(const OdbcDiagnostic& diagnostic) {
  return std::any_of(kLostStates.begin(), kLostStates.end(),
                     [&](const char* state) { return diagnostic.state.starts_with(state); }) ||
         std::find(kLostNatives.begin(), kLostNatives.end(), diagnostic.native) !=
             kLostNatives.end();
}

}  // namespace

bool IsConnectionLost(const OdbcDiagnostic& diagnostic) {
  if (IsLostByCode(diagnostic)) return true;
  // A text may quote a record, so it counts only where the codes say nothing.
  return NumberOf(diagnostic) == kErrEngine &&
         std::any_of(kLostTexts.begin(), kLostTexts.end(), [&](const char* text) {
           return diagnostic.text.find(text) != std::string::npos;
         });
}

std::int32_t NumberOf(const OdbcDiagnostic& diagnostic) {
  if (IsLostByCode(diagnostic)) return kErrEngine;
  for (const NativeNumber& entry : kNativeNumbers) {
    if (diagnostic.native == entry.native) return entry.number;
  }
  for (const StateNumber& entry : kStates) {
    if (diagnostic.state.starts_with(entry.state)) return entry.number;
  }
  return kErrEngine;
}

void RaiseOdbc(const OdbcDiagnostic& diagnostic, std::string_view statement) {
  const int code = diagnostic.native != 0 ? diagnostic.native : 1;
  throw Error(NumberOf(diagnostic), kOdbcSource, diagnostic.text, code, std::string(statement));
}

}  // namespace qm
