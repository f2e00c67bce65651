// SqliteOrder: an order in which a table is paged, and the statement that reads one page of it.
//
// Behind a key (a, b, identity) stand the rows with the same a and b and a greater identity, then
// those with the same a and a greater b, then those with a greater a. Each of these stretches is
// one range of the index, so the page is their concatenation, in one statement, of which the engine
// runs only as many parts as the page needs. Null stands before every other value.
#pragma once

#include <memory>
#include <string>
#include <vector>

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
  struct Term {
    std::string column;  // quoted, with its collation
    bool descending = false;
    bool nullable = false;
  };
  struct Stretch {
    std::string test;
    std::vector<Variant> values;
  };

  bool AddIndex(SqliteSession& session, const RowShape& shape, std::string_view index);
  void Add(Term term, std::size_t place);
  static void Require(Stretch& stretch, const std::string& column, const char* comparison,
                      const Variant& value);
  Stretch EqualTo(RowIdentity key) const;
  std::vector<Stretch> Beyond(RowIdentity key, bool backward) const;
  std::string OrderText(bool backward) const;

  std::string index_name_;  // empty: the identity itself orders
  std::vector<Term> terms_;
  std::vector<std::size_t> places_;
  std::size_t index_width_ = 0;
};

/// See `ProviderSession::FindOrder`. Without an index it sends no statement.
std::shared_ptr<const SqliteOrder> FindSqliteOrder(SqliteSession& session, const RowShape& shape,
                                                   std::string_view index);

}  // namespace qm
