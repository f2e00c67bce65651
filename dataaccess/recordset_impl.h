// RecordsetImpl: the library's recordset. Positions, settings and edits are written once here,
// over a `RowSource` for the rows and a `ProviderSession` for what is written.
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <string>

#include <qm/recordset.h>

#include "dataaccess/connection_impl.h"
#include "dataaccess/row_source.h"
#include "dataaccess/thread_guard.h"

namespace qm {

class RecordsetImpl final : public Recordset {
 public:
  ~RecordsetImpl() override;

  std::string Source() const override { return source_; }
  void SetSource(std::string_view text) override;
  std::shared_ptr<Connection> ActiveConnection() const override { return connection_; }
  void SetActiveConnection(std::shared_ptr<Connection> connection) override;
  std::int32_t CursorType() const override { return cursor_type_; }
  void SetCursorType(std::int32_t type) override;
  std::int32_t LockType() const override { return lock_type_; }
  void SetLockType(std::int32_t type) override;
  std::int32_t CursorLocation() const override { return cursor_location_; }
  void SetCursorLocation(std::int32_t location) override;
  std::int64_t MaxRecords() const override { return max_records_; }
  void SetMaxRecords(std::int64_t count) override;
  Variant Property(std::string_view name) const override;
  void SetProperty(std::string_view name, const Variant& value) override;

  using Recordset::Open;
  void Open() override;
  void OpenWithOptions(std::int32_t options) override;
  void Requery() override;
  void Close() override;
  std::int32_t State() const override { return rows_ ? kStateOpen : kStateClosed; }

  bool Eof() const override;
  bool Bof() const override;
  void MoveFirst() override;
  void MoveLast() override;
  void MoveNext() override;
  void MovePrevious() override;
  std::int64_t RecordCount() const override;
  bool Supports(std::int32_t option) const override;
  void Find(std::string_view criteria, std::int64_t skip, std::int32_t direction,
            const Variant& start) override;
  Variant Bookmark() const override;
  void SetBookmark(const Variant& bookmark) override;
  std::string Index() const override { return index_; }
  void SetIndex(std::string_view name) override;
  void Seek(const Variant& key, std::int32_t option) override;

  int FieldCount() const override;
  const std::string& FieldName(int ordinal) const override;
  int FieldOrdinal(std::string_view name) const override;
  using Recordset::SetValue;
  using Recordset::Value;
  Variant Value(int ordinal) const override;
  void SetValue(int ordinal, const Variant& value) override;

  std::int32_t EditMode() const override;
  void AddNew() override;
  void Update() override;
  void CancelUpdate() override;

  // For its connection.

  /// Runs a text; gives the rows affected, -1 for a query, which leaves this open.
  std::int64_t OpenStatement(std::string_view text, std::shared_ptr<Connection> connection);
  void DetachStream();
  void CloseWithConnection() noexcept;

 private:
  struct Opened {
    RowShapePointer shape;
    std::unique_ptr<RowSource> rows;  // none after a statement without rows
    std::int64_t rows_affected = -1;
  };

  // recordset_impl.cpp
  void RequireOpen() const;
  void RequireClosed() const;
  Opened RunSource(ConnectionImpl& connection) const;
  Opened RunStatement(ConnectionImpl& connection,
                      std::unique_ptr<ProviderStatement> statement) const;
  std::int64_t OpenNow(std::int32_t options);
  void Adopt(Opened opened);
  void Release() noexcept;
  void Settle(Moved moved, bool forward);
  void ShowEmpty();
  bool IsUpdatable() const;
  void RequireOrdinal(int ordinal) const;
  void RequireRow() const;

  // recordset_search.cpp
  void GoTo(const Variant& bookmark);
  void GoToStart(const Variant& start);

  // recordset_edit.cpp
  void SavePending();
  void LockRow();
  void WriteChanges();
  void InsertNew();
  void ForgetEdit() noexcept;

  ThreadGuard thread_;
  std::string source_;
  std::shared_ptr<Connection> connection_;
  std::int32_t cursor_type_ = kOpenForwardOnly;
  std::int32_t lock_type_ = kLockReadOnly;
  std::int32_t cursor_location_ = kUseServer;
  std::int64_t max_records_ = 0;
  std::int32_t options_ = kOptionsUnspecified;
  std::string index_;
  bool preserve_on_commit_ = false;
  bool preserve_on_abort_ = false;

  // While open.
  std::shared_ptr<ConnectionImpl> open_on_;
  RowShapePointer shape_;
  std::unique_ptr<RowSource> rows_;
  std::int64_t opening_ = 0;
  Row row_;
  bool bof_ = true;
  bool eof_ = true;
  bool deleted_ = false;
  std::int32_t edit_mode_ = kEditNone;
  std::map<int, Variant> pending_;  // in stored form
  bool holds_edit_lock_ = false;
};

}  // namespace qm
