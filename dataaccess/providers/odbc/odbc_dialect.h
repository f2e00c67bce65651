// OdbcDialect: all that one engine does in its own way. One file an engine; whatever engine has
// none is served by the standard's way of doing it.
//
// A dialect decides about words only. It holds no connection and is the same for all sessions.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "dataaccess/provider.h"

namespace qm {

class OdbcDialect {
 public:
  virtual ~OdbcDialect() = default;

  /// Keywords of the connection string that this engine's driver needs: "Name=value;…".
  virtual std::string_view DriverOptions() const { return ""; }
  /// Those of them that no string may set otherwise.
  virtual std::string_view FixedOptions() const { return ""; }
  /// The keyword that bounds connecting in seconds, where the driver takes the interface's own
  /// setting for the network alone and waits for a silent server.
  virtual std::string_view LoginTimeout() const { return ""; }
  /// Sent after connecting.
  virtual std::vector<std::string> SessionStatements() const { return {}; }
  /// Sent behind them where the connection is for reading.
  virtual std::string_view ReadOnly() const { return ""; }
  /// Lets statements wait for another user's lock so long; 0 is without end. Empty: the engine has
  /// no such setting.
  virtual std::string LockTimeout(std::int32_t seconds) const;
  /// The statement that gives the schema (or database) whose tables bare names mean, and whether it
  /// is the drivers' catalog, not their schema.
  virtual std::string_view CurrentSchema() const { return ""; }
  virtual bool SchemaIsCatalog() const { return false; }
  /// The isolation level that is in force where that one is asked for.
  virtual std::int32_t IsolationInForce(std::int32_t asked) const { return asked; }

  /// Whether the driver can serve one reader at a time.
  virtual bool OneReader() const { return false; }
  /// Whether values cross as UTF-8 instead of UTF-16.
  virtual bool TextsAsUtf8() const { return false; }
  /// The connection attribute that tells the driver to stream the next statement's rows; 0: none.
  virtual int StreamAttribute() const { return 0; }

  /// Whether a text may hold a character of code 0.
  virtual bool KeepsZeros() const { return true; }

  virtual SqlQuoting Quoting() const { return {}; }
  /// A name in the engine's quotes.
  virtual std::string Quote(std::string_view name) const;
  /// A column's type in a statement that makes a table; types are written as SQLite's are.
  virtual std::string ColumnType(std::string_view type) const { return std::string(type); }
  /// What stands behind the columns of a statement that makes a table.
  virtual std::string_view TableOptions() const { return ""; }
  /// The statement that drops an index, which some engines name by its table.
  virtual std::string DropIndex(std::string_view index, std::string_view table) const;

  /// A test that the column holds that value, byte for byte; Null too. The value's places are
  /// `PlacesOfSame` parameters.
  virtual std::string Same(std::string_view column, bool text) const;
  virtual int PlacesOfSame() const { return 2; }
  /// What stands behind a row's statement, or behind its table, so that reading locks the row.
  virtual std::string_view LockClause() const { return ""; }
  virtual std::string_view LockHint() const { return ""; }
  /// What stands behind a term of an order whose column may be Null, so that Null is the least.
  virtual std::string_view NullOrder(bool /*descending*/) const { return ""; }
  /// The statement with at most so many rows; `select` begins with "SELECT ".
  virtual std::string Limit(std::string_view select, int count) const;
  /// The statement that gives the key which the engine made for this session's last row; empty when
  /// `Returning` or nothing gives it.
  virtual std::string_view LastKey() const { return ""; }
  /// What stands behind an insert or update so that it gives columns back; empty when it cannot.
  virtual std::string Returning(std::string_view columns, bool insert) const;
};

/// The dialect for the engine, by the name that its driver gives.
const OdbcDialect& DialectFor(std::string_view engine);

// One file each.
const OdbcDialect& PostgresDialect();
const OdbcDialect& MariaDbDialect();
const OdbcDialect& SqlServerDialect();

}  // namespace qm
