// OdbcSession: one connection to a database server through its ODBC driver.
//
// Connection strings: see odbc_connection_string.h. Rows are identified by the primary key, or by
// what the driver says tells rows of the table apart. Modes: 1 opens for reading; 12 is refused,
// since a server's database cannot be held for one connection. A connection that is lost is an
// error of the statement in work and of every one after it, until the connection is closed and
// opened anew.
//
// A driver may have one reader at a time: whatever it streams is read into memory before the next
// statement runs.
#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>

#include "dataaccess/provider.h"
#include "dataaccess/providers/odbc/odbc_catalog.h"
#include "dataaccess/providers/odbc/odbc_dialect.h"
#include "dataaccess/providers/odbc/odbc_handle.h"
#include "dataaccess/providers/odbc/odbc_statement.h"
#include "dataaccess/providers/odbc/odbc_table.h"

namespace qm {

class OdbcSession : public ProviderSession {
 public:
  static std::unique_ptr<ProviderSession> Open(const ParsedConnectionString& connection,
                                               const SessionSettings& settings);
  OdbcSession(const ParsedConnectionString& connection, const SessionSettings& settings);
  ~OdbcSession() override;
  OdbcSession(const OdbcSession&) = delete;
  OdbcSession& operator=(const OdbcSession&) = delete;

  void SetCommandTimeout(std::int32_t seconds) override;
  std::int32_t IsolationLevel() const override { return isolation_level_; }
  SqlQuoting Quoting() const override { return dialect_->Quoting(); }
  std::unique_ptr<ProviderStatement> Prepare(std::string_view text, bool with_identity,
                                             bool stream) override;
  std::unique_ptr<ProviderStatement> PrepareTable(std::string_view table) override;
  RowShapePointer TableShape(std::string_view table) override;
  bool ReadRow(const RowOrigin& origin, RowIdentity identity, Row& row, bool lock) override;
  std::shared_ptr<const RowOrder> FindOrder(const RowShape& shape, std::string_view index) override;
  std::vector<Row> ReadPage(const RowOrigin& origin, const RowOrder& order, PageRange range,
                            RowIdentity key, int count) override;
  std::int64_t CountRows(const RowOrigin& origin) override;
  bool UpdateRow(const RowOrigin& origin, std::span<Variant> identity,
                 std::span<ColumnChange> changes) override;
  Row InsertRow(const RowOrigin& origin, std::span<const ColumnChange> values) override;
  void BeginTransaction() override;
  bool BeginTakesTheWriteLock() const override { return false; }
  void CommitTransaction() override { EndTransaction(SQL_COMMIT); }
  void RollbackTransaction() override { EndTransaction(SQL_ROLLBACK); }
  bool InTransaction() const override { return in_transaction_; }
  Variant StoredForm(const Variant& value) const override;

  // For the statements of this session.
  SQLHDBC handle() const { return connection_.get(); }
  SQLHDBC LiveHandle() {
    RequireConnection();
    return handle();
  }
  void Count() { CountStatement(); }
  [[noreturn]] void Raise(const OdbcDiagnostic& diagnostic, std::string_view statement);
  bool GivesValuesInAnyOrder() const { return any_order_; }
  bool TextsAsUtf8() const { return dialect_->TextsAsUtf8(); }
  void ChooseDelivery(SQLHSTMT statement, bool stream);
  /// Before a statement runs: another one that streams is read to its end where it would be in the
  /// way.
  void MakeRoom(const OdbcStatement* runs);
  /// Once lost, a connection is not asked again: a driver might make a new one without a word, and
  /// half of a transaction would be stored.
  void RequireConnection();
  void Streams(OdbcStatement* statement) { streaming_ = statement; }
  void NoLongerStreams(const OdbcStatement* statement) noexcept {
    if (streaming_ == statement) streaming_ = nullptr;
  }

 private:
  void Connect(const std::string& text, const SessionSettings& settings);
  std::string Info(SQLUSMALLINT type) const;
  bool IsDead() const;
  void Run(std::string_view text);
  void EndTransaction(SQLSMALLINT how);
  std::vector<std::string> InstalledDrivers() const;
  std::unique_ptr<OdbcStatement> Take(const std::string& text);
  void GiveBack(std::unique_ptr<OdbcStatement> statement) noexcept;
  RowShapePointer ShapeOf(std::shared_ptr<const OdbcTable> table) const;
  std::string Translate(std::string_view text);
  bool KeepsAsGiven(const OdbcTable& table, const ColumnChange& change) const;

  OdbcHandle environment_;
  OdbcHandle connection_;
  bool connected_ = false;
  bool lost_ = false;
  bool in_transaction_ = false;
  bool any_order_ = false;
  std::int32_t isolation_level_ = 0;
  const OdbcDialect* dialect_ = nullptr;
  std::unique_ptr<OdbcCatalog> catalog_;
  OdbcStatement* streaming_ = nullptr;
  /// Prepared statements that nobody uses, by their text.
  std::unordered_multimap<std::string, std::unique_ptr<OdbcStatement>> idle_statements_;
};

}  // namespace qm
