#include "dataaccess/connection_choice.h"

#ifdef _WIN32
#include <qm/error.h>

#include "dataaccess/connection_string.h"
#include "dataaccess/provider.h"
#include "dataaccess/providers/automation/automation_connection.h"
#endif

namespace qm {

#ifdef _WIN32

namespace {

bool NamesAnotherProvider(std::string_view connection_string) {
  try {
    const ParsedConnectionString parsed(connection_string);
    return parsed.Find("Provider").has_value() && !HasOwnProvider(parsed);
  } catch (const Error&) {
    return false;
  }
}

}  // namespace

std::shared_ptr<Connection> CreateConnectionFor(std::string_view connection_string) {
  if (NamesAnotherProvider(connection_string)) {
    return AutomationConnection::CreatePlatformConnection();
  }
  return Connection::Create();
}

#else

std::shared_ptr<Connection> CreateConnectionFor(std::string_view) { return Connection::Create(); }

#endif

}  // namespace qm
