#include "dataaccess/connection_impl.h"

#include <algorithm>
#include <iterator>
#include <utility>

#include <qm/error.h>
#include <qm/recordset.h>

#include "dataaccess/data_error.h"
#include "dataaccess/recordset_impl.h"
#include "dataaccess/statement_splitter.h"

namespace qm {

namespace {

constexpr std::int32_t kModes[] = {0, 1, 2, 3, 12, 16};
constexpr std::int32_t kIsolationLevels[] = {kIsolationUnspecified,     16,
                                             kIsolationReadUncommitted, kIsolationReadCommitted,
                                             kIsolationRepeatableRead,  kIsolationSerializable};

template <typename Values>
void RequireAmong(const Values& values, std::int32_t value, std::string_view name) {
  if (std::find(std::begin(values), std::end(values), value) == std::end(values)) {
    RaiseData(kErrBadArgument, name);
  }
}

void RequireSeconds(std::int32_t seconds) {
  if (seconds < 0) RaiseData(kErrBadArgument, "a time-out below 0");
}

}  // namespace

ConnectionImpl::~ConnectionImpl() = default;

void ConnectionImpl::SetConnectionString(std::string_view text) {
  RequireClosed();
  connection_string_ = text;
}

void ConnectionImpl::SetConnectionTimeout(std::int32_t seconds) {
  RequireClosed();
  RequireSeconds(seconds);
  settings_.connection_timeout = seconds;
}

void ConnectionImpl::SetCommandTimeout(std::int32_t seconds) {
  RequireSeconds(seconds);
  settings_.command_timeout = seconds;
  if (session_) session_->SetCommandTimeout(seconds);
}

void ConnectionImpl::SetMode(std::int32_t mode) {
  RequireClosed();
  RequireAmong(kModes, mode, "Mode");
  settings_.mode = mode;
}

std::int32_t ConnectionImpl::IsolationLevel() const {
  return session_ ? session_->IsolationLevel() : settings_.isolation_level;
}

void ConnectionImpl::SetIsolationLevel(std::int32_t level) {
  RequireClosed();
  RequireAmong(kIsolationLevels, level, "IsolationLevel");
  settings_.isolation_level = level;
}

void ConnectionImpl::SetCredentials(std::string_view user, std::string_view password) {
  RequireClosed();
  settings_.user = user;
  settings_.password = password;
}

void ConnectionImpl::RequireClosed() const {
  thread_.AssertThread();
  if (session_) RaiseData(kErrObjectOpen);
}

ProviderSession& ConnectionImpl::RequireSession() const {
  thread_.AssertThread();
  if (!session_) RaiseData(kErrObjectClosed);
  return *session_;
}

void ConnectionImpl::Open() {
  RequireClosed();
  session_ = OpenProviderSession(ParsedConnectionString(connection_string_), settings_);
  edit_locks_ = 0;
  written_under_edit_locks_ = false;
}

void ConnectionImpl::Close() {
  RequireSession();
  for (RecordsetImpl* recordset : std::exchange(recordsets_, {})) recordset->CloseWithConnection();
  last_statement_count_ = session_->statement_count();
  session_.reset();
}

std::int32_t ConnectionImpl::State() const { return session_ ? kStateOpen : kStateClosed; }

std::shared_ptr<Recordset> ConnectionImpl::Execute(std::string_view text,
                                                   std::int64_t* records_affected) {
  RequireSession();
  auto recordset = std::make_shared<RecordsetImpl>();
  const std::int64_t affected = recordset->OpenStatement(text, shared_from_this());
  if (records_affected != nullptr) *records_affected = affected;
  return recordset;
}

std::int32_t ConnectionImpl::BeginTrans() {
  ProviderSession& session = RequireSession();
  if (edit_locks_ > 0) RaiseData(kErrInTransaction);
  if (session.InTransaction()) RaiseData(kErrNestedTransaction);
  PrepareToWrite();
  session.BeginTransaction();
  return 1;
}

void ConnectionImpl::RequireTransaction() const {
  if (!RequireSession().InTransaction() || edit_locks_ > 0) RaiseData(kErrNoTransaction);
}

void ConnectionImpl::CommitTrans() {
  RequireTransaction();
  PrepareToWrite();
  session_->CommitTransaction();
}

void ConnectionImpl::RollbackTrans() {
  RequireTransaction();
  PrepareToWrite();
  session_->RollbackTransaction();
}

std::shared_ptr<Recordset> ConnectionImpl::CreateRecordset() {
  return std::make_shared<RecordsetImpl>();
}

std::int64_t ConnectionImpl::StatementCount() const {
  return session_ ? session_->statement_count() : last_statement_count_;
}

void ConnectionImpl::SetStatementObserver(StatementObserver observer) {
  observer_ = std::move(observer);
}

void ConnectionImpl::Observe(std::string_view text) const {
  if (observer_) observer_(text);
}

std::unique_ptr<ProviderStatement> ConnectionImpl::Prepare(std::string_view text,
                                                           bool with_identity, bool stream) const {
  ProviderSession& session = RequireSession();
  auto statement = session.PrepareKnown(text, with_identity);
  if (statement) return statement;
  RequireSingleStatement(text, session.Quoting());
  return session.Prepare(text, with_identity, stream);
}

void ConnectionImpl::PrepareToWrite() {
  for (RecordsetImpl* recordset : recordsets_) recordset->DetachStream();
  written_under_edit_locks_ = edit_locks_ > 0;
}

bool ConnectionImpl::TakeEditLock() {
  ProviderSession& session = RequireSession();
  if (edit_locks_ == 0) {
    if (session.InTransaction()) return false;
    PrepareToWrite();
    session.BeginTransaction();
  }
  ++edit_locks_;
  return true;
}

void ConnectionImpl::ReleaseEditLock() {
  if (edit_locks_ == 1 && session_->InTransaction()) {
    if (written_under_edit_locks_) {
      session_->CommitTransaction();
    } else {
      session_->RollbackTransaction();
    }
  }
  --edit_locks_;
}

void ConnectionImpl::DropEditLock() noexcept {
  if (!session_ || edit_locks_ == 0) return;
  try {
    ReleaseEditLock();
  } catch (const Error&) {
    --edit_locks_;
    try {
      if (session_->InTransaction()) session_->RollbackTransaction();
    } catch (const Error&) {
      edit_locks_ = 0;  // the session is beyond repair; its next statement says so
    }
  }
}

}  // namespace qm
