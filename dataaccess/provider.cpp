#include "dataaccess/provider.h"

#include <qm/conversions.h>
#include <qm/error.h>

#include "dataaccess/data_error.h"
#include "dataaccess/providers/odbc/odbc_connection_string.h"
#include "dataaccess/providers/odbc/odbc_session.h"
#include "dataaccess/providers/sqlite/sqlite_session.h"
#include "runtime/text.h"

namespace qm {

namespace {

using Opener = std::unique_ptr<ProviderSession> (*)(const ParsedConnectionString&,
                                                    const SessionSettings&);
struct ProviderEntry {
  std::string_view name;
  Opener open;
};
constexpr ProviderEntry kProviders[] = {{"SQLite", &SqliteSession::Open}};

}  // namespace

int RowShape::Find(std::string_view name) const {
  if (!named_) {
    names_.Clear(columns.size());
    for (std::size_t i = 0; i < columns.size(); ++i) {
      names_.Add(columns[i].name, static_cast<int>(i));
    }
    named_ = true;
  }
  return names_.Find(name);
}

std::string_view ProviderStatement::Text(std::size_t column, std::string& room) const {
  const Variant& value = row_.at(column);
  if (const auto* text = value.GetIf<std::string>()) return *text;
  room = ToTextOrEmpty(value);
  return room;
}

std::unique_ptr<ProviderSession> OpenProviderSession(const ParsedConnectionString& connection,
                                                     const SessionSettings& settings) {
  if (IsOdbcString(connection)) return OdbcSession::Open(connection, settings);
  const auto name = connection.Find("Provider");
  if (!name) RaiseData(kErrUnknownProvider, "the connection string names none");
  for (const ProviderEntry& entry : kProviders) {
    if (EqualsIgnoreCase(entry.name, *name)) return entry.open(connection, settings);
  }
  RaiseData(kErrUnknownProvider,
            connection.MayName("Provider") ? "\"" + *name + "\"" : std::string());
}

}  // namespace qm
