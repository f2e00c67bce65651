#include "dataaccess/providers/sqlite/sqlite_order.h"

#include <algorithm>
#include <iterator>
#include <utility>

#include "dataaccess/providers/sqlite/sqlite_session.h"
#include "dataaccess/providers/sqlite/sqlite_statement.h"
#include "runtime/text.h"

namespace qm {

namespace {

constexpr std::string_view kPrimaryKey = "PrimaryKey";

const SqliteTable& TableOf(const RowShape& shape) {
  return static_cast<const SqliteTable&>(*shape.origin);
}

// The engine's name of the index; empty when there is none of that name.
std::string FindIndex(SqliteSession& session, const std::string& table, std::string_view index) {
  SqliteStatement statement(session,
                            "SELECT name, origin FROM pragma_index_list(?) WHERE partial = 0");
  statement.Bind(table);
  std::string key;
  while (statement.Step()) {
    std::string name = statement.Value(0).Get<std::string>();
    if (EqualsIgnoreCase(name, index)) return name;
    if (statement.Value(1) == Variant("pk")) key = std::move(name);
  }
  return EqualsIgnoreCase(index, kPrimaryKey) ? key : std::string();
}

// A key that is the row number itself has no index beside the table.
bool IdentityIsKey(SqliteSession& session, const SqliteTable& table) {
  SqliteStatement statement(session, "SELECT count(*) FROM pragma_table_info(?) WHERE pk > 0");
  statement.Bind(table.name);
  return table.keys.size() == 1 && statement.Step() && statement.Value(0) == Variant(1);
}

}  // namespace

std::shared_ptr<const SqliteOrder> FindSqliteOrder(SqliteSession& session, const RowShape& shape,
                                                   std::string_view index) {
  auto order = std::make_shared<SqliteOrder>();
  if (!index.empty() && !order->AddIndex(session, shape, index)) return nullptr;
  const std::vector<std::string>& keys = TableOf(shape).keys;
  for (std::size_t i = 0; i < keys.size(); ++i) {
    order->Add({.column = keys[i]}, shape.columns.size() + i);
  }
  return order;
}

bool SqliteOrder::AddIndex(SqliteSession& session, const RowShape& shape, std::string_view index) {
  const SqliteTable& table = TableOf(shape);
  index_name_ = FindIndex(session, table.name, index);
  if (index_name_.empty()) {
    if (!EqualsIgnoreCase(index, kPrimaryKey) || !IdentityIsKey(session, table)) return false;
    index_width_ = 1;
    return true;
  }
  SqliteStatement statement(session,
                            "SELECT name, \"desc\", coll FROM pragma_index_xinfo(?)"
                            " WHERE key = 1 ORDER BY seqno");
  statement.Bind(index_name_);
  while (statement.Step()) {
    const Variant name = statement.Value(0);
    const auto column = std::find_if(
        shape.columns.begin(), shape.columns.end(),
        [&](const Column& c) { return name.IsText() && c.origin == name.Get<std::string>(); });
    if (column == shape.columns.end()) return false;
    Add({.column = QuoteName(column->origin) + " COLLATE " +
                   QuoteName(statement.Value(2).Get<std::string>()),
         .descending = statement.Value(1) == Variant(1),
         .nullable = true},
        static_cast<std::size_t>(column - shape.columns.begin()));
  }
  index_width_ = terms_.size();
  return index_width_ > 0;
}

void SqliteOrder::Add(OrderTerm term, std::size_t place) {
  terms_.push_back(std::move(term));
  places_.push_back(place);
}

std::string SqliteOrder::OrderText(bool backward) const {
  std::string text;
  for (const OrderTerm& term : terms_) {
    text.append(text.empty() ? " ORDER BY " : ", ").append(term.column);
    if (term.descending != backward) text += " DESC";
  }
  return text + " LIMIT ?";
}

SqliteOrder::PageQuery SqliteOrder::Page(const SqliteTable& table, PageRange range, RowIdentity key,
                                         int count) const {
  std::vector<OrderStretch> stretches = StretchesOf(terms_, range, key);
  // The planner might rather sort a small page than follow the index.
  const std::string start = index_name_.empty() ? "" : " INDEXED BY " + QuoteName(index_name_);
  const std::string order = OrderText(range.backward);
  PageQuery query;
  for (OrderStretch& stretch : stretches) {
    std::string rest = start;
    rest.append(stretch.test).append(order);
    const std::string part = table.WithIdentity(rest);
    if (stretches.size() == 1) {
      query.text = part;
    } else {
      query.text.append(query.text.empty() ? "" : " UNION ALL ");
      query.text.append("SELECT * FROM (").append(part).append(")");
    }
    std::move(stretch.values.begin(), stretch.values.end(), std::back_inserter(query.values));
    query.values.emplace_back(count);
  }
  if (stretches.size() > 1) {
    query.text += " LIMIT ?";
    query.values.emplace_back(count);
  }
  return query;
}

}  // namespace qm
