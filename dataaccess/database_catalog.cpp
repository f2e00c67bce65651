#include "dataaccess/database_catalog.h"

#include <utility>

#include <qm/conversions.h>
#include <qm/error.h>
#include <qm/recordset.h>

#include "dataaccess/data_error.h"
#include "dataaccess/sql_text.h"
#include "runtime/text.h"

namespace qm {

namespace {

// The first value of a query; nothing when the engine does not know it.
std::string Answer(Connection& connection, const char* query) {
  try {
    const auto rows = connection.Execute(query);
    return rows->Eof() ? std::string() : ToTextOrEmpty(rows->Value(0));
  } catch (const Error& error) {
    if (error.engine_code() == 0 || IsConnectionLost(error)) throw;
    return {};
  }
}

bool Contains(std::string_view text, std::string_view part) {
  return text.find(part) != std::string_view::npos;
}

// Engines have a dozen names for four kinds of columns.
std::string PortableType(std::string_view declared, std::string_view length) {
  const std::string type = UpperCase(declared);
  if (Contains(type, "BIGINT")) return "BIGINT";
  if (Contains(type, "INT") || Contains(type, "BIT") || Contains(type, "BOOL")) return "INTEGER";
  for (const char* real : {"REAL", "DOUBLE", "FLOAT", "NUMERIC", "DECIMAL", "MONEY"}) {
    if (Contains(type, real)) return "REAL";
  }
  if (Contains(type, "CHAR")) {
    const std::size_t open = type.find('(');
    const std::string in_type =
        open == std::string::npos ? "" : type.substr(open + 1, type.find(')') - open - 1);
    const std::string characters = length.empty() ? in_type : std::string(length);
    if (!characters.empty() && characters.size() < 5 && characters[0] != '-') {
      return "VARCHAR(" + characters + ")";
    }
  }
  if (Contains(type, "DATE") || Contains(type, "TIME")) return "VARCHAR(40)";
  return "TEXT";
}

}  // namespace

DatabaseCatalog::DatabaseCatalog(std::shared_ptr<Connection> connection)
    : connection_(std::move(connection)) {
  if (!Answer(*connection_, "SELECT sqlite_version()").empty()) {
    engine_ = Engine::kSqlite;
    return;
  }
  const std::string version = Answer(*connection_, "SELECT version()");
  engine_ = version.empty()                   ? Engine::kSqlServer
            : Contains(version, "PostgreSQL") ? Engine::kPostgres
            : Contains(version, "Cockroach")  ? Engine::kPostgres
                                              : Engine::kMariaDb;
}

std::vector<std::vector<std::string>> DatabaseCatalog::Ask(const std::string& query) const {
  std::vector<std::vector<std::string>> answer;
  const auto rows = connection_->Execute(query);
  for (const Recordset& row : rows->Rows()) {
    std::vector<std::string>& values = answer.emplace_back();
    for (int i = 0; i < row.FieldCount(); ++i) values.push_back(ToTextOrEmpty(row.Value(i)));
  }
  return answer;
}

namespace {

std::vector<std::string> FirstColumn(const std::vector<std::vector<std::string>>& rows) {
  std::vector<std::string> values;
  values.reserve(rows.size());
  for (const auto& row : rows) values.push_back(row[0]);
  return values;
}

// The schema whose tables bare names mean, in the standard's catalog.
std::string OfSchema(std::string_view alias, bool postgres, bool sql_server) {
  return std::string(alias) + "table_schema = " +
         (postgres     ? "current_schema()"
          : sql_server ? "schema_name()"
                       : "database()");
}

}  // namespace

std::vector<std::string> DatabaseCatalog::Tables() const {
  if (engine_ == Engine::kSqlite) {
    return FirstColumn(
        Ask("SELECT name FROM sqlite_master WHERE type = 'table' AND substr(name, 1, 7) <> "
            "'sqlite_' ORDER BY name"));
  }
  return FirstColumn(
      Ask("SELECT table_name FROM information_schema.tables WHERE table_type = 'BASE TABLE' AND " +
          OfSchema("", engine_ == Engine::kPostgres, engine_ == Engine::kSqlServer) +
          " ORDER BY table_name"));
}

std::vector<CatalogColumn> DatabaseCatalog::Columns(std::string_view table) const {
  const std::string query =
      engine_ == Engine::kSqlite
          ? "SELECT name, type, '' FROM pragma_table_info(" + SqlText(table) + ") ORDER BY cid"
          : "SELECT column_name, data_type, character_maximum_length FROM "
            "information_schema.columns WHERE table_name = " +
                SqlText(table) + " AND " +
                OfSchema("", engine_ == Engine::kPostgres, engine_ == Engine::kSqlServer) +
                " ORDER BY ordinal_position";
  std::vector<CatalogColumn> columns;
  for (const auto& row : Ask(query)) columns.push_back({row[0], PortableType(row[1], row[2])});
  return columns;
}

std::vector<std::string> DatabaseCatalog::KeyColumns(std::string_view table) const {
  if (engine_ == Engine::kSqlite) {
    return FirstColumn(
        Ask("SELECT name FROM pragma_table_info(" + SqlText(table) + ") WHERE pk > 0 ORDER BY pk"));
  }
  return FirstColumn(
      Ask("SELECT k.column_name FROM information_schema.table_constraints c JOIN "
          "information_schema.key_column_usage k ON k.constraint_name = c.constraint_name AND "
          "k.table_schema = c.table_schema AND k.table_name = c.table_name WHERE "
          "c.constraint_type = 'PRIMARY KEY' AND c.table_name = " +
          SqlText(table) + " AND " +
          OfSchema("c.", engine_ == Engine::kPostgres, engine_ == Engine::kSqlServer) +
          " ORDER BY k.ordinal_position"));
}

std::vector<std::string> DatabaseCatalog::IndexedColumns(std::string_view table) const {
  const std::string name = SqlText(table);
  std::vector<std::string> columns;
  switch (engine_) {
    case Engine::kSqlite: {
      columns = KeyColumns(table);
      if (columns.size() > 1) columns.resize(1);
      for (std::string& column :
           FirstColumn(Ask("SELECT i.name FROM pragma_index_list(" + name +
                           ") l JOIN pragma_index_info(l.name) i WHERE i.seqno = 0 AND "
                           "l.partial = 0 AND i.name IS NOT NULL"))) {
        columns.push_back(std::move(column));
      }
      return columns;
    }
    case Engine::kPostgres:
      // An index's columns are a list of numbers; a column of number 0 is an expression.
      return FirstColumn(
          Ask("SELECT a.attname FROM pg_class t JOIN pg_namespace n ON n.oid = t.relnamespace "
              "JOIN pg_index i ON i.indrelid = t.oid JOIN pg_attribute a ON a.attrelid = t.oid "
              "AND CAST(a.attnum AS text) = split_part(CAST(i.indkey AS text), ' ', 1) "
              "WHERE n.nspname = current_schema() AND i.indpred IS NULL AND t.relname = " +
              name));
    case Engine::kMariaDb:
      return FirstColumn(
          Ask("SELECT column_name FROM information_schema.statistics WHERE seq_in_index = 1 AND "
              "table_schema = database() AND table_name = " +
              name));
    case Engine::kSqlServer:
      return FirstColumn(
          Ask("SELECT c.name FROM sys.index_columns i JOIN sys.columns c ON c.object_id = "
              "i.object_id AND c.column_id = i.column_id WHERE i.key_ordinal = 1 AND "
              "i.object_id = object_id(" +
              name + ")"));
  }
  return columns;
}

}  // namespace qm
