// PostgreSQL. Names that are not quoted would be folded to lower case there, so all are quoted as
// the catalog spells them. Columns of text compare and order by the bytes (collation "C").
#include "dataaccess/providers/odbc/odbc_dialect.h"

#include <qm/connection.h>

#include "runtime/text.h"

namespace qm {

namespace {

// An attribute of the driver's own: rows come through a cursor of the server.
constexpr int kUseDeclareFetch = 65539;

class Postgres : public OdbcDialect {
 public:
  std::string_view DriverOptions() const override {
    // A refused statement undoes itself, not the transaction; long texts come whole; line ends
    // stay.
    return "Protocol=7.4-2;UseServerSidePrepare=1;BoolsAsChar=0;TextAsLongVarchar=1;"
           "UnknownsAsLongVarchar=0;MaxVarcharSize=8190;LFConversion=0;KeepaliveTime=30;"
           "KeepaliveInterval=10;Fetch=1000;";
  }
  std::vector<std::string> SessionStatements() const override {
    return {"SET standard_conforming_strings = on", "SET client_min_messages = warning"};
  }
  std::string_view ReadOnly() const override {
    return "SET SESSION CHARACTERISTICS AS TRANSACTION READ ONLY";
  }
  std::string LockTimeout(std::int32_t seconds) const override {
    return "SET lock_timeout = '" + std::to_string(seconds) + "s'";
  }
  int StreamAttribute() const override { return kUseDeclareFetch; }
  std::string_view CurrentSchema() const override { return "SELECT current_schema()"; }
  std::int32_t IsolationInForce(std::int32_t asked) const override {
    return asked == kIsolationReadUncommitted ? std::int32_t{kIsolationReadCommitted} : asked;
  }
  bool KeepsZeros() const override { return false; }
  SqlQuoting Quoting() const override {
    return {.escape_strings = true, .nested_comments = true, .return_ends_comment = true};
  }
  std::string ColumnType(std::string_view type) const override {
    if (EqualsIgnoreCase(type, "TEXT")) return "TEXT COLLATE \"C\"";
    if (EqualsIgnoreCase(type.substr(0, 7), "VARCHAR")) return std::string(type) + " COLLATE \"C\"";
    if (EqualsIgnoreCase(type, "REAL")) return "DOUBLE PRECISION";
    return std::string(type);
  }
  std::string Same(std::string_view column, bool) const override {
    return std::string(column) + " IS NOT DISTINCT FROM ?";
  }
  int PlacesOfSame() const override { return 1; }
  std::string_view LockClause() const override { return " FOR UPDATE"; }
  std::string_view NullOrder(bool descending) const override {
    return descending ? " NULLS LAST" : " NULLS FIRST";
  }
  std::string Returning(std::string_view columns, bool) const override {
    return " RETURNING " + std::string(columns);
  }
};

}  // namespace

const OdbcDialect& PostgresDialect() {
  static const Postgres kDialect;
  return kDialect;
}

}  // namespace qm
