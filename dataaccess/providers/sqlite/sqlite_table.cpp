#include "dataaccess/providers/sqlite/sqlite_table.h"

#include "dataaccess/providers/sqlite/sqlite_session.h"
#include "dataaccess/providers/sqlite/sqlite_statement.h"

namespace qm {

namespace {

// The bare names of the engine's row number; a table may use some of them for columns of its own.
constexpr const char* kRowNumberNames[] = {"_rowid_", "rowid", "oid"};

std::vector<std::string> PrimaryKey(SqliteSession& session, const PlainSelect& plain) {
  SqliteStatement statement(
      session, plain.schema.empty()
                   ? "SELECT name FROM pragma_table_info(?) WHERE pk > 0 ORDER BY pk"
                   : "SELECT name FROM pragma_table_info(?, ?) WHERE pk > 0 ORDER BY pk");
  statement.Bind(plain.table);
  if (!plain.schema.empty()) statement.Bind(plain.schema);
  std::vector<std::string> keys;
  while (statement.Step()) keys.push_back(QuoteName(statement.Value(0).Get<std::string>()));
  return keys;
}

}  // namespace

std::string QuoteName(std::string_view name) {
  std::string quoted = "\"";
  for (const char c : name) {
    if (c == '"') quoted += c;
    quoted += c;
  }
  return quoted + '"';
}

std::shared_ptr<SqliteTable> FindTable(SqliteSession& session, const PlainSelect& plain) {
  if (!session.IsTable(plain.schema, plain.table)) return nullptr;
  auto table = std::make_shared<SqliteTable>();
  for (const char* name : kRowNumberNames) {
    if (session.IsRowNumber(plain.schema, plain.table, name)) {
      table->keys.emplace_back(name);
      break;
    }
  }
  if (table->keys.empty()) table->keys = PrimaryKey(session, plain);
  if (table->keys.empty()) return nullptr;
  table->schema = plain.schema;
  table->name = plain.table;
  table->target = plain.target;
  table->from = plain.table_text;
  table->reference = plain.reference;
  table->list = plain.list;
  return table;
}

std::string SqliteTable::KeyList(bool qualified) const {
  std::string text;
  for (const std::string& key : keys) {
    if (!text.empty()) text += ", ";
    if (qualified) text.append(reference).append(".");
    text += key;
  }
  return text;
}

std::string SqliteTable::KeyTest(std::string_view comparison) const {
  std::string text = "(" + KeyList(false) + ") ";
  text.append(comparison).append(" (?");
  for (std::size_t i = 1; i < keys.size(); ++i) text += ", ?";
  return text + ")";
}

std::string SqliteTable::WithIdentity(std::string_view rest) const {
  return "SELECT " + list + ", " + KeyList(true) + " FROM " + from + std::string(rest);
}

std::string SqliteTable::RowText() const { return WithIdentity(" WHERE " + KeyTest("=")); }

std::string SqliteTable::UpdateText(std::span<const ColumnChange> changes) const {
  std::string assignments;
  std::string tests;
  std::string written;
  for (const ColumnChange& change : changes) {
    const std::string column = QuoteName(change.column);
    assignments.append(assignments.empty() ? "" : ", ").append(column).append(" = ?");
    // Compared byte for byte, whatever the column's collation; bytes are read as text, and a text
    // never equals bytes with the engine.
    tests.append(" AND (").append(column).append(" COLLATE BINARY IS ?");
    if (change.fetched.IsText()) tests.append(" OR ").append(column).append(" = CAST(? AS BLOB)");
    tests += ")";
    written.append(column).append(", ");
  }
  return "UPDATE " + target + " SET " + assignments + " WHERE " + KeyTest("=") + tests +
         " RETURNING " + written + KeyList(false);
}

std::string SqliteTable::InsertText(std::span<const ColumnChange> values) const {
  if (values.empty())
    return "INSERT INTO " + target + " DEFAULT VALUES RETURNING " + KeyList(false);
  std::string columns;
  std::string places;
  for (const ColumnChange& value : values) {
    columns.append(columns.empty() ? "" : ", ").append(QuoteName(value.column));
    places.append(places.empty() ? "?" : ", ?");
  }
  return "INSERT INTO " + target + " (" + columns + ") VALUES (" + places + ") RETURNING " +
         KeyList(false);
}

}  // namespace qm
