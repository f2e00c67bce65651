// MariaDB and MySQL. Backslashes are plain characters in this session's texts, statements see what
// others committed meanwhile, and an update counts the rows it found, changed or not. Tables are
// made with a comparison that is binary and keeps trailing blanks.
#include "dataaccess/providers/odbc/odbc_dialect.h"

#include <qm/connection.h>

#include "runtime/text.h"

namespace qm {

namespace {

constexpr std::int32_t kLongestWait = 1073741824;

class MariaDb : public OdbcDialect {
 public:
  std::string_view DriverOptions() const override {
    // 2: found rows are counted. 1048576: forward-only rows are not held by the driver.
    return "OPTION=1048578;";
  }
  std::string_view FixedOptions() const override { return "CHARSET=utf8mb4;"; }
  std::string_view LoginTimeout() const override { return "CONN_TIMEOUT"; }
  std::vector<std::string> SessionStatements() const override {
    return {
        "SET SESSION sql_mode = "
        "'STRICT_TRANS_TABLES,NO_BACKSLASH_ESCAPES,PIPES_AS_CONCAT,NO_ENGINE_SUBSTITUTION'",
        // The many columns of a registry's tables are short; what counts is the row, not its most.
        "SET SESSION innodb_strict_mode = OFF"};
  }
  std::string_view ReadOnly() const override { return "SET SESSION TRANSACTION READ ONLY"; }
  std::string LockTimeout(std::int32_t seconds) const override {
    const std::int32_t wait = seconds == 0 ? kLongestWait : seconds;
    return "SET SESSION innodb_lock_wait_timeout = " + std::to_string(wait) +
           ", lock_wait_timeout = " + std::to_string(seconds == 0 ? 31536000 : seconds);
  }
  bool OneReader() const override { return true; }
#ifndef _WIN32
  // This driver takes a UTF-16 unit whose low byte is D8 to DB (U+00DA) for half a character: it
  // tells lengths too short, drops what stands at the end, and reads beyond a value given.
  bool TextsAsUtf8() const override { return true; }
#endif
  std::string_view CurrentSchema() const override { return "SELECT database()"; }
  bool SchemaIsCatalog() const override { return true; }
  SqlQuoting Quoting() const override { return {.hash_comments = true}; }
  std::string Quote(std::string_view name) const override {
    std::string quoted = "`";
    for (const char c : name) {
      if (c == '`') quoted += c;
      quoted += c;
    }
    return quoted + '`';
  }
  std::string ColumnType(std::string_view type) const override {
    if (EqualsIgnoreCase(type, "TEXT")) return "LONGTEXT";
    if (EqualsIgnoreCase(type, "REAL")) return "DOUBLE";
    return std::string(type);
  }
  std::string_view TableOptions() const override {
    return " ENGINE=InnoDB ROW_FORMAT=DYNAMIC CHARACTER SET utf8mb4 COLLATE utf8mb4_nopad_bin";
  }
  std::string DropIndex(std::string_view index, std::string_view table) const override {
    return "DROP INDEX " + Quote(index) + " ON " + Quote(table);
  }
  std::string Same(std::string_view column, bool text) const override {
    if (!text) return std::string(column) + " <=> ?";
    // A column of another character set than the session's holds other bytes.
    return "CAST(CONVERT(" + std::string(column) +
           " USING utf8mb4) AS BINARY) <=> CAST(? AS BINARY)";
  }
  int PlacesOfSame() const override { return 1; }
  std::string_view LastKey() const override { return "SELECT LAST_INSERT_ID()"; }
  std::string_view LockClause() const override { return " FOR UPDATE"; }
};

}  // namespace

const OdbcDialect& MariaDbDialect() {
  static const MariaDb kDialect;
  return kDialect;
}

}  // namespace qm
