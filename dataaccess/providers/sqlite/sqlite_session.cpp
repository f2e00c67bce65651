#include "dataaccess/providers/sqlite/sqlite_session.h"

#include <algorithm>
#include <array>
#include <filesystem>
#include <functional>
#include <system_error>
#include <thread>
#include <utility>

#include <qm/connection.h>
#include <qm/error.h>

#include "dataaccess/data_error.h"
#include "dataaccess/providers/sqlite/sqlite_dialect.h"
#include "dataaccess/providers/sqlite/sqlite_error.h"
#include "dataaccess/providers/sqlite/sqlite_order.h"
#include "dataaccess/providers/sqlite/sqlite_statement.h"
#include "dataaccess/sql_scanner.h"
#include "dataaccess/stored_form.h"
#include "runtime/path_text.h"
#include "runtime/text.h"

namespace qm {

namespace {

constexpr std::string_view kKeywords[] = {"Provider", "Data Source", "User ID", "Password"};
constexpr std::int32_t kModeRead = 1;
constexpr std::size_t kIdleStatements = 64;
constexpr std::array<int, 6> kBusyPauses = {1, 2, 5, 10, 25, 50};

[[noreturn]] void RaiseCannotOpen(const std::string& path, std::string_view reason,
                                  std::int32_t number = kErrEngine, int code = 0) {
  throw Error(number, kSqliteSource, "cannot open " + path + ": " + std::string(reason), code);
}

void Pause(int attempts) {
  const std::size_t last = kBusyPauses.size() - 1;
  const std::size_t at = std::min(static_cast<std::size_t>(attempts), last);
  std::this_thread::sleep_for(std::chrono::milliseconds(kBusyPauses[at]));
}

PlainSelect WholeTable(const std::string& quoted, const std::string& name) {
  PlainSelect plain;
  plain.list = "*";
  plain.table_text = plain.target = plain.reference = quoted;
  plain.table = name;
  return plain;
}

const SqliteTable& TableOf(const RowOrigin& origin) {
  return static_cast<const SqliteTable&>(origin);
}

bool IsChangeOfRows(std::string_view text) {
  const SqlToken first = SqlScanner(text).Next();
  return first.Is("INSERT") || first.Is("UPDATE") || first.Is("DELETE") || first.Is("REPLACE");
}

bool EndsInDigit(std::string_view text) { return !text.empty() && IsDigit(text.back()); }

bool MayOrderByPlace(std::string_view rest) {
  SqlScanner scanner(rest);
  bool ordered = false;
  for (SqlToken token = scanner.Next(); token.kind != SqlToken::Kind::kEnd;
       token = scanner.Next()) {
    if (ordered && token.kind == SqlToken::Kind::kNumber) return true;
    ordered = ordered || token.Is("ORDER");
  }
  return false;
}

}  // namespace

std::unique_ptr<ProviderSession> SqliteSession::Open(const ParsedConnectionString& connection,
                                                     const SessionSettings& settings) {
  connection.RequireKnown(kKeywords);
  const std::string path = connection.Find("Data Source").value_or("");
  if (path.empty()) RaiseData(kErrBadArgument, "the connection string has no Data Source");
  return std::make_unique<SqliteSession>(path, settings);
}

SqliteSession::SqliteSession(const std::string& path, const SessionSettings& settings)
    : timeout_(settings.connection_timeout),
      isolation_level_(settings.isolation_level == kIsolationReadUncommitted
                           ? kIsolationReadUncommitted
                           : kIsolationSerializable) {
  try {
    Connect(path, settings.mode);
  } catch (...) {
    sqlite3_close_v2(db_);
    throw;
  }
  timeout_ = settings.command_timeout;
  idle_statements_.reserve(kIdleStatements);
}

SqliteSession::~SqliteSession() {
  ForgetStatements();
  sqlite3_close_v2(db_);
}

void SqliteSession::Connect(const std::string& path, std::int32_t mode) {
  std::error_code error;
  // The engine would take some bare names for databases in memory.
  const std::filesystem::path file = std::filesystem::absolute(PathOf(path), error);
  const auto status = std::filesystem::status(file, error);
  if (status.type() == std::filesystem::file_type::not_found) {
    RaiseCannotOpen(path, "no such file");
  }
  if (std::filesystem::is_directory(status)) RaiseCannotOpen(path, "it is a folder");
  const int access = mode == kModeRead ? SQLITE_OPEN_READONLY : SQLITE_OPEN_READWRITE;
  int code = sqlite3_open_v2(PathText(file).c_str(), &db_,
                             access | SQLITE_OPEN_NOMUTEX | SQLITE_OPEN_PRIVATECACHE, nullptr);
  if (code == SQLITE_OK) {
    sqlite3_extended_result_codes(db_, 1);
    sqlite3_busy_handler(db_, &SqliteSession::OnBusy, this);
    StartClock();
    const char* first = mode == qmModeShareExclusive
                            ? "PRAGMA locking_mode=EXCLUSIVE; BEGIN EXCLUSIVE; COMMIT;"
                            : "SELECT 1 FROM sqlite_master LIMIT 1";
    for (int attempts = 0;; ++attempts) {
      code = sqlite3_exec(db_, first, nullptr, nullptr, nullptr);
      if (!IsSqliteBusy(code) || TimeIsUp()) break;
      Pause(attempts);
    }
  }
  if (code == SQLITE_OK) return;
  if (IsSqliteBusy(code)) RaiseCannotOpen(path, sqlite3_errmsg(db_), kErrEngineBusy, code);
  RaiseCannotOpen(path, sqlite3_errmsg(db_), kErrEngine, code);
}

int SqliteSession::OnBusy(void* session, int attempts) {
  if (static_cast<SqliteSession*>(session)->TimeIsUp()) return 0;
  Pause(attempts);
  return 1;
}

void SqliteSession::StartClock() {
  deadline_ = std::chrono::steady_clock::now() + std::chrono::seconds(timeout_);
}

bool SqliteSession::TimeIsUp() const {
  return timeout_ != 0 && std::chrono::steady_clock::now() >= deadline_;
}

sqlite3_stmt* SqliteSession::TakeStatement(std::string_view text) {
  const std::size_t hash = std::hash<std::string_view>()(text);
  for (auto idle = idle_statements_.end(); idle != idle_statements_.begin();) {
    --idle;
    if (idle->hash != hash || text != sqlite3_sql(idle->statement)) continue;
    sqlite3_stmt* statement = idle->statement;
    idle_statements_.erase(idle);
    return statement;
  }
  return NewStatement(text);
}

sqlite3_stmt* SqliteSession::NewStatement(std::string_view text) {
  std::string key(text);
  StartClock();
  sqlite3_stmt* statement = nullptr;
  const char* tail = nullptr;
  const int code = sqlite3_prepare_v3(db_, key.c_str(), static_cast<int>(key.size()) + 1,
                                      SQLITE_PREPARE_PERSISTENT, &statement, &tail);
  if (code != SQLITE_OK) Raise(code, text);
  if (statement == nullptr || SqlScanner(tail).Next().text.find_first_not_of(';') == 0) {
    sqlite3_finalize(statement);
    throw Error(kErrStatement, kSqliteSource, "One statement was expected", 0, std::move(key));
  }
  return statement;
}

void SqliteSession::GiveBack(sqlite3_stmt* statement) noexcept {
  sqlite3_reset(statement);
  sqlite3_clear_bindings(statement);
  if (idle_statements_.size() == kIdleStatements) {
    sqlite3_finalize(idle_statements_.front().statement);
    idle_statements_.erase(idle_statements_.begin());
  }
  idle_statements_.push_back({std::hash<std::string_view>()(sqlite3_sql(statement)), statement});
}

sqlite3_stmt* SqliteSession::TakeStatement(SqliteForm& form) {
  sqlite3_stmt* idle = std::exchange(form.idle, nullptr);
  return idle != nullptr ? idle : NewStatement(form.prepared);
}

void SqliteSession::GiveBack(SqliteForm& form, sqlite3_stmt* statement) noexcept {
  sqlite3_reset(statement);
  sqlite3_clear_bindings(statement);
  sqlite3_finalize(std::exchange(form.idle, statement));
}

void SqliteSession::ForgetStatements() noexcept {
  forms_.Forget();
  for (const Idle& idle : idle_statements_) sqlite3_finalize(idle.statement);
  idle_statements_.clear();
}

int SqliteSession::StepWaiting(sqlite3_stmt* statement) {
  CountStatement();
  StartClock();
  for (int attempts = 0;; ++attempts) {
    const int code = sqlite3_step(statement);
    // Some collisions (a snapshot that became old) fail without asking the busy handler.
    if (!IsSqliteBusy(code) || TimeIsUp()) return code;
    sqlite3_reset(statement);
    Pause(attempts);
  }
}

void SqliteSession::Raise(int code, std::string_view statement) const {
  RaiseSqlite(code, sqlite3_errmsg(db_), statement);
}

void SqliteSession::RollbackTransaction() {
  forms_.Forget();  // changes of tables are taken back too
  Run("ROLLBACK");
}

void SqliteSession::Run(const char* text) {
  SqliteStatement statement(*this, text);
  statement.Step();
}

bool SqliteSession::IsTable(const std::string& schema, const std::string& table) const {
  const char* within = schema.empty() ? nullptr : schema.c_str();
  return sqlite3_table_column_metadata(db_, within, table.c_str(), nullptr, nullptr, nullptr,
                                       nullptr, nullptr, nullptr) == SQLITE_OK;
}

bool SqliteSession::IsRowNumber(const std::string& schema, const std::string& table,
                                const char* name) const {
  const char* within = schema.empty() ? nullptr : schema.c_str();
  const char* type = nullptr;
  int in_key = 0;
  const int code = sqlite3_table_column_metadata(db_, within, table.c_str(), name, &type, nullptr,
                                                 nullptr, &in_key, nullptr);
  return code == SQLITE_OK && type != nullptr && std::string_view(type) == "INTEGER" && in_key != 0;
}

// The engine's own rule for a column of reals, by its declared type.
bool SqliteSession::KeepsReals(const SqliteTable& table, const std::string& column) const {
  const char* within = table.schema.empty() ? nullptr : table.schema.c_str();
  const char* declared = nullptr;
  sqlite3_table_column_metadata(db_, within, table.name.c_str(), column.c_str(), &declared, nullptr,
                                nullptr, nullptr, nullptr);
  const std::string type = UpperCase(declared == nullptr ? "" : declared);
  const auto holds = [&](const char* part) { return type.find(part) != std::string::npos; };
  if (holds("INT") || holds("CHAR") || holds("CLOB") || holds("TEXT") || holds("BLOB"))
    return false;
  return holds("REAL") || holds("FLOA") || holds("DOUB");
}

std::unique_ptr<ProviderStatement> SqliteSession::PrepareKnown(std::string_view text,
                                                               bool with_identity) {
  const auto fitting = forms_.Fit(text, with_identity);
  if (!fitting) return nullptr;
  try {
    return std::make_unique<SqliteRowStatement>(*this, *fitting, text);
  } catch (const Error&) {
    fitting->form->spoilt = true;  // the text itself will tell why
    return nullptr;
  }
}

std::unique_ptr<ProviderStatement> SqliteSession::Prepare(std::string_view text, bool with_identity,
                                                          bool /*stream*/) {
  const std::string translated = InSqliteDialect(text);
  if (with_identity) {
    if (auto statement = PrepareWithIdentity(translated, text)) return statement;
  }
  auto statement = std::make_unique<SqliteRowStatement>(*this, translated, text, nullptr);
  if (!statement->HasRows()) {
    // Whatever is no change of rows may change tables.
    if (!IsChangeOfRows(translated)) forms_.Forget();
    forms_.LearnInsert(text);
  } else if (!with_identity && EndsInDigit(text) && translated == text) {
    const auto plain = ParsePlainSelect(text);
    if (plain && IsKey(*plain, SqliteForms::KeyTested(*plain))) {
      forms_.LearnSelect(text, *plain, nullptr);
    }
  }
  return statement;
}

// Null when the rows of the text have no identity, or it has to be looked at without: for a fault
// in the text itself, or since it may order by the number of a column.
std::unique_ptr<ProviderStatement> SqliteSession::PrepareWithIdentity(std::string_view text,
                                                                      std::string_view given) {
  const auto plain = ParsePlainSelect(text);
  if (!plain) return nullptr;
  auto table = FindTable(*this, *plain);
  if (table == nullptr) return nullptr;
  const std::string extended = table->WithIdentity(plain->rest);
  if (MayOrderByPlace(plain->rest)) {
    SqliteStatement checked(*this, text);
  }
  std::unique_ptr<ProviderStatement> statement;
  try {
    statement = std::make_unique<SqliteRowStatement>(*this, extended, given, table);
  } catch (const Error&) {
    SqliteStatement checked(*this, text);  // fails by the text as it was given, if that is at fault
    throw;
  }
  if (text == given && IsKey(*plain, SqliteForms::KeyTested(*plain))) {
    forms_.LearnSelect(given, *plain, std::move(table));
  }
  return statement;
}

// Whether that column alone is the key of the statement's table, and a whole number.
bool SqliteSession::IsKey(const PlainSelect& plain, const std::string& column) const {
  if (column.empty() || !IsTable(plain.schema, plain.table) ||
      !IsRowNumber(plain.schema, plain.table, column.c_str())) {
    return false;
  }
  sqlite3_stmt* keys = nullptr;
  const char* text = plain.schema.empty()
                         ? "SELECT count(*) FROM pragma_table_info(?) WHERE pk > 0"
                         : "SELECT count(*) FROM pragma_table_info(?, ?) WHERE pk > 0";
  sqlite3_prepare_v2(db_, text, -1, &keys, nullptr);
  sqlite3_bind_text(keys, 1, plain.table.c_str(), -1, SQLITE_STATIC);
  if (!plain.schema.empty()) sqlite3_bind_text(keys, 2, plain.schema.c_str(), -1, SQLITE_STATIC);
  const bool one = sqlite3_step(keys) == SQLITE_ROW && sqlite3_column_int(keys, 0) == 1;
  sqlite3_finalize(keys);
  return one;
}

std::unique_ptr<ProviderStatement> SqliteSession::PrepareTable(std::string_view name) {
  const std::string bare = UnquoteName(name);
  const std::string quoted = QuoteName(bare);
  const std::string text = "SELECT * FROM " + quoted;
  auto plain_statement = std::make_unique<SqliteRowStatement>(*this, text, text, nullptr);
  auto table = FindTable(*this, WholeTable(quoted, bare));
  if (table == nullptr) return plain_statement;
  std::string order;
  for (const std::string& key : table->keys) {
    order.append(order.empty() ? " ORDER BY " : ", ").append(key);
  }
  const std::string extended = table->WithIdentity(order);
  return std::make_unique<SqliteRowStatement>(*this, extended, text, std::move(table));
}

RowShapePointer SqliteSession::TableShape(std::string_view table) {
  auto statement = PrepareTable(table);
  auto& rows = static_cast<SqliteRowStatement&>(*statement);
  rows.ReadShape();
  return rows.Shape();
}

// A transaction holds the write lock of the whole file, so there is no row to lock.
bool SqliteSession::ReadRow(const RowOrigin& origin, RowIdentity identity, Row& row,
                            bool /*lock*/) {
  SqliteStatement statement(*this, TableOf(origin).RowText());
  for (const Variant& value : identity) statement.Bind(value);
  if (!statement.Step()) return false;
  statement.ReadRow(row);
  return true;
}

std::shared_ptr<const RowOrder> SqliteSession::FindOrder(const RowShape& shape,
                                                         std::string_view index) {
  return FindSqliteOrder(*this, shape, index);
}

std::vector<Row> SqliteSession::ReadPage(const RowOrigin& origin, const RowOrder& order,
                                         PageRange range, RowIdentity key, int count) {
  const SqliteOrder::PageQuery query =
      static_cast<const SqliteOrder&>(order).Page(TableOf(origin), range, key, count);
  std::vector<Row> rows;
  if (query.text.empty()) return rows;
  SqliteStatement statement(*this, query.text);
  for (const Variant& value : query.values) statement.Bind(value);
  while (statement.Step()) {
    // Bytes are read as text, by which the engine would not find their place again.
    for (std::size_t i = 0; i < order.IndexWidth(); ++i) {
      if (statement.IsBinary(static_cast<int>(order.Places()[i]))) {
        RaiseData(kErrNotSupported, "an index over binary values");
      }
    }
    statement.ReadRow(rows.emplace_back());
  }
  if (range.backward) std::reverse(rows.begin(), rows.end());
  return rows;
}

std::int64_t SqliteSession::CountRows(const RowOrigin& origin) {
  SqliteStatement statement(*this, "SELECT count(*) FROM " + TableOf(origin).target);
  statement.Step();
  return sqlite3_column_int64(statement.handle(), 0);
}

bool SqliteSession::UpdateRow(const RowOrigin& origin, std::span<Variant> identity,
                              std::span<ColumnChange> changes) {
  SqliteStatement statement(*this, TableOf(origin).UpdateText(changes));
  for (const ColumnChange& change : changes) statement.Bind(change.value);
  for (const Variant& value : identity) statement.Bind(value);
  for (const ColumnChange& change : changes) {
    statement.Bind(change.fetched);
    if (change.fetched.IsText()) statement.Bind(change.fetched);
  }
  if (!statement.Step()) return false;
  int column = 0;
  std::vector<Variant> stored;
  while (column < statement.ColumnCount()) stored.push_back(statement.Value(column++));
  // The change is kept only once the statement has run to its end.
  statement.Step();
  for (std::size_t i = 0; i < changes.size(); ++i) {
    changes[i].value = std::move(stored[i]);
    // A whole number in a column of reals comes back from a write as it is packed, an integer.
    const auto* whole = changes[i].value.GetIf<std::int32_t>();
    if (whole != nullptr && KeepsReals(TableOf(origin), changes[i].column)) {
      changes[i].value = static_cast<double>(*whole);
    }
  }
  for (std::size_t i = 0; i < identity.size(); ++i) {
    identity[i] = std::move(stored[changes.size() + i]);
  }
  return true;
}

Row SqliteSession::InsertRow(const RowOrigin& origin, std::span<const ColumnChange> values) {
  SqliteStatement statement(*this, TableOf(origin).InsertText(values));
  for (const ColumnChange& value : values) statement.Bind(value.value);
  Row identity;
  if (statement.Step()) statement.ReadRow(identity);
  statement.Step();
  return identity;
}

Variant SqliteSession::StoredForm(const Variant& value) const { return qm::StoredForm(value); }

}  // namespace qm
