// SqliteSession: one open database file.
//
// Connection string: `Provider=SQLite;Data Source=PATH`; a user name and password are accepted and
// not used. The file must exist. Mode 1 opens it read-only, 0, 2, 3 and 16 for reading and writing,
// 12 holds the whole file for this session alone. Rows are identified by rowid, or by the primary
// key of a table without one. Read uncommitted (256) is kept as asked: a reader never waits for a
// writer's open transaction. Every other level is serializable.
#pragma once

#include <sqlite3.h>

#include <chrono>
#include <string>
#include <string_view>
#include <vector>

#include "dataaccess/provider.h"
#include "dataaccess/providers/sqlite/sqlite_forms.h"
#include "dataaccess/providers/sqlite/sqlite_table.h"

namespace qm {

class SqliteSession : public ProviderSession {
 public:
  static std::unique_ptr<ProviderSession> Open(const ParsedConnectionString& connection,
                                               const SessionSettings& settings);
  SqliteSession(const std::string& path, const SessionSettings& settings);
  ~SqliteSession() override;
  SqliteSession(const SqliteSession&) = delete;
  SqliteSession& operator=(const SqliteSession&) = delete;

  void SetCommandTimeout(std::int32_t seconds) override { timeout_ = seconds; }
  std::int32_t IsolationLevel() const override { return isolation_level_; }
  std::unique_ptr<ProviderStatement> PrepareKnown(std::string_view text,
                                                  bool with_identity) override;
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
  void BeginTransaction() override { Run("BEGIN IMMEDIATE"); }
  void CommitTransaction() override { Run("COMMIT"); }
  void RollbackTransaction() override;
  bool InTransaction() const override { return sqlite3_get_autocommit(db_) == 0; }
  Variant StoredForm(const Variant& value) const override;

  // For the statements of this session.
  sqlite3_stmt* TakeStatement(std::string_view text);
  void GiveBack(sqlite3_stmt* statement) noexcept;
  sqlite3_stmt* TakeStatement(SqliteForm& form);
  void GiveBack(SqliteForm& form, sqlite3_stmt* statement) noexcept;
  int StepWaiting(sqlite3_stmt* statement);
  [[noreturn]] void Raise(int code, std::string_view statement) const;
  std::int64_t TotalChanges() const { return sqlite3_total_changes64(db_); }
  std::int64_t LastChanges() const { return sqlite3_changes64(db_); }
  bool IsTable(const std::string& schema, const std::string& table) const;
  bool IsRowNumber(const std::string& schema, const std::string& table, const char* name) const;

 private:
  static int OnBusy(void* session, int attempts);
  void StartClock();
  bool TimeIsUp() const;
  void Connect(const std::string& path, std::int32_t mode);
  void Run(const char* text);
  sqlite3_stmt* NewStatement(std::string_view text);
  std::unique_ptr<ProviderStatement> PrepareWithIdentity(std::string_view text,
                                                         std::string_view given);
  bool IsKey(const PlainSelect& plain, const std::string& column) const;
  bool KeepsReals(const SqliteTable& table, const std::string& column) const;
  void ForgetStatements() noexcept;

  sqlite3* db_ = nullptr;
  std::int32_t timeout_ = 0;
  std::int32_t isolation_level_;
  std::chrono::steady_clock::time_point deadline_;
  struct Idle {
    std::size_t hash;  ///< of its text
    sqlite3_stmt* statement;
  };
  /// Prepared statements that nobody uses, the one used last at the end.
  std::vector<Idle> idle_statements_;
  SqliteForms forms_;
};

}  // namespace qm
