#include "dataaccess/order_stretches.h"

#include <utility>

namespace qm {

namespace {

void Require(OrderStretch& stretch, const std::string& column, const char* comparison,
             const Variant& value) {
  stretch.test.append(stretch.test.empty() ? " WHERE " : " AND ").append(column);
  stretch.test += comparison;
  if (value.IsNull()) return;
  stretch.test += "?";
  stretch.values.push_back(value);
}

OrderStretch EqualTo(const std::vector<OrderTerm>& terms, RowIdentity key) {
  OrderStretch stretch;
  for (std::size_t i = 0; i < key.size(); ++i) {
    Require(stretch, terms[i].column, key[i].IsNull() ? " IS NULL" : " = ", key[i]);
  }
  return stretch;
}

void AddBeyond(std::vector<OrderStretch>& stretches, const std::vector<OrderTerm>& terms,
               RowIdentity key, bool backward) {
  for (std::size_t i = key.size(); i-- > 0;) {
    const OrderTerm& term = terms[i];
    const bool upward = term.descending == backward;
    const bool from_null = key[i].IsNull();
    if (upward || !from_null) {
      OrderStretch& stretch = stretches.emplace_back(EqualTo(terms, key.first(i)));
      const char* comparison = upward ? (from_null ? " IS NOT NULL" : " > ") : " < ";
      Require(stretch, term.column, comparison, key[i]);
    }
    if (!upward && !from_null && term.nullable) {
      Require(stretches.emplace_back(EqualTo(terms, key.first(i))), term.column, " IS NULL",
              Variant::Null());
    }
  }
}

}  // namespace

std::vector<OrderStretch> StretchesOf(const std::vector<OrderTerm>& terms, PageRange range,
                                      RowIdentity key) {
  std::vector<OrderStretch> stretches;
  if (range.equal) stretches.push_back(EqualTo(terms, key));
  if (range.beyond) AddBeyond(stretches, terms, key, range.backward);
  return stretches;
}

}  // namespace qm
