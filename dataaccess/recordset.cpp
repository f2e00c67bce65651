#include <qm/recordset.h>

#include <string>
#include <utility>

#include <qm/error.h>

#include "dataaccess/data_error.h"

namespace qm {

void Recordset::Open(std::string_view source, std::shared_ptr<Connection> connection,
                     std::int32_t cursor_type, std::int32_t lock_type, std::int32_t options) {
  SetSource(source);
  SetActiveConnection(std::move(connection));
  SetCursorType(cursor_type);
  SetLockType(lock_type);
  OpenWithOptions(options);
}

int Recordset::RequiredOrdinal(std::string_view name) const {
  const int ordinal = FieldOrdinal(name);
  if (ordinal < 0) RaiseData(kErrNoSuchItem, "column \"" + std::string(name) + "\"");
  return ordinal;
}

}  // namespace qm
