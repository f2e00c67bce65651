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

const ProviderEntry* FindProvider(const ParsedConnectionString& connection) {
  const auto name = connection.Find("Provider");
  if (!name) return nullptr;
  for (const ProviderEntry& entry : kProviders) {
    if (EqualsIgnoreCase(entry.name, *name)) return &entry;
  }
  return nullptr;
}

}  // namespace

bool HasOwnProvider(const ParsedConnectionString& connection) {
  return IsOdbcString(connection) || FindProvider(connection) != nullptr;
}

ValueKind KindOf(const Variant& value) {
  return value.IsNull() ? ValueKind::kNull : value.IsText() ? ValueKind::kText : ValueKind::kOther;
}

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

ValueKind ProviderStatement::ReadText(std::size_t column, std::string& room,
                                      std::string_view& text) const {
  const Variant& value = row_.at(column);
  if (const auto* held = value.GetIf<std::string>()) {
    text = *held;
  } else {
    room = ToTextOrEmpty(value);
    text = room;
  }
  return KindOf(value);
}

std::unique_ptr<ProviderSession> OpenProviderSession(const ParsedConnectionString& connection,
                                                     const SessionSettings& settings) {
  if (IsOdbcString(connection)) return OdbcSession::Open(connection, settings);
  if (const auto* entry = FindProvider(connection)) return entry->open(connection, settings);
  const auto name = connection.Find("Provider");
  if (!name) RaiseData(kErrUnknownProvider, "the connection string names none");
  RaiseData(kErrUnknownProvider,
            connection.MayName("Provider") ? "\"" + *name + "\"" : std::string());
}

}  // namespace qm
