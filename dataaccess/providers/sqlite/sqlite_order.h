// SqliteOrder: an order in which a table is paged, and the statement that reads one page of it.
//
// The stretches of a page are ranges of the index, so the page is their concatenation, in one
// statement, of which the engine runs only as many parts as the page needs.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "dataaccess/order_stretches.h"
#include "dataaccess/provider.h"
#include "dataaccess/providers/sqlite/sqlite_table.h"

namespace qm {

class SqliteOrder : public RowOrder {
 public:
  const std::vector<std::size_t>& Places() const override { return places_; }
  std::size_t IndexWidth() const override { return index_width_; }

  struct PageQuery {
    std::string text;             ///< empty when no row can stand there
    std::vector<Variant> values;  ///< of its parameters, in their order
  };
  PageQuery Page(const SqliteTable& table, PageRange range, RowIdentity key, int count) const;

 private:
  friend std::shared_ptr<const SqliteOrder> FindSqliteOrder(SqliteSession& session,
                                                            const RowShape& shape,
                                                            std::string_view index);
  bool AddIndex(SqliteSession& session, const RowShape& shape, std::string_view index);
  void Add(OrderTerm term, std::size_t place);
  std::string OrderText(bool backward) const;

  std::string index_name_;        // empty: the identity itself orders
  std::vector<OrderTerm> terms_;  // columns are quoted, with their collation
  std::vector<std::size_t> places_;
  std::size_t index_width_ = 0;
};

/// See `ProviderSession::FindOrder`. Without an index it sends no statement.
std::shared_ptr<const SqliteOrder> FindSqliteOrder(SqliteSession& session, const RowShape& shape,
                                                   std::string_view index);

}  // namespace qm
