#include "dataaccess/recordset_impl.h"

#include <algorithm>
#include <atomic>
#include <iterator>
#include <utility>

#include <qm/error.h>

#include "dataaccess/data_error.h"
#include "dataaccess/sql_scanner.h"
#include "runtime/text.h"

namespace qm {

namespace {

constexpr std::int32_t kCommandUnknown = 8;
constexpr std::int32_t kOptions[] = {kOptionsUnspecified, kCommandText, kCommandTable,
                                     kCommandUnknown, kCommandTableDirect};

void RequireBetween(std::int64_t value, std::int64_t low, std::int64_t high,
                    std::string_view name) {
  if (value < low || value > high) RaiseData(kErrBadArgument, name);
}

// Tells the bookmarks of one opening from those of all others.
std::atomic<std::int64_t> openings = 0;

bool NamesTable(std::int32_t options) {
  return options == kCommandTable || options == kCommandTableDirect;
}

}  // namespace

RecordsetImpl::~RecordsetImpl() { Release(); }

void RecordsetImpl::RequireOpen() const {
  thread_.AssertThread();
  if (!rows_) RaiseData(kErrObjectClosed);
}

void RecordsetImpl::RequireClosed() const {
  thread_.AssertThread();
  if (rows_) RaiseData(kErrObjectOpen);
}

void RecordsetImpl::SetSource(std::string_view text) {
  RequireClosed();
  source_ = text;
}

void RecordsetImpl::SetActiveConnection(std::shared_ptr<Connection> connection) {
  RequireClosed();
  connection_ = std::move(connection);
}

void RecordsetImpl::SetCursorType(std::int32_t type) {
  RequireClosed();
  RequireBetween(type, kOpenForwardOnly, kOpenStatic, "CursorType");
  cursor_type_ = type;
}

void RecordsetImpl::SetLockType(std::int32_t type) {
  RequireClosed();
  RequireBetween(type, kLockReadOnly, kLockOptimistic, "LockType");
  lock_type_ = type;
}

void RecordsetImpl::SetCursorLocation(std::int32_t location) {
  RequireClosed();
  RequireBetween(location, kUseServer, kUseClient, "CursorLocation");
  cursor_location_ = location;
}

void RecordsetImpl::SetMaxRecords(std::int64_t count) {
  RequireClosed();
  if (count < 0) RaiseData(kErrBadArgument, "MaxRecords");
  max_records_ = count;
}

Variant RecordsetImpl::Property(std::string_view name) const {
  if (EqualsIgnoreCase(name, "Preserve on Commit")) return preserve_on_commit_;
  if (EqualsIgnoreCase(name, "Preserve on Abort")) return preserve_on_abort_;
  RaiseData(kErrNoSuchItem, "property \"" + std::string(name) + "\"");
}

void RecordsetImpl::SetProperty(std::string_view name, const Variant& value) {
  RequireClosed();
  Property(name);
  const bool* flag = value.GetIf<bool>();
  if (flag == nullptr) RaiseData(kErrWrongType, name);
  (EqualsIgnoreCase(name, "Preserve on Commit") ? preserve_on_commit_ : preserve_on_abort_) = *flag;
}

void RecordsetImpl::Open() {
  // A source that was a table's name and is a query by now needs no new options.
  const bool query = NamesTable(options_) && SqlScanner(source_).Next().Is("SELECT");
  OpenWithOptions(query ? kOptionsUnspecified : options_);
}

void RecordsetImpl::OpenWithOptions(std::int32_t options) { OpenNow(options); }

std::int64_t RecordsetImpl::OpenStatement(std::string_view text,
                                          std::shared_ptr<Connection> connection) {
  SetSource(text);
  SetActiveConnection(std::move(connection));
  return OpenNow(kCommandText);
}

std::int64_t RecordsetImpl::OpenNow(std::int32_t options) {
  RequireClosed();
  if (std::find(std::begin(kOptions), std::end(kOptions), options) == std::end(kOptions)) {
    RaiseData(kErrBadArgument, "options");
  }
  auto connection = std::dynamic_pointer_cast<ConnectionImpl>(connection_);
  if (!connection || connection->State() != kStateOpen) RaiseData(kErrInvalidConnection);
  options_ = options;
  Opened opened = RunSource(*connection);
  const std::int64_t affected = opened.rows_affected;
  if (opened.rows) {
    open_on_ = std::move(connection);
    open_on_->Register(this);
    try {
      Adopt(std::move(opened));
    } catch (...) {
      Release();
      throw;
    }
  }
  return affected;
}

RecordsetImpl::Opened RecordsetImpl::RunSource(ConnectionImpl& connection) const {
  ProviderSession& session = connection.RequireSession();
  connection.Observe(source_);
  if (!NamesTable(options_)) {
    const bool by_identity = cursor_location_ == kUseServer &&
                             (cursor_type_ == kOpenKeyset || cursor_type_ == kOpenDynamic);
    const bool stream = cursor_location_ != kUseClient && cursor_type_ == kOpenForwardOnly;
    const bool with_identity = by_identity || lock_type_ != kLockReadOnly;
    return RunStatement(connection, connection.Prepare(source_, with_identity, stream));
  }
  if (options_ == kCommandTableDirect && max_records_ == 0) {
    RowShapePointer shape = session.TableShape(source_);
    if (shape->origin) {
      auto order = session.FindOrder(*shape, index_);
      if (order == nullptr) RaiseData(kErrNoSuchItem, "index \"" + index_ + "\"");
      auto rows = MakePageSource(session, shape->origin, std::move(order));
      return {std::move(shape), std::move(rows)};
    }
  }
  return RunStatement(connection, session.PrepareTable(source_));
}

RecordsetImpl::Opened RecordsetImpl::RunStatement(
    ConnectionImpl& connection, std::unique_ptr<ProviderStatement> statement) const {
  const bool writes = statement->Writes();
  if (writes) connection.PrepareToWrite();
  statement->Start();
  if (!statement->HasRows()) return {nullptr, nullptr, statement->RowsAffected()};
  Opened opened{statement->Shape(), nullptr};
  const bool client = cursor_location_ == kUseClient;
  if (writes || (cursor_type_ == kOpenForwardOnly && !client)) {
    opened.rows = MakeStreamSource(std::move(statement), max_records_);
    if (writes) opened.rows->Detach();
  } else if (client || cursor_type_ == kOpenStatic || !opened.shape->origin) {
    opened.rows = MakeSnapshotSource(*statement, max_records_);
  } else {
    opened.rows = MakeKeysetSource(connection.RequireSession(), *statement, max_records_);
  }
  return opened;
}

void RecordsetImpl::Adopt(Opened opened) {
  shape_ = std::move(opened.shape);
  rows_ = std::move(opened.rows);
  opening_ = ++openings;
  const Moved moved = rows_->First(row_);
  if (moved == Moved::kEnd) {
    ShowEmpty();
  } else {
    Settle(moved, true);
  }
}

void RecordsetImpl::Requery() {
  RequireOpen();
  if (edit_mode_ != kEditNone) RaiseData(kErrNotAllowedHere, "an edit is pending");
  Opened opened = RunSource(*open_on_);
  if (opened.rows) Adopt(std::move(opened));
}

void RecordsetImpl::Close() {
  RequireOpen();
  if (edit_mode_ != kEditNone) RaiseData(kErrNotAllowedHere, "an edit is pending");
  Release();
}

void RecordsetImpl::CloseWithConnection() noexcept { Release(); }

void RecordsetImpl::Release() noexcept {
  ForgetEdit();
  rows_.reset();
  shape_.reset();
  row_.clear();
  ShowEmpty();
  if (open_on_) open_on_->Unregister(this);
  open_on_.reset();
}

void RecordsetImpl::DetachStream() {
  if (rows_) rows_->Detach();
}

void RecordsetImpl::ShowEmpty() {
  bof_ = eof_ = true;
  deleted_ = false;
}

void RecordsetImpl::Settle(Moved moved, bool forward) {
  deleted_ = moved == Moved::kDeleted;
  eof_ = moved == Moved::kEnd && forward;
  bof_ = moved == Moved::kEnd && !forward;
  const std::size_t hidden = shape_->origin ? shape_->origin->IdentityWidth() : 0;
  if (moved == Moved::kRow && row_.size() != shape_->columns.size() + hidden) {
    throw Error(kErrEngine, "QMDataObjects2.DataAccess",
                "The columns of the table are not those that it was opened with");
  }
}

bool RecordsetImpl::Eof() const {
  RequireOpen();
  return eof_ && edit_mode_ != kEditAdd;
}

bool RecordsetImpl::Bof() const {
  RequireOpen();
  return bof_ && edit_mode_ != kEditAdd;
}

void RecordsetImpl::MoveFirst() {
  RequireOpen();
  if (!rows_->Scrolls()) RaiseData(kErrNotAllowedHere);
  SavePending();
  const Moved moved = rows_->First(row_);
  if (moved == Moved::kEnd) {
    ShowEmpty();
    RaiseData(kErrNoCurrentRecord);
  }
  Settle(moved, true);
}

void RecordsetImpl::MoveLast() {
  RequireOpen();
  if (!rows_->Scrolls()) RaiseData(kErrNotAllowedHere);
  SavePending();
  const Moved moved = rows_->Last(row_);
  if (moved == Moved::kEnd) {
    ShowEmpty();
    RaiseData(kErrNoCurrentRecord);
  }
  Settle(moved, false);
}

void RecordsetImpl::MoveNext() {
  RequireOpen();
  SavePending();
  if (eof_) RaiseData(kErrNoCurrentRecord);
  Settle(bof_ ? rows_->First(row_) : rows_->Next(row_), true);
}

void RecordsetImpl::MovePrevious() {
  RequireOpen();
  if (!rows_->Scrolls()) RaiseData(kErrNotAllowedHere);
  SavePending();
  if (bof_) RaiseData(kErrNoCurrentRecord);
  Settle(eof_ ? rows_->Last(row_) : rows_->Previous(row_), false);
}

std::int64_t RecordsetImpl::RecordCount() const {
  RequireOpen();
  return rows_->Count();
}

int RecordsetImpl::FieldCount() const {
  RequireOpen();
  return static_cast<int>(shape_->columns.size());
}

void RecordsetImpl::RequireOrdinal(int ordinal) const {
  RequireOpen();
  if (ordinal < 0 || ordinal >= static_cast<int>(shape_->columns.size())) {
    RaiseData(kErrNoSuchItem, "column " + std::to_string(ordinal));
  }
}

const std::string& RecordsetImpl::FieldName(int ordinal) const {
  RequireOrdinal(ordinal);
  return shape_->columns[static_cast<std::size_t>(ordinal)].name;
}

int RecordsetImpl::FieldOrdinal(std::string_view name) const {
  RequireOpen();
  return shape_->Find(name);
}

void RecordsetImpl::RequireRow() const {
  if (deleted_) RaiseData(kErrRowDeleted);
  if (bof_ || eof_) RaiseData(kErrNoCurrentRecord);
}

Variant RecordsetImpl::Value(int ordinal) const {
  RequireOrdinal(ordinal);
  if (edit_mode_ != kEditNone) {
    const auto pending = pending_.find(ordinal);
    if (pending != pending_.end()) return pending->second;
    if (edit_mode_ == kEditAdd) return Variant::Null();
  }
  RequireRow();
  return row_[static_cast<std::size_t>(ordinal)];
}

}  // namespace qm
