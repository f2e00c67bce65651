// ConnectionImpl: the library's connection, over whichever provider its string names.
//
// Its open recordsets register here, for three reasons: closing closes them, a write first reads
// their open streams to the end, and their pessimistic edits share one transaction, begun by the
// first lock taken and ended by the last one given back.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include <qm/connection.h>

#include "dataaccess/provider.h"
#include "dataaccess/thread_guard.h"

namespace qm {

class RecordsetImpl;

class ConnectionImpl final : public Connection {
 public:
  ~ConnectionImpl() override;

  std::string ConnectionString() const override { return connection_string_; }
  void SetConnectionString(std::string_view text) override;
  std::int32_t ConnectionTimeout() const override { return settings_.connection_timeout; }
  void SetConnectionTimeout(std::int32_t seconds) override;
  std::int32_t CommandTimeout() const override { return settings_.command_timeout; }
  void SetCommandTimeout(std::int32_t seconds) override;
  std::int32_t Mode() const override { return settings_.mode; }
  void SetMode(std::int32_t mode) override;
  std::int32_t IsolationLevel() const override;
  void SetIsolationLevel(std::int32_t level) override;

  using Connection::Open;
  void Open() override;
  void Close() override;
  std::int32_t State() const override;
  std::shared_ptr<Recordset> Execute(std::string_view text,
                                     std::int64_t* records_affected) override;
  std::int32_t BeginTrans() override;
  void CommitTrans() override;
  void RollbackTrans() override;
  std::shared_ptr<Recordset> CreateRecordset() override;
  std::int64_t StatementCount() const override;
  void SetStatementObserver(StatementObserver observer) override;

  // For its recordsets and text rows.

  ProviderSession& RequireSession() const;  ///< 3704 when closed
  /// A statement of a caller's: see `ProviderSession::Prepare`.
  std::unique_ptr<ProviderStatement> Prepare(std::string_view text, bool with_identity,
                                             bool stream) const;
  void Observe(std::string_view text) const;
  void Register(RecordsetImpl* recordset) { recordsets_.push_back(recordset); }
  void Unregister(RecordsetImpl* recordset) { std::erase(recordsets_, recordset); }
  /// To be called before anything is written or a transaction changes.
  void PrepareToWrite();
  /// Takes the write lock for a row's edit; false when the client's own transaction stands for it.
  bool TakeEditLock();
  /// Gives a lock back; the last one ends the transaction, keeping what was written in it.
  void ReleaseEditLock();
  /// The same where nothing may fail.
  void DropEditLock() noexcept;

 private:
  void SetCredentials(std::string_view user, std::string_view password) override;
  void RequireClosed() const;
  void RequireTransaction() const;

  ThreadGuard thread_;
  std::string connection_string_;
  SessionSettings settings_{.isolation_level = kIsolationReadCommitted};
  std::unique_ptr<ProviderSession> session_;
  std::vector<RecordsetImpl*> recordsets_;
  int edit_locks_ = 0;
  bool written_under_edit_locks_ = false;
  std::int64_t last_statement_count_ = 0;
  StatementObserver observer_;
};

}  // namespace qm
