#include "dataaccess/providers/sqlite/sqlite_statement.h"

#include <limits>
#include <utility>

#include <qm/conversions.h>

#include "dataaccess/providers/sqlite/sqlite_session.h"
#include "runtime/text.h"

namespace qm {

SqliteStatement::SqliteStatement(SqliteSession& session, std::string_view text)
    : session_(session), statement_(session.TakeStatement(text)) {}

// The values stay where they are for as long as they are bound: in the text kept here.
SqliteStatement::SqliteStatement(SqliteSession& session, const SqliteForms::Fitting& fitting,
                                 std::string_view text)
    : session_(session),
      form_(fitting.form),
      statement_(session.TakeStatement(*form_)),
      shown_text_(text),
      preparations_(sqlite3_stmt_status(statement_, SQLITE_STMTSTATUS_REPREPARE, 0)) {
  for (const SqliteConstant& value : fitting.values) {
    const int at = ++bound_;
    if (value.is_text) {
      const char* kept = shown_text_.data() + (value.text.data() - text.data());
      sqlite3_bind_text64(statement_, at, kept, value.text.size(), SQLITE_STATIC, SQLITE_UTF8);
    } else {
      sqlite3_bind_int64(statement_, at, value.number);
    }
  }
}

SqliteStatement::~SqliteStatement() {
  if (form_) {
    session_.GiveBack(*form_, statement_);
  } else {
    session_.GiveBack(statement_);
  }
}

void SqliteStatement::Bind(const Variant& given) {
  const Variant value = session_.StoredForm(given);
  const int at = ++bound_;
  int code = SQLITE_OK;
  if (const auto* text = value.GetIf<std::string>()) {
    code = sqlite3_bind_text64(statement_, at, text->data(), text->size(), SQLITE_TRANSIENT,
                               SQLITE_UTF8);
  } else if (const auto* whole = value.GetIf<std::int32_t>()) {
    code = sqlite3_bind_int(statement_, at, *whole);
  } else if (const auto* large = value.GetIf<std::int64_t>()) {
    code = sqlite3_bind_int64(statement_, at, *large);
  } else if (const auto* real = value.GetIf<double>()) {
    code = sqlite3_bind_double(statement_, at, *real);
  } else {
    code = sqlite3_bind_null(statement_, at);
  }
  if (code != SQLITE_OK) session_.Raise(code, shown_text_);
}

bool SqliteStatement::Step() {
  const int code = started_ ? sqlite3_step(statement_) : session_.StepWaiting(statement_);
  started_ = true;
  if (code == SQLITE_ROW || code == SQLITE_DONE) return code == SQLITE_ROW;
  session_.Raise(code, shown_text_.empty() ? sqlite3_sql(statement_) : shown_text_);
}

void SqliteStatement::ReadValue(int column, Variant& value) const {
  switch (sqlite3_column_type(statement_, column)) {
    case SQLITE_INTEGER: {
      const std::int64_t number = sqlite3_column_int64(statement_, column);
      const bool fits = number >= std::numeric_limits<std::int32_t>::min() &&
                        number <= std::numeric_limits<std::int32_t>::max();
      value = fits ? Variant(static_cast<std::int32_t>(number)) : Variant(number);
      return;
    }
    case SQLITE_FLOAT:
      value = sqlite3_column_double(statement_, column);
      return;
    case SQLITE_NULL:
      value = Variant::Null();
      return;
    default: {
      const auto* bytes = static_cast<const char*>(sqlite3_column_blob(statement_, column));
      const int size = sqlite3_column_bytes(statement_, column);
      value.AssignText(bytes == nullptr ? std::string_view()
                                        : std::string_view(bytes, static_cast<std::size_t>(size)));
    }
  }
}

Variant SqliteStatement::Value(int column) const {
  Variant value;
  ReadValue(column, value);
  return value;
}

// A row that is filled again keeps the room of its texts.
void SqliteStatement::ReadRow(Row& row) const {
  const int count = ColumnCount();
  row.resize(static_cast<std::size_t>(count));
  for (int i = 0; i < count; ++i) ReadValue(i, row[static_cast<std::size_t>(i)]);
}

// A session belongs to one thread, so that a value may be asked without copying it.
ValueKind SqliteStatement::ReadText(int column, std::string& room, std::string_view& text) const {
  sqlite3_value* value = sqlite3_column_value(statement_, column);
  const int type = sqlite3_value_type(value);
  text = {};
  switch (type) {
    case SQLITE_NULL:
      return ValueKind::kNull;
    case SQLITE_INTEGER:
    case SQLITE_FLOAT:
      room = ToTextOrEmpty(Value(column));
      text = room;
      return ValueKind::kOther;
    default: {
      const auto* bytes = static_cast<const char*>(sqlite3_value_blob(value));
      if (bytes != nullptr) text = {bytes, static_cast<std::size_t>(sqlite3_value_bytes(value))};
      return type == SQLITE_BLOB ? ValueKind::kBinary : ValueKind::kText;
    }
  }
}

SqliteRowStatement::SqliteRowStatement(SqliteSession& session, std::string_view prepared_text,
                                       std::string_view caller_text,
                                       std::shared_ptr<const SqliteTable> table)
    : session_(session), statement_(session, prepared_text), table_(std::move(table)) {
  statement_.ShowAs(caller_text);
}

SqliteRowStatement::SqliteRowStatement(SqliteSession& session, const SqliteForms::Fitting& fitting,
                                       std::string_view caller_text)
    : session_(session),
      statement_(session, fitting, caller_text),
      form_(fitting.form),
      table_(form_->table) {}

bool SqliteRowStatement::HasRows() const { return statement_.ColumnCount() > 0; }

bool SqliteRowStatement::Writes() const {
  // BEGIN and COMMIT count as read-only with the engine.
  return !HasRows() || sqlite3_stmt_readonly(statement_.handle()) == 0;
}

void SqliteRowStatement::Start() {
  const std::int64_t before = session_.TotalChanges();
  if (form_) form_->spoilt = true;  // should it fail
  on_row_ = statement_.Step();
  if (form_) TakeShapeOfForm();
  if (HasRows()) {
    if (!shape_) ReadShape();
  } else if (session_.TotalChanges() != before) {
    rows_affected_ = session_.LastChanges();
  }
}

// The engine prepares a statement again when tables have changed.
void SqliteRowStatement::TakeShapeOfForm() {
  const int preparations = sqlite3_stmt_status(statement_.handle(), SQLITE_STMTSTATUS_REPREPARE, 0);
  if (preparations != statement_.preparations()) return;
  form_->spoilt = false;
  if (!HasRows()) return;
  if (!form_->shape) {
    ReadShape();
    form_->shape = shape_;
  }
  shape_ = form_->shape;
}

void SqliteRowStatement::ReadShape() {
  sqlite3_stmt* handle = statement_.handle();
  RowShape shape;
  shape.origin = table_;
  const int hidden = table_ != nullptr ? static_cast<int>(table_->IdentityWidth()) : 0;
  const int count = statement_.ColumnCount() - hidden;
  shape.columns.reserve(static_cast<std::size_t>(count));
  for (int i = 0; i < count; ++i) {
    Column column;
    column.name = sqlite3_column_name(handle, i);
    const char* origin = sqlite3_column_origin_name(handle, i);
    const char* table = sqlite3_column_table_name(handle, i);
    if (table_ != nullptr && origin != nullptr && table != nullptr &&
        EqualsIgnoreCase(table, table_->name)) {
      column.origin = origin;
    }
    shape.columns.push_back(std::move(column));
  }
  shape_ = std::make_shared<const RowShape>(std::move(shape));
}

bool SqliteRowStatement::Next(Row& row) {
  if (!on_row_) return false;
  statement_.ReadRow(row);
  on_row_ = statement_.Step();
  return true;
}

bool SqliteRowStatement::Move() {
  if (on_row_ && moved_) on_row_ = statement_.Step();
  moved_ = true;
  return on_row_;
}

}  // namespace qm
