// OdbcTable: how the rows of one statement are found again in their table, and the statements that
// read and write them. OdbcOrder: an order in which a table is paged.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "dataaccess/order_stretches.h"
#include "dataaccess/plain_select.h"
#include "dataaccess/provider.h"
#include "dataaccess/providers/odbc/odbc_catalog.h"
#include "dataaccess/providers/odbc/odbc_dialect.h"

namespace qm {

class OdbcTable : public RowOrigin {
 public:
  OdbcTable(std::shared_ptr<const OdbcTableInfo> info, const OdbcDialect& dialect,
            const PlainSelect& plain);
  /// The whole table, all columns.
  OdbcTable(std::shared_ptr<const OdbcTableInfo> info, const OdbcDialect& dialect);

  std::size_t IdentityWidth() const override { return info_->keys.size(); }
  const OdbcTableInfo& Info() const { return *info_; }

  /// The statement's own text with the identity as trailing columns. `list` and table of a caller's
  /// statement are still as the caller wrote them.
  std::string WithIdentity(std::string_view rest, bool lock = false) const;
  std::string RowText(bool lock) const;
  std::string UpdateText(std::span<const ColumnChange> changes) const;
  /// The changed columns of a row and its identity.
  std::string ChangedText(std::span<const ColumnChange> changes) const;
  std::string InsertText(std::span<const ColumnChange> values, bool give_keys) const;
  std::string KeyOrder() const;

  const OdbcPlace& KeyPlace(std::size_t i) const;
  /// The columns that a change of these gives back, where the engine can.
  std::string ReturnedColumns(std::span<const ColumnChange> changes) const;

 private:
  std::string KeyList(bool qualified) const;
  std::string KeyTest() const;

  std::shared_ptr<const OdbcTableInfo> info_;
  const OdbcDialect& dialect_;
  std::string list_ = "*";
  std::string from_;       ///< with its alias
  std::string reference_;  ///< what qualifies its columns
  std::string target_;
};

class OdbcOrder : public RowOrder {
 public:
  const std::vector<std::size_t>& Places() const override { return places_; }
  std::size_t IndexWidth() const override { return index_width_; }

  std::vector<OrderTerm> terms;
  std::vector<OdbcPlace> kinds;  ///< of the terms' columns
  std::string OrderText(const OdbcDialect& dialect, bool backward) const;

 private:
  friend std::shared_ptr<const OdbcOrder> FindOdbcOrder(OdbcCatalog& catalog,
                                                        const OdbcDialect& dialect,
                                                        const RowShape& shape,
                                                        std::string_view index);
  void Add(const OdbcDialect& dialect, const OdbcColumn& column, bool descending,
           std::size_t place);

  std::vector<std::size_t> places_;
  std::size_t index_width_ = 0;
};

/// See `ProviderSession::FindOrder`.
std::shared_ptr<const OdbcOrder> FindOdbcOrder(OdbcCatalog& catalog, const OdbcDialect& dialect,
                                               const RowShape& shape, std::string_view index);

}  // namespace qm
