// AutomationRecordset: a recordset of the platform's own, or any object of that shape, driven
// late-bound. Positions, edits and searches are the object's; so are its errors.
//
// Its columns are read once after each opening, and their Field objects kept, so that a value costs
// one call.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include <qm/recordset.h>

#include "dataaccess/providers/automation/late_bound.h"

namespace qm {

class AutomationConnection;

class AutomationRecordset final : public Recordset {
 public:
  AutomationRecordset(LateBound object, std::shared_ptr<Connection> connection)
      : object_(std::move(object)), connection_(std::move(connection)) {}
  ~AutomationRecordset() override;

  /// The recordset that stands for an object; `connection` is where it came from, if known.
  static std::shared_ptr<AutomationRecordset> Of(LateBound object,
                                                 std::shared_ptr<Connection> connection = nullptr);

  IDispatch* object() const { return object_.get(); }

  std::string Source() const override;
  void SetSource(std::string_view text) override;
  std::shared_ptr<Connection> ActiveConnection() const override { return connection_; }
  /// 3001 for a connection that is not of the platform's kind.
  void SetActiveConnection(std::shared_ptr<Connection> connection) override;
  std::int32_t CursorType() const override { return Number(L"CursorType"); }
  void SetCursorType(std::int32_t type) override { PutNumber(L"CursorType", type); }
  std::int32_t LockType() const override { return Number(L"LockType"); }
  void SetLockType(std::int32_t type) override { PutNumber(L"LockType", type); }
  std::int32_t CursorLocation() const override { return Number(L"CursorLocation"); }
  void SetCursorLocation(std::int32_t location) override { PutNumber(L"CursorLocation", location); }
  std::int64_t MaxRecords() const override { return Number(L"MaxRecords"); }
  void SetMaxRecords(std::int64_t count) override;
  Variant Property(std::string_view name) const override;
  void SetProperty(std::string_view name, const Variant& value) override;

  using Recordset::Open;
  void Open() override;
  void OpenWithOptions(std::int32_t options) override;
  void Requery() override;
  void Close() override;
  std::int32_t State() const override { return Number(L"State"); }

  bool Eof() const override;
  bool Bof() const override;
  void MoveFirst() override { object_.Call(L"MoveFirst"); }
  void MoveLast() override { object_.Call(L"MoveLast"); }
  void MoveNext() override { object_.Call(L"MoveNext"); }
  void MovePrevious() override { object_.Call(L"MovePrevious"); }
  std::int64_t RecordCount() const override { return Number(L"RecordCount"); }
  bool Supports(std::int32_t option) const override;
  void Find(std::string_view criteria, std::int64_t skip, std::int32_t direction,
            const Variant& start) override;
  Variant Bookmark() const override;
  void SetBookmark(const Variant& bookmark) override;
  std::string Index() const override;
  void SetIndex(std::string_view name) override;
  void Seek(const Variant& key, std::int32_t option) override;

  int FieldCount() const override;
  const std::string& FieldName(int ordinal) const override;
  int FieldOrdinal(std::string_view name) const override;
  using Recordset::SetValue;
  using Recordset::Value;
  Variant Value(int ordinal) const override;
  void SetValue(int ordinal, const Variant& value) override;

  std::int32_t EditMode() const override { return Number(L"EditMode"); }
  void AddNew() override { object_.Call(L"AddNew"); }
  void Update() override { object_.Call(L"Update"); }
  void CancelUpdate() override { object_.Call(L"CancelUpdate"); }

 private:
  struct Columns {
    std::vector<std::string> names;
    std::vector<LateBound> fields;
    std::unordered_map<std::string, int> ordinals;  ///< by the folded name
  };
  std::int32_t Number(std::wstring_view member) const;
  void PutNumber(std::wstring_view member, std::int32_t value);
  const Columns& OpenColumns() const;
  void Observe();

  LateBound object_;
  std::shared_ptr<Connection> connection_;
  std::int32_t options_ = kOptionsUnspecified;
  mutable std::unique_ptr<const Columns> columns_;
};

}  // namespace qm
