#include "dataaccess/providers/odbc/odbc_session.h"

#include <algorithm>
#include <array>
#include <utility>

#include <qm/connection.h>
#include <qm/error.h>

#include "dataaccess/data_error.h"
#include "dataaccess/plain_select.h"
#include "dataaccess/providers/odbc/odbc_connection_string.h"
#include "dataaccess/providers/odbc/odbc_row_statement.h"
#include "dataaccess/providers/odbc/odbc_translation.h"
#include "dataaccess/sql_scanner.h"
#include "dataaccess/stored_form.h"
#include "runtime/text.h"
#include "runtime/utf16.h"

namespace qm {

namespace {

constexpr std::int32_t kModeRead = 1;
constexpr std::size_t kIdleStatements = 64;

const OdbcTable& TableOf(const RowOrigin& origin) { return static_cast<const OdbcTable&>(origin); }

SQLPOINTER Number(std::uintptr_t value) {
  return reinterpret_cast<SQLPOINTER>(value);  // NOLINT(performance-no-int-to-ptr): the interface's
}

std::uintptr_t TransactionLevel(std::int32_t level) {
  switch (level) {
    case kIsolationReadUncommitted:
      return SQL_TXN_READ_UNCOMMITTED;
    case kIsolationRepeatableRead:
      return SQL_TXN_REPEATABLE_READ;
    case kIsolationSerializable:
      return SQL_TXN_SERIALIZABLE;
    default:
      return SQL_TXN_READ_COMMITTED;
  }
}

std::string_view GuessEngine(const ParsedConnectionString& connection) {
  const std::string driver = LowerCase(connection.Find("Driver").value_or(""));
  const auto holds = [&](const char* part) { return driver.find(part) != std::string::npos; };
  if (holds("postgre") || holds("psqlodbc")) return "PostgreSQL";
  if (holds("maria") || holds("mysql") || holds("maodbc")) return "MariaDB";
  return holds("sql server") ? "Microsoft SQL Server" : "";
}

// The string with what the dialect's driver needs.
std::string WithOptions(std::string text, const OdbcDialect& dialect, std::int32_t login_timeout) {
  const ParsedConnectionString given(text);
  const ParsedConnectionString wanted(dialect.DriverOptions());
  const ParsedConnectionString fixed(dialect.FixedOptions());
  for (const auto& [keyword, value] : wanted.Values()) {
    if (!given.Find(keyword)) AppendPart(text, keyword, value);
  }
  const std::string_view limit = dialect.LoginTimeout();
  if (login_timeout > 0 && !limit.empty() && !given.Find(limit)) {
    AppendPart(text, limit, std::to_string(login_timeout));
  }
  // Of equal keywords the last one counts.
  for (const auto& [keyword, value] : fixed.Values()) AppendPart(text, keyword, value);
  return text;
}

bool IsDefinition(std::string_view text, SqlQuoting quoting) {
  const SqlToken first = SqlScanner(text, quoting).Next();
  return first.Is("CREATE") || first.Is("DROP") || first.Is("ALTER");
}

}  // namespace

std::unique_ptr<ProviderSession> OdbcSession::Open(const ParsedConnectionString& connection,
                                                   const SessionSettings& settings) {
  return std::make_unique<OdbcSession>(connection, settings);
}

OdbcSession::OdbcSession(const ParsedConnectionString& connection, const SessionSettings& settings)
    : environment_(SQL_HANDLE_ENV, SQL_HANDLE_ENV, SQL_NULL_HANDLE) {
  if (settings.mode == qmModeShareExclusive) {
    RaiseData(kErrNotSupported, "a server's database cannot be opened for one user alone");
  }
  SQLSetEnvAttr(environment_.get(), SQL_ATTR_ODBC_VERSION, Number(SQL_OV_ODBC3), 0);
  const std::string text = OdbcString(connection, settings.user, settings.password,
                                      [this] { return InstalledDrivers(); });
  dialect_ = &DialectFor(GuessEngine(connection));
  Connect(WithOptions(text, *dialect_, settings.connection_timeout), settings);
  const OdbcDialect& actual = DialectFor(Info(SQL_DBMS_NAME));
  if (&actual != dialect_) {
    dialect_ = &actual;
    if (!dialect_->DriverOptions().empty()) {
      Connect(WithOptions(text, *dialect_, settings.connection_timeout), settings);
    }
  }

  SQLUINTEGER extensions = 0;
  SQLGetInfoW(handle(), SQL_GETDATA_EXTENSIONS, &extensions, sizeof extensions, nullptr);
  any_order_ = (extensions & SQL_GD_ANY_COLUMN) != 0 && (extensions & SQL_GD_BOUND) != 0;
  for (const std::string& statement : dialect_->SessionStatements()) Run(statement);
  if (settings.mode == kModeRead && !dialect_->ReadOnly().empty()) Run(dialect_->ReadOnly());
  const std::int32_t asked = settings.isolation_level > 0 ? settings.isolation_level
                                                          : std::int32_t{kIsolationReadCommitted};
  isolation_level_ = dialect_->IsolationInForce(asked);
  SQLSetConnectAttrW(handle(), SQL_ATTR_TXN_ISOLATION, Number(TransactionLevel(isolation_level_)),
                     0);
  SetCommandTimeout(settings.command_timeout);
  std::string schema;
  if (!dialect_->CurrentSchema().empty()) {
    OdbcStatement statement(*this, dialect_->CurrentSchema(), dialect_->CurrentSchema());
    statement.Execute();
    Row row;
    if (statement.Next(row) && row[0].IsText()) schema = row[0].Get<std::string>();
  }
  catalog_ = std::make_unique<OdbcCatalog>(*this, schema, dialect_->SchemaIsCatalog());
}

OdbcSession::~OdbcSession() {
  idle_statements_.clear();
  if (!connected_) return;
  if (in_transaction_) SQLEndTran(SQL_HANDLE_DBC, handle(), SQL_ROLLBACK);
  SQLDisconnect(handle());
}

void OdbcSession::Connect(const std::string& text, const SessionSettings& settings) {
  if (std::exchange(connected_, false)) SQLDisconnect(handle());
  connection_ = OdbcHandle(SQL_HANDLE_DBC, SQL_HANDLE_ENV, environment_.get());
  if (settings.connection_timeout > 0) {
    SQLSetConnectAttrW(handle(), SQL_ATTR_LOGIN_TIMEOUT,
                       Number(static_cast<std::uintptr_t>(settings.connection_timeout)), 0);
  }
  if (settings.mode == kModeRead) {
    SQLSetConnectAttrW(handle(), SQL_ATTR_ACCESS_MODE, Number(SQL_MODE_READ_ONLY), 0);
  }
  const std::u16string wide = Utf16(text);
  SQLSMALLINT length = 0;
  const SQLRETURN code = SQLDriverConnectW(handle(), nullptr, WideText(wide), SQL_NTS, nullptr, 0,
                                           &length, SQL_DRIVER_NOPROMPT);
  if (!SQL_SUCCEEDED(code)) {
    OdbcDiagnostic diagnostic = DiagnosticOf(SQL_HANDLE_DBC, handle());
    diagnostic.text = "cannot connect: " + diagnostic.text;
    const int engine_code = diagnostic.native != 0 ? diagnostic.native : 1;
    throw Error(kErrEngine, kOdbcSource, diagnostic.text, engine_code);
  }
  connected_ = true;
}

std::string OdbcSession::Info(SQLUSMALLINT type) const {
  std::array<SQLWCHAR, 256> text{};
  SQLSMALLINT bytes = 0;
  if (!SQL_SUCCEEDED(SQLGetInfoW(handle(), type, text.data(), static_cast<SQLSMALLINT>(sizeof text),
                                 &bytes))) {
    return {};
  }
  const auto units =
      std::min(static_cast<std::size_t>(std::max<SQLSMALLINT>(bytes, 0)) / sizeof(SQLWCHAR),
               text.size() - 1);
  return Utf8({reinterpret_cast<const char16_t*>(text.data()), units});
}

std::vector<std::string> OdbcSession::InstalledDrivers() const {
  std::vector<std::string> drivers;
  std::array<SQLWCHAR, 256> name{};
  std::array<SQLWCHAR, 2048> attributes{};
  SQLSMALLINT length = 0;
  SQLSMALLINT ignored = 0;
  for (SQLUSMALLINT which = SQL_FETCH_FIRST; SQL_SUCCEEDED(SQLDriversW(
           environment_.get(), which, name.data(), static_cast<SQLSMALLINT>(name.size()), &length,
           attributes.data(), static_cast<SQLSMALLINT>(attributes.size()), &ignored));
       which = SQL_FETCH_NEXT) {
    drivers.push_back(Utf8({reinterpret_cast<const char16_t*>(name.data()),
                            static_cast<std::size_t>(std::max<SQLSMALLINT>(length, 0))}));
  }
  return drivers;
}

void OdbcSession::Raise(const OdbcDiagnostic& diagnostic, std::string_view statement) {
  const std::int32_t number = NumberOf(diagnostic);
  lost_ = lost_ || IsConnectionLost(diagnostic) || (number == kErrEngine && IsDead());
  if (lost_) {
    in_transaction_ = false;
    std::string text(kConnectionLost);
    if (!diagnostic.text.empty()) text += ": " + diagnostic.text;
    throw Error(kErrEngine, kOdbcSource, text, diagnostic.native != 0 ? diagnostic.native : 1,
                std::string(statement));
  }
  if (number == kErrNoSuchTable && catalog_) catalog_->Forget();
  RaiseOdbc(diagnostic, statement);
}

void OdbcSession::RequireConnection() {
  if (lost_) Raise({}, {});
}

bool OdbcSession::IsDead() const {
  SQLUINTEGER dead = SQL_CD_FALSE;
  return SQL_SUCCEEDED(SQLGetConnectAttrW(handle(), SQL_ATTR_CONNECTION_DEAD, &dead, 0, nullptr)) &&
         dead == SQL_CD_TRUE;
}

void OdbcSession::Run(std::string_view text) { OdbcStatement(*this, text, text).Execute(); }

void OdbcSession::SetCommandTimeout(std::int32_t seconds) {
  const std::string statement = dialect_->LockTimeout(seconds);
  if (!statement.empty()) Run(statement);
}

void OdbcSession::ChooseDelivery(SQLHSTMT statement, bool stream) {
  if (dialect_->OneReader()) {
    SQLSetStmtAttrW(statement, SQL_ATTR_CURSOR_TYPE,
                    Number(stream ? SQL_CURSOR_FORWARD_ONLY : SQL_CURSOR_STATIC), 0);
  }
  if (dialect_->StreamAttribute() != 0) {
    SQLSetConnectAttrW(handle(), dialect_->StreamAttribute(), Number(stream ? 1 : 0), 0);
  }
}

void OdbcSession::MakeRoom(const OdbcStatement* runs) {
  RequireConnection();
  if (streaming_ == nullptr || streaming_ == runs || !dialect_->OneReader()) return;
  std::exchange(streaming_, nullptr)->Hold();
}

std::string OdbcSession::Translate(std::string_view text) {
  return TranslateStatement(text, *dialect_, *catalog_);
}

RowShapePointer OdbcSession::ShapeOf(std::shared_ptr<const OdbcTable> table) const {
  auto shape = std::make_shared<RowShape>();
  for (const OdbcColumn& column : table->Info().columns) {
    shape->columns.push_back({column.name, column.name});
  }
  shape->origin = std::move(table);
  return shape;
}

std::unique_ptr<ProviderStatement> OdbcSession::Prepare(std::string_view text, bool with_identity,
                                                        bool stream) {
  std::shared_ptr<const OdbcTable> table;
  std::string prepared(text);
  if (with_identity) {
    if (const auto plain = ParsePlainSelect(text, Quoting())) {
      auto info = catalog_->Table(plain->table);
      if (info && !info->keys.empty()) {
        table = std::make_shared<OdbcTable>(std::move(info), *dialect_, *plain);
        prepared = table->WithIdentity(plain->rest);
      }
    }
  }
  std::function<void()> ran;
  if (IsDefinition(text, Quoting())) {
    ran = [this] {
      catalog_->Forget();
      idle_statements_.clear();
    };
  }
  return std::make_unique<OdbcRowStatement>(
      std::make_unique<OdbcStatement>(*this, Translate(prepared), text), std::move(table), stream,
      std::move(ran));
}

std::unique_ptr<ProviderStatement> OdbcSession::PrepareTable(std::string_view name) {
  const std::string bare = UnquoteName(name);
  auto info = catalog_->Table(bare);
  const std::string quoted = dialect_->Quote(info ? info->name : bare);
  if (!info || info->keys.empty()) {
    const std::string text = "SELECT * FROM " + quoted;
    return std::make_unique<OdbcRowStatement>(std::make_unique<OdbcStatement>(*this, text, text),
                                              nullptr, false, nullptr);
  }
  auto table = std::make_shared<OdbcTable>(std::move(info), *dialect_);
  const std::string text = table->WithIdentity(table->KeyOrder());
  return std::make_unique<OdbcRowStatement>(
      std::make_unique<OdbcStatement>(*this, text, "SELECT * FROM " + quoted), std::move(table),
      false, nullptr);
}

RowShapePointer OdbcSession::TableShape(std::string_view name) {
  const std::string bare = UnquoteName(name);
  auto info = catalog_->Table(bare);
  if (!info) {
    throw Error(kErrNoSuchTable, kOdbcSource, "no such table: " + bare, 1, std::string(name));
  }
  if (info->keys.empty()) return std::make_shared<const RowShape>();
  return ShapeOf(std::make_shared<OdbcTable>(std::move(info), *dialect_));
}

std::unique_ptr<OdbcStatement> OdbcSession::Take(const std::string& text) {
  const auto idle = idle_statements_.find(text);
  if (idle != idle_statements_.end()) {
    auto statement = std::move(idle->second);
    idle_statements_.erase(idle);
    return statement;
  }
  auto statement = std::make_unique<OdbcStatement>(*this, Translate(text), text);
  statement->Prepare();
  return statement;
}

void OdbcSession::GiveBack(std::unique_ptr<OdbcStatement> statement) noexcept {
  statement->Close();
  if (idle_statements_.size() >= kIdleStatements) idle_statements_.clear();
  std::string text = statement->shown();
  idle_statements_.emplace(std::move(text), std::move(statement));
}

bool OdbcSession::ReadRow(const RowOrigin& origin, RowIdentity identity, Row& row, bool lock) {
  const OdbcTable& table = TableOf(origin);
  auto statement = Take(table.RowText(lock));
  for (std::size_t i = 0; i < identity.size(); ++i) {
    statement->Bind(identity[i], table.KeyPlace(i));
  }
  statement->Execute();
  const bool there = statement->Next(row);
  GiveBack(std::move(statement));
  return there;
}

std::shared_ptr<const RowOrder> OdbcSession::FindOrder(const RowShape& shape,
                                                       std::string_view index) {
  return FindOdbcOrder(*catalog_, *dialect_, shape, index);
}

std::vector<Row> OdbcSession::ReadPage(const RowOrigin& origin, const RowOrder& given,
                                       PageRange range, RowIdentity key, int count) {
  const OdbcTable& table = TableOf(origin);
  const auto& order = static_cast<const OdbcOrder&>(given);
  const std::string order_text = order.OrderText(*dialect_, range.backward);
  std::vector<Row> rows;
  for (const OrderStretch& stretch : StretchesOf(order.terms, range, key)) {
    const int left = count - static_cast<int>(rows.size());
    if (left <= 0) break;
    auto statement = Take(dialect_->Limit(table.WithIdentity(stretch.test + order_text), left));
    std::size_t term = 0;
    for (const Variant& value : stretch.values) {
      // The values of a stretch are those of the leading terms that are not Null.
      while (term < key.size() && key[term].IsNull()) ++term;
      statement->Bind(value, order.kinds[std::min(term++, order.kinds.size() - 1)]);
    }
    statement->Execute();
    for (Row row; statement->Next(row);) rows.push_back(row);
    GiveBack(std::move(statement));
  }
  if (range.backward) std::reverse(rows.begin(), rows.end());
  return rows;
}

std::int64_t OdbcSession::CountRows(const RowOrigin& origin) {
  auto statement = Take("SELECT count(*) FROM " + dialect_->Quote(TableOf(origin).Info().name));
  statement->Execute();
  Row row;
  std::int64_t count = 0;
  if (statement->Next(row)) {
    const auto* whole = row[0].GetIf<std::int32_t>();
    const auto* large = row[0].GetIf<std::int64_t>();
    count = whole != nullptr ? *whole : large != nullptr ? *large : 0;
  }
  GiveBack(std::move(statement));
  return count;
}

// Whether the column gives back what was put in, so that it need not be read again.
bool OdbcSession::KeepsAsGiven(const OdbcTable& table, const ColumnChange& change) const {
  if (change.value.IsNull()) return true;
  const OdbcColumn* column = table.Info().FindColumn(change.column);
  if (column == nullptr) return false;
  const OdbcKind kind = KindOf(column->place.sql_type);
  // Some engines take blanks away from the end: of fixed lengths, or beyond a column's length.
  if (change.value.IsText()) {
    return kind == OdbcKind::kText && !change.value.Get<std::string>().ends_with(' ');
  }
  return kind == OdbcKind::kWhole && (change.value.GetIf<std::int32_t>() != nullptr ||
                                      change.value.GetIf<std::int64_t>() != nullptr);
}

bool OdbcSession::UpdateRow(const RowOrigin& origin, std::span<Variant> identity,
                            std::span<ColumnChange> changes) {
  const OdbcTable& table = TableOf(origin);
  const auto place = [&](const ColumnChange& change) {
    const OdbcColumn* column = table.Info().FindColumn(change.column);
    return column != nullptr ? column->place : OdbcPlace{};
  };
  auto statement = Take(table.UpdateText(changes));
  for (const ColumnChange& change : changes) statement->Bind(change.value, place(change));
  for (std::size_t i = 0; i < identity.size(); ++i) {
    statement->Bind(identity[i], table.KeyPlace(i));
  }
  for (const ColumnChange& change : changes) {
    for (int i = 0; i < dialect_->PlacesOfSame(); ++i)
      statement->Bind(change.fetched, place(change));
  }
  statement->Execute();
  Row stored;
  if (statement->HasRows()) {
    if (!statement->Next(stored)) {
      GiveBack(std::move(statement));
      return false;
    }
    GiveBack(std::move(statement));
  } else {
    const bool found = statement->RowsAffected() > 0;
    GiveBack(std::move(statement));
    if (!found) return false;
    for (std::size_t i = 0; i < identity.size(); ++i) {
      for (const ColumnChange& change : changes) {
        if (EqualsIgnoreCase(change.column, table.Info().keys[i])) identity[i] = change.value;
      }
    }
    const bool as_given = std::all_of(changes.begin(), changes.end(), [&](const ColumnChange& c) {
      return KeepsAsGiven(table, c);
    });
    if (as_given) return true;
    auto again = Take(table.ChangedText(changes));
    for (std::size_t i = 0; i < identity.size(); ++i) again->Bind(identity[i], table.KeyPlace(i));
    again->Execute();
    const bool there = again->Next(stored);
    GiveBack(std::move(again));
    if (!there) return true;
  }
  for (std::size_t i = 0; i < changes.size(); ++i) changes[i].value = std::move(stored[i]);
  for (std::size_t i = 0; i < identity.size(); ++i) {
    identity[i] = std::move(stored[changes.size() + i]);
  }
  return true;
}

Row OdbcSession::InsertRow(const RowOrigin& origin, std::span<const ColumnChange> values) {
  const OdbcTable& table = TableOf(origin);
  Row identity;
  std::size_t made = table.IdentityWidth();  // the place of the key that the engine makes
  for (const std::string& key : table.Info().keys) {
    const auto given = std::ranges::find_if(
        values, [&](const ColumnChange& v) { return EqualsIgnoreCase(v.column, key); });
    if (given == values.end()) made = identity.size();
    identity.push_back(given != values.end() ? given->value : Variant::Null());
  }
  const bool keys_given = made == table.IdentityWidth();
  auto statement = Take(table.InsertText(values, !keys_given));
  for (const ColumnChange& value : values) {
    const OdbcColumn* column = table.Info().FindColumn(value.column);
    statement->Bind(value.value, column != nullptr ? column->place : OdbcPlace{});
  }
  statement->Execute();
  if (statement->HasRows()) {
    identity.clear();
    statement->Next(identity);
    made = table.IdentityWidth();
  }
  GiveBack(std::move(statement));
  if (made < identity.size() && !dialect_->LastKey().empty()) {
    auto last = Take(std::string(dialect_->LastKey()));
    last->Execute();
    Row key;
    if (last->Next(key)) identity[made] = std::move(key[0]);
    GiveBack(std::move(last));
  }
  return identity;
}

void OdbcSession::BeginTransaction() {
  RequireConnection();
  const SQLRETURN code =
      SQLSetConnectAttrW(handle(), SQL_ATTR_AUTOCOMMIT, Number(SQL_AUTOCOMMIT_OFF), 0);
  if (!SQL_SUCCEEDED(code)) Raise(DiagnosticOf(SQL_HANDLE_DBC, handle()), "BEGIN");
  Count();
  in_transaction_ = true;
}

void OdbcSession::EndTransaction(SQLSMALLINT how) {
  MakeRoom(nullptr);
  Count();
  if (!SQL_SUCCEEDED(SQLEndTran(SQL_HANDLE_DBC, handle(), how))) {
    Raise(DiagnosticOf(SQL_HANDLE_DBC, handle()), how == SQL_COMMIT ? "COMMIT" : "ROLLBACK");
  }
  in_transaction_ = false;
  SQLSetConnectAttrW(handle(), SQL_ATTR_AUTOCOMMIT, Number(SQL_AUTOCOMMIT_ON), 0);
}

Variant OdbcSession::StoredForm(const Variant& value) const {
  Variant stored = qm::StoredForm(value);
  if (stored.IsText() && !dialect_->KeepsZeros() &&
      stored.Get<std::string>().find('\0') != std::string::npos) {
    RaiseData(kErrWrongType, "this engine keeps no text with a character of code 0");
  }
  return stored;
}

}  // namespace qm
