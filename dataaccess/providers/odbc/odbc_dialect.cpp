#include "dataaccess/providers/odbc/odbc_dialect.h"

#include "runtime/text.h"

namespace qm {

std::string OdbcDialect::LockTimeout(std::int32_t) const { return {}; }

std::string OdbcDialect::Quote(std::string_view name) const {
  std::string quoted = "\"";
  for (const char c : name) {
    if (c == '"') quoted += c;
    quoted += c;
  }
  return quoted + '"';
}

std::string OdbcDialect::DropIndex(std::string_view index, std::string_view) const {
  return "DROP INDEX " + Quote(index);
}

std::string OdbcDialect::Same(std::string_view column, bool) const {
  return "(" + std::string(column) + " = ? OR (" + std::string(column) + " IS NULL AND ? IS NULL))";
}

std::string OdbcDialect::Limit(std::string_view select, int count) const {
  return std::string(select) + " LIMIT " + std::to_string(count);
}

std::string OdbcDialect::Returning(std::string_view, bool) const { return {}; }

const OdbcDialect& DialectFor(std::string_view engine) {
  static const OdbcDialect kStandard;
  if (EqualsIgnoreCase(engine, "PostgreSQL")) return PostgresDialect();
  if (EqualsIgnoreCase(engine, "MariaDB") || EqualsIgnoreCase(engine, "MySQL")) {
    return MariaDbDialect();
  }
  if (EqualsIgnoreCase(engine, "Microsoft SQL Server")) return SqlServerDialect();
  return kStandard;
}

}  // namespace qm
