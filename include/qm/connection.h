// Connection: one open database, in the shape and with the error numbers of ADO 2.5.
//
// Order of calls: make one with `Create`, set its properties, `Open` it, hand it around as a
// shared reference. Settings that the engine reads at opening (string, time-outs, mode, isolation)
// are refused with 3705 while it is open, except the command time-out.
//
// The connection string names the provider: `Provider=SQLite;Data Source=PATH`. An unknown
// provider is 3706, a keyword that the provider does not know 3001, a file that is missing or that
// cannot be opened kErrEngine; no message ever shows a password. Opening never creates a database.
//
// One statement a call: text with a second statement is refused (kErrStatement) before the engine
// sees it; a closing semicolon, blanks and comments are allowed. The text reaches the provider
// letter for letter.
//
// A connection and its recordsets belong to the thread that made them.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>

#include <qm/api.h>

namespace qm {

class Recordset;

enum ObjectState : std::int32_t { kStateClosed = 0, kStateOpen = 1 };

/// Connection modes, handed to the provider unchanged.
enum ShareMode : std::int32_t { qmModeUnknown = 0, qmModeReadWrite = 3, qmModeShareExclusive = 12 };

/// Isolation levels, by their ADO numbers.
enum IsolationLevel : std::int32_t {
  kIsolationUnspecified = -1,
  kIsolationReadUncommitted = 256,
  kIsolationReadCommitted = 4096,
  kIsolationRepeatableRead = 65536,
  kIsolationSerializable = 1048576
};

inline constexpr std::int32_t kOptionsUnspecified = -1;

class QM_API Connection : public std::enable_shared_from_this<Connection> {
 public:
  /// A new, unopened connection of the library's own.
  static std::shared_ptr<Connection> Create();

  virtual ~Connection() = default;
  Connection(const Connection&) = delete;
  Connection& operator=(const Connection&) = delete;

  virtual std::string ConnectionString() const = 0;
  virtual void SetConnectionString(std::string_view text) = 0;
  /// Seconds to wait for a busy database at opening; default 15, 0 waits without end.
  virtual std::int32_t ConnectionTimeout() const = 0;
  virtual void SetConnectionTimeout(std::int32_t seconds) = 0;
  /// Seconds that a statement waits for another user's lock before it fails with 3254; default
  /// 30, 0 waits without end. It may be changed while open.
  virtual std::int32_t CommandTimeout() const = 0;
  virtual void SetCommandTimeout(std::int32_t seconds) = 0;
  /// `ShareMode`; 12 shuts every other connection out while this one is open.
  virtual std::int32_t Mode() const = 0;
  virtual void SetMode(std::int32_t mode) = 0;
  virtual std::int32_t IsolationLevel() const = 0;
  virtual void SetIsolationLevel(std::int32_t level) = 0;

  /// Opens with the properties set. 3705 when it is open.
  virtual void Open() = 0;
  /// Opens with the string and credentials given; an empty one leaves the property as it is.
  void Open(std::string_view connection_string, std::string_view user = {},
            std::string_view password = {}, std::int32_t options = kOptionsUnspecified);
  /// Closes it and every recordset open on it, rolling back an open transaction. 3704 when closed.
  virtual void Close() = 0;
  virtual std::int32_t State() const = 0;

  /// Runs one statement. A statement that gives rows comes back as an open forward-only,
  /// read-only recordset, any other as a closed one. `records_affected`, when given, receives the
  /// number of rows changed (-1 for a query).
  virtual std::shared_ptr<Recordset> Execute(std::string_view text,
                                             std::int64_t* records_affected = nullptr) = 0;

  /// Starts the transaction, taking the write lock where the engine has one (3254 when it stays
  /// busy), and gives the nesting level, always 1: a second one is kErrNestedTransaction, and one
  /// during a pessimistic edit 3246.
  virtual std::int32_t BeginTrans() = 0;
  /// kErrNoTransaction without a transaction.
  virtual void CommitTrans() = 0;
  virtual void RollbackTrans() = 0;

  /// A new, unopened recordset of the same kind as this connection.
  virtual std::shared_ptr<Recordset> CreateRecordset() = 0;

  /// The number of statements sent to the engine since opening, the library's own (page reads,
  /// row locks, updates) included.
  virtual std::int64_t StatementCount() const = 0;
  /// Sees every text that a caller hands over, letter for letter, before the engine does.
  using StatementObserver = std::function<void(std::string_view text)>;
  virtual void SetStatementObserver(StatementObserver observer) = 0;

 protected:
  Connection() = default;

 private:
  virtual void SetCredentials(std::string_view user, std::string_view password) = 0;
};

/// A transaction that ends with its scope: rolled back unless `Commit` was reached.
class QM_API Transaction {
 public:
  explicit Transaction(std::shared_ptr<Connection> connection);
  ~Transaction();
  Transaction(const Transaction&) = delete;
  Transaction& operator=(const Transaction&) = delete;

  void Commit();

 private:
  std::shared_ptr<Connection> connection_;
};

}  // namespace qm
