#include "dataaccess/providers/odbc/odbc_table.h"

#include <algorithm>
#include <utility>

#include "runtime/text.h"

namespace qm {

namespace {

constexpr std::string_view kPrimaryKey = "PrimaryKey";

const OdbcTable& TableOf(const RowShape& shape) {
  return static_cast<const OdbcTable&>(*shape.origin);
}

}  // namespace

OdbcTable::OdbcTable(std::shared_ptr<const OdbcTableInfo> info, const OdbcDialect& dialect)
    : info_(std::move(info)),
      dialect_(dialect),
      from_(dialect.Quote(info_->name)),
      reference_(from_),
      target_(from_) {}

OdbcTable::OdbcTable(std::shared_ptr<const OdbcTableInfo> info, const OdbcDialect& dialect,
                     const PlainSelect& plain)
    : OdbcTable(std::move(info), dialect) {
  list_ = plain.list;
  from_ = plain.table_text;
  reference_ = plain.reference;
}

std::string OdbcTable::KeyList(bool qualified) const {
  std::string text;
  for (const std::string& key : info_->keys) {
    if (!text.empty()) text += ", ";
    if (qualified) text.append(reference_).append(".");
    text += dialect_.Quote(key);
  }
  return text;
}

std::string OdbcTable::KeyTest() const {
  std::string text;
  for (const std::string& key : info_->keys) {
    text.append(text.empty() ? "" : " AND ").append(dialect_.Quote(key)).append(" = ?");
  }
  return text;
}

std::string OdbcTable::KeyOrder() const {
  std::string text;
  for (const std::string& key : info_->keys) {
    text.append(text.empty() ? " ORDER BY " : ", ").append(dialect_.Quote(key));
  }
  return text;
}

std::string OdbcTable::WithIdentity(std::string_view rest, bool lock) const {
  // Some engines take a bare "*" only as the whole list.
  const bool all = Trim(list_) == "*";
  std::string text =
      "SELECT " + (all ? reference_ + ".*" : list_) + ", " + KeyList(true) + " FROM " + from_;
  if (lock) text += dialect_.LockHint();
  text += rest;
  if (lock) text += dialect_.LockClause();
  return text;
}

std::string OdbcTable::RowText(bool lock) const {
  return WithIdentity(" WHERE " + KeyTest(), lock);
}

std::string OdbcTable::ReturnedColumns(std::span<const ColumnChange> changes) const {
  std::string text;
  for (const ColumnChange& change : changes) text += dialect_.Quote(change.column) + ", ";
  return text + KeyList(false);
}

std::string OdbcTable::UpdateText(std::span<const ColumnChange> changes) const {
  std::string assignments;
  std::string tests;
  for (const ColumnChange& change : changes) {
    const std::string column = dialect_.Quote(change.column);
    const OdbcColumn* described = info_->FindColumn(change.column);
    const bool text = described != nullptr && KindOf(described->place.sql_type) == OdbcKind::kText;
    assignments.append(assignments.empty() ? "" : ", ").append(column).append(" = ?");
    tests.append(" AND ").append(dialect_.Same(column, text));
  }
  return "UPDATE " + target_ + " SET " + assignments + " WHERE " + KeyTest() + tests +
         dialect_.Returning(ReturnedColumns(changes), false);
}

std::string OdbcTable::ChangedText(std::span<const ColumnChange> changes) const {
  return "SELECT " + ReturnedColumns(changes) + " FROM " + target_ + " WHERE " + KeyTest();
}

std::string OdbcTable::InsertText(std::span<const ColumnChange> values, bool give_keys) const {
  std::string columns;
  std::string places;
  for (const ColumnChange& value : values) {
    columns.append(columns.empty() ? "" : ", ").append(dialect_.Quote(value.column));
    places.append(places.empty() ? "?" : ", ?");
  }
  return "INSERT INTO " + target_ + " (" + columns + ") VALUES (" + places + ")" +
         (give_keys ? dialect_.Returning(KeyList(false), true) : std::string());
}

const OdbcPlace& OdbcTable::KeyPlace(std::size_t i) const {
  return info_->FindColumn(info_->keys[i])->place;
}

void OdbcOrder::Add(const OdbcDialect& dialect, const OdbcColumn& column, bool descending,
                    std::size_t place) {
  terms.push_back({dialect.Quote(column.name), descending, column.nullable});
  kinds.push_back(column.place);
  places_.push_back(place);
}

std::string OdbcOrder::OrderText(const OdbcDialect& dialect, bool backward) const {
  std::string text;
  for (const OrderTerm& term : terms) {
    const bool descending = term.descending != backward;
    text.append(text.empty() ? " ORDER BY " : ", ").append(term.column);
    if (descending) text += " DESC";
    // What is never Null needs no word about it, which would keep the engine from its index.
    if (term.nullable) text += dialect.NullOrder(descending);
  }
  return text;
}

std::shared_ptr<const OdbcOrder> FindOdbcOrder(OdbcCatalog& catalog, const OdbcDialect& dialect,
                                               const RowShape& shape, std::string_view wanted) {
  auto order = std::make_shared<OdbcOrder>();
  const OdbcTableInfo& table = TableOf(shape).Info();
  if (!wanted.empty()) {
    const auto indexes = catalog.Indexes(table);
    auto index = std::ranges::find_if(
        indexes, [&](const OdbcIndex& i) { return EqualsIgnoreCase(i.name, wanted); });
    if (index == indexes.end() && EqualsIgnoreCase(wanted, kPrimaryKey)) {
      index = std::ranges::find(indexes, true, &OdbcIndex::primary);
    }
    if (index == indexes.end() || !index->whole) return nullptr;
    for (const OdbcIndex::Part& part : index->parts) {
      const auto column = std::ranges::find_if(
          shape.columns, [&](const Column& c) { return EqualsIgnoreCase(c.origin, part.column); });
      if (column == shape.columns.end()) return nullptr;
      order->Add(dialect, *table.FindColumn(part.column), part.descending,
                 static_cast<std::size_t>(column - shape.columns.begin()));
    }
    order->index_width_ = index->parts.size();
    if (index->primary) return order;
  }
  for (std::size_t i = 0; i < table.keys.size(); ++i) {
    order->Add(dialect, *table.FindColumn(table.keys[i]), false, shape.columns.size() + i);
  }
  return order;
}

}  // namespace qm
