// AutomationConnection: a connection of the platform's own (ADODB.Connection) or any object of that
// shape, driven late-bound. What it raises passes with its own numbers.
//
// One such object has one AutomationConnection for as long as anybody holds that, so that a
// connection handed in is the one handed out. Recordsets come from the connection's own member
// `CreateRecordset` where it has one, else from the platform ("ADODB.Recordset").
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include <qm/connection.h>

#include "dataaccess/providers/automation/late_bound.h"

namespace qm {

class AutomationConnection final : public Connection {
 public:
  explicit AutomationConnection(LateBound object) : object_(std::move(object)) {}
  ~AutomationConnection() override;

  /// The connection that stands for an object.
  static std::shared_ptr<AutomationConnection> Of(ComPointer<IDispatch> object);
  /// A new connection of the platform's own. 429 where the platform has none.
  static std::shared_ptr<AutomationConnection> CreatePlatformConnection();

  IDispatch* object() const { return object_.get(); }

  std::string ConnectionString() const override;
  void SetConnectionString(std::string_view text) override;
  std::int32_t ConnectionTimeout() const override;
  void SetConnectionTimeout(std::int32_t seconds) override;
  std::int32_t CommandTimeout() const override;
  void SetCommandTimeout(std::int32_t seconds) override;
  std::int32_t Mode() const override;
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
  /// The statements that callers handed over; what the object does by itself is not seen.
  std::int64_t StatementCount() const override { return statement_count_; }
  void SetStatementObserver(StatementObserver observer) override {
    observer_ = std::move(observer);
  }

  void Observe(std::string_view text);

 private:
  void SetCredentials(std::string_view user, std::string_view password) override;

  LateBound object_;
  std::string user_;
  std::string password_;
  std::int64_t statement_count_ = 0;
  StatementObserver observer_;
};

/// A new, registered object of the platform; 429 when there is none of that name.
LateBound CreatePlatformObject(const wchar_t* name);

}  // namespace qm
