#include "dataaccess/providers/automation/automation_recordset.h"

#include <utility>

#include <qm/conversions.h>
#include <qm/error.h>

#include "dataaccess/data_error.h"
#include "dataaccess/providers/automation/automation_connection.h"
#include "dataaccess/providers/automation/strangers.h"
#include "runtime/text.h"

namespace qm {

namespace {

PlatformVariant Long(std::int64_t value) { return PlatformVariant(NarrowInt32(double(value))); }

// A bookmark made of bytes travels as text, since variants of ours hold no bytes.
constexpr std::string_view kBytes = "bytes:";
constexpr std::string_view kDigits = "0123456789ABCDEF";

Variant FromBookmark(const VARIANT& bookmark) {
  if (bookmark.vt != (VT_ARRAY | VT_UI1)) return FromPlatform(bookmark);
  std::string text(kBytes);
  unsigned char* bytes = nullptr;
  LONG lower = 0;
  LONG upper = -1;
  SafeArrayGetLBound(bookmark.parray, 1, &lower);
  SafeArrayGetUBound(bookmark.parray, 1, &upper);
  if (FAILED(SafeArrayAccessData(bookmark.parray, reinterpret_cast<void**>(&bytes)))) return {};
  for (LONG i = 0; i <= upper - lower; ++i) {
    text += kDigits[bytes[i] >> 4U];
    text += kDigits[bytes[i] & 0xFU];
  }
  SafeArrayUnaccessData(bookmark.parray);
  return text;
}

PlatformVariant ToBookmark(const Variant& bookmark) {
  const auto* text = bookmark.GetIf<std::string>();
  if (text == nullptr || !text->starts_with(kBytes)) return PlatformVariant(bookmark);
  const auto digits = std::string_view(*text).substr(kBytes.size());
  PlatformVariant result;
  result.get().parray = SafeArrayCreateVector(VT_UI1, 0, static_cast<ULONG>(digits.size() / 2));
  result.get().vt = VT_ARRAY | VT_UI1;
  unsigned char* bytes = nullptr;
  SafeArrayAccessData(result.get().parray, reinterpret_cast<void**>(&bytes));
  for (std::size_t i = 0; i + 1 < digits.size(); i += 2) {
    bytes[i / 2] =
        static_cast<unsigned char>(kDigits.find(digits[i]) * 16 + kDigits.find(digits[i + 1]));
  }
  SafeArrayUnaccessData(result.get().parray);
  return result;
}

}  // namespace

std::shared_ptr<AutomationRecordset> AutomationRecordset::Of(
    LateBound object, std::shared_ptr<Connection> connection) {
  auto& known = Strangers<AutomationRecordset>::DriverOf(object.get());
  auto recordset = known.lock();
  if (!recordset) {
    recordset = std::make_shared<AutomationRecordset>(std::move(object), std::move(connection));
    known = recordset;
  } else if (!recordset->connection_) {
    recordset->connection_ = std::move(connection);
  }
  return recordset;
}

AutomationRecordset::~AutomationRecordset() {
  Strangers<AutomationRecordset>::Forget(object_.get());
}

std::int32_t AutomationRecordset::Number(std::wstring_view member) const {
  return ToInt32(FromPlatform(object_.Call(member).get()));
}

void AutomationRecordset::PutNumber(std::wstring_view member, std::int32_t value) {
  object_.Put(member, PlatformVariant(value));
}

std::string AutomationRecordset::Source() const {
  return ToTextOrEmpty(FromPlatform(object_.Call(L"Source").get()));
}
void AutomationRecordset::SetSource(std::string_view text) {
  object_.Put(L"Source", TextArgument(text));
}

void AutomationRecordset::SetActiveConnection(std::shared_ptr<Connection> connection) {
  const auto* stranger = dynamic_cast<const AutomationConnection*>(connection.get());
  if (stranger == nullptr && connection != nullptr) RaiseData(kErrBadArgument, "ActiveConnection");
  object_.PutReference(L"ActiveConnection", stranger == nullptr ? nullptr : stranger->object());
  connection_ = std::move(connection);
}

void AutomationRecordset::SetMaxRecords(std::int64_t count) {
  object_.Put(L"MaxRecords", Long(count));
}

Variant AutomationRecordset::Property(std::string_view name) const {
  const auto properties = object_.Object(L"Properties");
  return FromPlatform(
      properties.Object(L"Item", ArgumentsOf(TextArgument(name))).Call(L"Value").get());
}

void AutomationRecordset::SetProperty(std::string_view name, const Variant& value) {
  const auto properties = object_.Object(L"Properties");
  properties.Object(L"Item", ArgumentsOf(TextArgument(name))).Put(L"Value", PlatformVariant(value));
}

void AutomationRecordset::Observe() {
  columns_.reset();
  if (auto* stranger = dynamic_cast<AutomationConnection*>(connection_.get())) {
    stranger->Observe(Source());
  }
}

void AutomationRecordset::Open() { OpenWithOptions(options_); }

// All arguments are passed, since members written as scripts have no optional ones.
void AutomationRecordset::OpenWithOptions(std::int32_t options) {
  options_ = options;
  Observe();
  object_.Call(L"Open", ArgumentsOf(PlatformVariant::Missing(), PlatformVariant::Missing(),
                                    PlatformVariant::Missing(), PlatformVariant::Missing(),
                                    PlatformVariant(options)));
}

void AutomationRecordset::Requery() {
  Observe();
  object_.Call(L"Requery");
}

void AutomationRecordset::Close() {
  object_.Call(L"Close");
  columns_.reset();
}

bool AutomationRecordset::Eof() const { return ToBool(FromPlatform(object_.Call(L"EOF").get())); }
bool AutomationRecordset::Bof() const { return ToBool(FromPlatform(object_.Call(L"BOF").get())); }

bool AutomationRecordset::Supports(std::int32_t option) const {
  return ToBool(
      FromPlatform(object_.Call(L"Supports", ArgumentsOf(PlatformVariant(option))).get()));
}

void AutomationRecordset::Find(std::string_view criteria, std::int64_t skip, std::int32_t direction,
                               const Variant& start) {
  object_.Call(L"Find",
               ArgumentsOf(TextArgument(criteria), Long(skip), PlatformVariant(direction),
                           start.IsEmpty() ? PlatformVariant::Missing() : ToBookmark(start)));
}

Variant AutomationRecordset::Bookmark() const {
  return FromBookmark(object_.Call(L"Bookmark").get());
}
void AutomationRecordset::SetBookmark(const Variant& bookmark) {
  object_.Put(L"Bookmark", ToBookmark(bookmark));
}

std::string AutomationRecordset::Index() const {
  return ToTextOrEmpty(FromPlatform(object_.Call(L"Index").get()));
}
void AutomationRecordset::SetIndex(std::string_view name) {
  object_.Put(L"Index", TextArgument(name));
}

void AutomationRecordset::Seek(const Variant& key, std::int32_t option) {
  object_.Call(L"Seek", ArgumentsOf(PlatformVariant(key), PlatformVariant(option)));
}

const AutomationRecordset::Columns& AutomationRecordset::OpenColumns() const {
  if (columns_) return *columns_;
  auto columns = std::make_unique<Columns>();
  const LateBound fields = object_.Object(L"Fields");
  const auto count = ToInt32(FromPlatform(fields.Call(L"Count").get()));
  for (std::int32_t i = 0; i < count; ++i) {
    columns->fields.push_back(fields.Object(L"Item", ArgumentsOf(PlatformVariant(i))));
    columns->names.push_back(
        ToTextOrEmpty(FromPlatform(columns->fields.back().Call(L"Name").get())));
    columns->ordinals.emplace(LowerCase(columns->names.back()), i);
  }
  columns_ = std::move(columns);
  return *columns_;
}

int AutomationRecordset::FieldCount() const { return static_cast<int>(OpenColumns().names.size()); }

const std::string& AutomationRecordset::FieldName(int ordinal) const {
  const auto& names = OpenColumns().names;
  if (ordinal < 0 || ordinal >= static_cast<int>(names.size())) RaiseData(kErrNoSuchItem);
  return names[static_cast<std::size_t>(ordinal)];
}

int AutomationRecordset::FieldOrdinal(std::string_view name) const {
  const auto& ordinals = OpenColumns().ordinals;
  const auto found = ordinals.find(LowerCase(name));
  return found == ordinals.end() ? -1 : found->second;
}

Variant AutomationRecordset::Value(int ordinal) const {
  FieldName(ordinal);
  return FromPlatform(OpenColumns().fields[static_cast<std::size_t>(ordinal)].Call(L"Value").get());
}

void AutomationRecordset::SetValue(int ordinal, const Variant& value) {
  FieldName(ordinal);
  OpenColumns().fields[static_cast<std::size_t>(ordinal)].Put(L"Value", PlatformVariant(value));
}

}  // namespace qm
