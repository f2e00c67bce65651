// An order of rows as conditions: what stands behind a key, as ranges of the order's index.
//
// Behind a key (a, b, identity) stand the rows with the same a and b and a greater identity, then
// those with the same a and a greater b, then those with a greater a. Each of these stretches is
// one range of the index; all of them, one after the other, are the rows behind the key in their
// order. Null stands before every other value.
#pragma once

#include <string>
#include <vector>

#include "dataaccess/provider.h"

namespace qm {

/// One column of an order, as statements write it.
struct OrderTerm {
  std::string column;
  bool descending = false;
  bool nullable = false;
};

/// One range: its condition (" WHERE …", or empty) and the values of its parameters.
struct OrderStretch {
  std::string test;
  std::vector<Variant> values;
};

/// The stretches of a page, in the order in which their rows come.
std::vector<OrderStretch> StretchesOf(const std::vector<OrderTerm>& terms, PageRange range,
                                      RowIdentity key);

}  // namespace qm
