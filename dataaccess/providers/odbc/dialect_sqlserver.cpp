// Microsoft SQL Server, by its documentation. Columns of text are made with a binary comparison;
// its "=" passes over trailing blanks all the same, so lengths are compared beside.
#include "dataaccess/providers/odbc/odbc_dialect.h"

#include <qm/connection.h>

#include "runtime/text.h"

namespace qm {

namespace {

constexpr std::string_view kBinary = " COLLATE Latin1_General_100_BIN2";
constexpr std::string_view kVarchar = "VARCHAR";

class SqlServer : public OdbcDialect {
 public:
  std::string_view DriverOptions() const override {
    // Several statements may be open on one connection.
    return "MARS_Connection=yes;";
  }
  std::vector<std::string> SessionStatements() const override {
    return {"SET QUOTED_IDENTIFIER ON", "SET XACT_ABORT OFF"};
  }
  std::string LockTimeout(std::int32_t seconds) const override {
    const std::int64_t wait = seconds == 0 ? -1 : std::int64_t{seconds} * 1000;
    return "SET LOCK_TIMEOUT " + std::to_string(wait);
  }
  std::string_view CurrentSchema() const override { return "SELECT SCHEMA_NAME()"; }
  SqlQuoting Quoting() const override { return {.nested_comments = true}; }
  std::string Quote(std::string_view name) const override {
    std::string quoted = "[";
    for (const char c : name) {
      if (c == ']') quoted += c;
      quoted += c;
    }
    return quoted + ']';
  }
  std::string ColumnType(std::string_view type) const override {
    if (EqualsIgnoreCase(type, "TEXT")) return "NVARCHAR(MAX)" + std::string(kBinary);
    if (EqualsIgnoreCase(type.substr(0, kVarchar.size()), kVarchar)) {
      return "N" + std::string(type) + std::string(kBinary);
    }
    if (EqualsIgnoreCase(type, "REAL")) return "FLOAT";
    return std::string(type);
  }
  std::string DropIndex(std::string_view index, std::string_view table) const override {
    return "DROP INDEX " + Quote(index) + " ON " + Quote(table);
  }
  std::string Same(std::string_view column, bool text) const override {
    const std::string name(column);
    if (!text) return "(" + name + " = ? OR (" + name + " IS NULL AND ? IS NULL))";
    return "(" + name + std::string(kBinary) + " + N'.' = ? + N'.' OR (" + name +
           " IS NULL AND ? IS NULL))";
  }
  std::string_view LastKey() const override { return "SELECT CAST(@@IDENTITY AS BIGINT)"; }
  std::string_view LockHint() const override { return " WITH (UPDLOCK, ROWLOCK)"; }
  std::string Limit(std::string_view select, int count) const override {
    return "SELECT TOP " + std::to_string(count) + std::string(select.substr(6));
  }
};

}  // namespace

const OdbcDialect& SqlServerDialect() {
  static const SqlServer kDialect;
  return kDialect;
}

}  // namespace qm
