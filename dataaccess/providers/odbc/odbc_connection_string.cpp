#include "dataaccess/providers/odbc/odbc_connection_string.h"

#include <algorithm>
#include <array>
#include <utility>

#include <qm/error.h>

#include "dataaccess/data_error.h"
#include "runtime/text.h"

namespace qm {

namespace {

enum class Target { kNone, kAnyDriver, kSqlServer, kAccess };

struct OleProvider {
  std::string_view beginning;
  Target target;
};
constexpr OleProvider kOleProviders[] = {
    {"MSDASQL", Target::kAnyDriver},          {"SQLOLEDB", Target::kSqlServer},
    {"MSOLEDBSQL", Target::kSqlServer},       {"SQLNCLI", Target::kSqlServer},
    {"Microsoft.Jet.OLEDB", Target::kAccess}, {"Microsoft.ACE.OLEDB", Target::kAccess}};

using Renaming = std::pair<std::string_view, std::string_view>;
// What OLE DB calls it, and what the drivers do; "" is left out.
constexpr Renaming kAnyNames[] = {
    {"Data Source", "DSN"}, {"Initial Catalog", "DATABASE"}, {"User ID", "UID"},
    {"Password", "PWD"},    {"Persist Security Info", ""},   {"Provider", ""}};
constexpr Renaming kSqlServerNames[] = {{"Data Source", "SERVER"},
                                        {"Initial Catalog", "DATABASE"},
                                        {"User ID", "UID"},
                                        {"Password", "PWD"},
                                        {"Use Encryption for Data", "Encrypt"},
                                        {"Trust Server Certificate", "TrustServerCertificate"},
                                        {"Application Name", "APP"},
                                        {"Workstation ID", "WSID"},
                                        {"Auto Translate", ""},
                                        {"Packet Size", ""},
                                        {"Tag with column collation when possible", ""},
                                        {"Persist Security Info", ""},
                                        {"Provider", ""}};
constexpr Renaming kAccessNames[] = {{"Data Source", "DBQ"},
                                     {"User ID", "UID"},
                                     {"Password", "PWD"},
                                     {"Jet OLEDB:Database Password", "PWD"},
                                     {"Jet OLEDB:System Database", "SystemDB"},
                                     {"Mode", ""},
                                     {"Persist Security Info", ""},
                                     {"Provider", ""}};

bool BeginsWith(std::string_view text, std::string_view beginning) {
  return EqualsIgnoreCase(text.substr(0, beginning.size()), beginning);
}

Target TargetOf(const ParsedConnectionString& connection) {
  const auto provider = connection.Find("Provider");
  if (!provider) {
    const bool odbc = connection.Find("Driver") || connection.Find("DSN");
    return odbc ? Target::kAnyDriver : Target::kNone;
  }
  for (const OleProvider& entry : kOleProviders) {
    if (BeginsWith(*provider, entry.beginning)) return entry.target;
  }
  return Target::kNone;
}

// The newest driver of a family: the last by name, among equals in everything but their number the
// one with the greater number.
std::string ChooseDriver(const std::vector<std::string>& drivers,
                         const std::vector<std::string_view>& beginnings) {
  for (const std::string_view beginning : beginnings) {
    std::string best;
    for (const std::string& driver : drivers) {
      const bool longer = driver.size() > best.size();
      const bool newer = longer || (driver.size() == best.size() && driver > best);
      if (BeginsWith(driver, beginning) && newer) best = driver;
    }
    if (!best.empty()) return best;
  }
  RaiseData(kErrUnknownProvider,
            "no ODBC driver is installed for \"" + std::string(beginnings.front()) + "\"");
}

template <std::size_t N>
std::string_view Renamed(const Renaming (&names)[N], std::string_view keyword) {
  for (const auto& [from, to] : names) {
    if (EqualsIgnoreCase(keyword, from)) return to;
  }
  return keyword;
}

std::string_view DriverKeyword(Target target, std::string_view keyword) {
  if (target == Target::kSqlServer) return Renamed(kSqlServerNames, keyword);
  if (target == Target::kAccess) return Renamed(kAccessNames, keyword);
  return Renamed(kAnyNames, keyword);
}

}  // namespace

void AppendPart(std::string& text, std::string_view keyword, std::string_view value) {
  if (!text.empty() && text.back() != ';') text += ';';
  text.append(keyword).append("=");
  const bool plain = value.find_first_of("{}[]();,?*=!@ ") == std::string_view::npos;
  if (plain) {
    text += value;
  } else {
    text += '{';
    for (const char c : value) {
      if (c == '}') text += c;
      text += c;
    }
    text += '}';
  }
  text += ';';
}

bool IsOdbcString(const ParsedConnectionString& connection) {
  return TargetOf(connection) != Target::kNone;
}

std::string OdbcString(const ParsedConnectionString& connection, std::string_view user,
                       std::string_view password,
                       const std::function<std::vector<std::string>()>& drivers) {
  const Target target = TargetOf(connection);
  std::string text;
  if (target == Target::kSqlServer) {
    AppendPart(text, "Driver", ChooseDriver(drivers(), {"ODBC Driver", "FreeTDS", "SQL Server"}));
  }
  if (target == Target::kAccess) {
    AppendPart(text, "Driver", ChooseDriver(drivers(), {"Microsoft Access Driver"}));
  }
  bool has_user = false;
  bool has_password = false;
  for (const auto& [keyword, value] : connection.Values()) {
    if (EqualsIgnoreCase(keyword, "Extended Properties") && target == Target::kAnyDriver) {
      text += value;  // a whole connection string of its own
      continue;
    }
    if (EqualsIgnoreCase(keyword, "Integrated Security")) {
      const bool yes = !EqualsIgnoreCase(value, "False") && !EqualsIgnoreCase(value, "No");
      if (yes) AppendPart(text, "Trusted_Connection", "yes");
      continue;
    }
    const std::string_view name = DriverKeyword(target, keyword);
    if (name.empty()) continue;
    has_user = has_user || EqualsIgnoreCase(name, "UID");
    has_password = has_password || EqualsIgnoreCase(name, "PWD");
    AppendPart(text, name, value);
  }
  if (!has_user && !user.empty()) AppendPart(text, "UID", user);
  if (!has_password && !password.empty()) AppendPart(text, "PWD", password);
  return text;
}

}  // namespace qm
