#include "dataaccess/providers/odbc/odbc_catalog.h"

#include <algorithm>
#include <utility>

#include "dataaccess/providers/odbc/odbc_session.h"
#include "runtime/text.h"
#include "runtime/utf16.h"

namespace qm {

namespace {

std::string Text(const Variant& value) {
  return value.IsText() ? value.Get<std::string>() : std::string();
}

std::int32_t Whole(const Variant& value) {
  const auto* whole = value.GetIf<std::int32_t>();
  return whole != nullptr ? *whole : 0;
}

// Among names that differ in case alone the one spelled as asked for, else the first.
template <typename Items, typename NameOf>
auto FindName(const Items& items, std::string_view name, NameOf name_of) {
  auto found = items.end();
  for (auto item = items.begin(); item != items.end(); ++item) {
    if (name_of(*item) == name) return item;
    if (found == items.end() && EqualsIgnoreCase(name_of(*item), name)) found = item;
  }
  return found;
}

}  // namespace

const OdbcColumn* OdbcTableInfo::FindColumn(std::string_view wanted) const {
  const auto place = places_.find(UpperCase(wanted));
  return place == places_.end() ? nullptr : &columns[place->second];
}

void OdbcTableInfo::AddColumn(OdbcColumn column) {
  places_.emplace(UpperCase(column.name), columns.size());
  columns.push_back(std::move(column));
}

OdbcCatalog::OdbcCatalog(OdbcSession& session, std::string schema, bool schema_is_catalog)
    : session_(session), schema_is_catalog_(schema_is_catalog) {
  (schema_is_catalog ? catalog_ : schema_) = Utf16(schema);
}

void OdbcCatalog::Forget() {
  names_.reset();
  tables_.clear();
}

std::vector<Row> OdbcCatalog::Ask(std::string_view function, std::string_view table) {
  const std::u16string name = Utf16(table);
  std::u16string type = u"TABLE,VIEW";
  SQLWCHAR* catalog = catalog_.empty() ? nullptr : WideText(catalog_);
  SQLWCHAR* schema = schema_.empty() ? nullptr : WideText(schema_);
  OdbcStatement statement(session_, function, function);
  statement.Ask([&](SQLHSTMT handle) -> SQLRETURN {
    if (function == "tables") {
      return SQLTablesW(handle, catalog, SQL_NTS, schema, SQL_NTS, nullptr, 0, WideText(type),
                        SQL_NTS);
    }
    if (function == "columns") {
      return SQLColumnsW(handle, catalog, SQL_NTS, schema, SQL_NTS, WideText(name), SQL_NTS,
                         nullptr, 0);
    }
    if (function == "keys") {
      return SQLPrimaryKeysW(handle, catalog, SQL_NTS, schema, SQL_NTS, WideText(name), SQL_NTS);
    }
    if (function == "identity") {
      return SQLSpecialColumnsW(handle, SQL_BEST_ROWID, catalog, SQL_NTS, schema, SQL_NTS,
                                WideText(name), SQL_NTS, SQL_SCOPE_SESSION, SQL_NO_NULLS);
    }
    return SQLStatisticsW(handle, catalog, SQL_NTS, schema, SQL_NTS, WideText(name), SQL_NTS,
                          SQL_INDEX_ALL, SQL_QUICK);
  });
  // In the schema's name "_" stands for any character.
  const std::string of = Utf8(schema_is_catalog_ ? catalog_ : schema_);
  const std::size_t place = schema_is_catalog_ ? 0 : 1;
  std::vector<Row> rows;
  for (Row row; statement.Next(row);) {
    const std::string told = function == "identity" ? std::string() : Text(row[place]);
    if (told.empty() || of.empty() || EqualsIgnoreCase(told, of)) rows.push_back(row);
  }
  return rows;
}

void OdbcCatalog::LoadNames() {
  if (names_) return;
  std::vector<Name> names;
  for (const Row& row : Ask("tables", {})) {
    names.push_back({Text(row[2]), UpperCase(Text(row[3])).find("VIEW") != std::string::npos});
  }
  names_ = std::move(names);
}

std::optional<std::string> OdbcCatalog::TableName(std::string_view name) {
  LoadNames();
  const auto found =
      FindName(*names_, name, [](const Name& n) -> const std::string& { return n.name; });
  return found == names_->end() ? std::nullopt : std::optional(found->name);
}

std::shared_ptr<const OdbcTableInfo> OdbcCatalog::Table(std::string_view name) {
  const auto actual = TableName(name);
  if (!actual) return nullptr;
  const auto known = tables_.find(*actual);
  if (known != tables_.end()) return known->second;

  auto table = std::make_shared<OdbcTableInfo>();
  table->name = *actual;
  table->is_view = std::any_of(names_->begin(), names_->end(),
                               [&](const Name& n) { return n.name == *actual && n.is_view; });
  for (const Row& row : Ask("columns", *actual)) {
    if (Text(row[2]) != *actual) continue;  // "_" in the name stands for any character
    table->AddColumn(
        {Text(row[3]),
         {static_cast<SQLSMALLINT>(Whole(row[4])), static_cast<SQLULEN>(std::max(Whole(row[6]), 0)),
          static_cast<SQLSMALLINT>(Whole(row[8]))},
         row[10] != Variant(std::int32_t{SQL_NO_NULLS})});
  }
  if (!table->is_view) {
    std::vector<Row> keys = Ask("keys", *actual);
    std::ranges::sort(keys, {}, [](const Row& row) { return Whole(row[4]); });
    for (const Row& row : keys) table->keys.push_back(Text(row[3]));
    if (keys.empty()) {
      for (const Row& row : Ask("identity", *actual)) table->keys.push_back(Text(row[1]));
      // What is no column of the table moves with every change of the row.
      const auto hidden = [&](const std::string& key) { return !table->FindColumn(key); };
      if (std::any_of(table->keys.begin(), table->keys.end(), hidden)) table->keys.clear();
    }
  }
  return tables_[*actual] = std::move(table);
}

std::vector<OdbcIndex> OdbcCatalog::Indexes(const OdbcTableInfo& table) {
  std::vector<OdbcIndex> indexes;
  for (const Row& row : Ask("statistics", table.name)) {
    const std::string name = Text(row[5]);
    if (name.empty()) continue;  // the table itself
    auto index = std::ranges::find(indexes, name, &OdbcIndex::name);
    if (index == indexes.end()) index = indexes.insert(indexes.end(), OdbcIndex{.name = name});
    index->parts.push_back({Text(row[8]), Text(row[9]) == "D"});
    const bool plain = table.FindColumn(index->parts.back().column) != nullptr;
    const bool filtered = row.size() > 12 && !Text(row[12]).empty();
    index->whole = index->whole && plain && !filtered;
  }
  for (OdbcIndex& index : indexes) {
    index.primary = std::ranges::equal(index.parts, table.keys, {}, &OdbcIndex::Part::column);
  }
  return indexes;
}

std::optional<std::string> OdbcCatalog::TableOfIndex(std::string_view wanted) {
  LoadNames();
  for (const Name& name : *names_) {
    if (name.is_view) continue;
    const auto table = Table(name.name);
    for (const OdbcIndex& index : Indexes(*table)) {
      if (EqualsIgnoreCase(index.name, wanted)) return name.name;
    }
  }
  return std::nullopt;
}

}  // namespace qm
