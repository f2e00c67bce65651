#include "dataaccess/providers/automation/automation_connection.h"

#include <utility>

#include <qm/conversions.h>
#include <qm/error.h>

#include "dataaccess/providers/automation/automation_recordset.h"
#include "dataaccess/providers/automation/strangers.h"

namespace qm {

namespace {

constexpr std::int32_t kErrCannotCreate = 429;

std::int32_t Number(const PlatformVariant& value) { return ToInt32(FromPlatform(value.get())); }

}  // namespace

LateBound CreatePlatformObject(const wchar_t* name) {
  CLSID id;
  ComPointer<IDispatch> object;
  if (FAILED(CLSIDFromProgID(name, &id)) ||
      FAILED(CoCreateInstance(id, nullptr, CLSCTX_INPROC_SERVER, __uuidof(IDispatch),
                              reinterpret_cast<void**>(object.Receive())))) {
    throw Error(kErrCannotCreate, "QMDataObjects2", "ActiveX component can't create object");
  }
  return LateBound(std::move(object));
}

std::shared_ptr<AutomationConnection> AutomationConnection::Of(ComPointer<IDispatch> object) {
  auto& known = Strangers<AutomationConnection>::DriverOf(object.get());
  auto connection = known.lock();
  if (!connection) {
    connection = std::make_shared<AutomationConnection>(LateBound(std::move(object)));
    known = connection;
  }
  return connection;
}

std::shared_ptr<AutomationConnection> AutomationConnection::CreatePlatformConnection() {
  return Of(ComPointer<IDispatch>(CreatePlatformObject(L"ADODB.Connection").get()));
}

AutomationConnection::~AutomationConnection() {
  Strangers<AutomationConnection>::Forget(object_.get());
}

std::string AutomationConnection::ConnectionString() const {
  return ToTextOrEmpty(FromPlatform(object_.Call(L"ConnectionString").get()));
}
void AutomationConnection::SetConnectionString(std::string_view text) {
  object_.Put(L"ConnectionString", TextArgument(text));
}
std::int32_t AutomationConnection::ConnectionTimeout() const {
  return Number(object_.Call(L"ConnectionTimeout"));
}
void AutomationConnection::SetConnectionTimeout(std::int32_t seconds) {
  object_.Put(L"ConnectionTimeout", PlatformVariant(seconds));
}
std::int32_t AutomationConnection::CommandTimeout() const {
  return Number(object_.Call(L"CommandTimeout"));
}
void AutomationConnection::SetCommandTimeout(std::int32_t seconds) {
  object_.Put(L"CommandTimeout", PlatformVariant(seconds));
}
std::int32_t AutomationConnection::Mode() const { return Number(object_.Call(L"Mode")); }
void AutomationConnection::SetMode(std::int32_t mode) {
  object_.Put(L"Mode", PlatformVariant(mode));
}
std::int32_t AutomationConnection::IsolationLevel() const {
  return Number(object_.Call(L"IsolationLevel"));
}
void AutomationConnection::SetIsolationLevel(std::int32_t level) {
  object_.Put(L"IsolationLevel", PlatformVariant(level));
}

void AutomationConnection::Open() {
  // The string that was set stays: an empty one leaves the property as it is.
  object_.Call(L"Open", ArgumentsOf(TextArgument({}), TextArgument(user_), TextArgument(password_),
                                    PlatformVariant(kOptionsUnspecified)));
}

void AutomationConnection::SetCredentials(std::string_view user, std::string_view password) {
  user_ = user;
  password_ = password;
}

void AutomationConnection::Close() { object_.Call(L"Close"); }
std::int32_t AutomationConnection::State() const { return Number(object_.Call(L"State")); }

void AutomationConnection::Observe(std::string_view text) {
  ++statement_count_;
  if (observer_) observer_(text);
}

std::shared_ptr<Recordset> AutomationConnection::Execute(std::string_view text,
                                                         std::int64_t* records_affected) {
  Observe(text);
  PlatformVariant affected(Variant(std::int32_t{0}));
  PlatformVariant by_reference;
  by_reference.get().vt = VT_BYREF | VT_VARIANT;
  by_reference.get().pvarVal = &affected.get();
  const PlatformVariant given =
      object_.Call(L"Execute", ArgumentsOf(TextArgument(text), std::move(by_reference),
                                           PlatformVariant(kOptionsUnspecified)));
  if (records_affected != nullptr) *records_affected = Number(affected);
  auto recordset = ObjectIn(given.get());
  // What gives no rows may give no recordset either; ours is then a closed one.
  if (!recordset) return CreateRecordset();
  return AutomationRecordset::Of(LateBound(std::move(recordset)), shared_from_this());
}

std::int32_t AutomationConnection::BeginTrans() { return Number(object_.Call(L"BeginTrans")); }
void AutomationConnection::CommitTrans() { object_.Call(L"CommitTrans"); }
void AutomationConnection::RollbackTrans() { object_.Call(L"RollbackTrans"); }

std::shared_ptr<Recordset> AutomationConnection::CreateRecordset() {
  auto recordset = object_.Has(L"CreateRecordset") ? object_.Object(L"CreateRecordset")
                                                   : CreatePlatformObject(L"ADODB.Recordset");
  return AutomationRecordset::Of(std::move(recordset), shared_from_this());
}

}  // namespace qm
