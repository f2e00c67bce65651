// How assigned values are kept by an engine without types of their own: whole numbers and booleans
// (True is -1) as integers, Single, Double and Currency as reals, a date as the text
// `YYYY-MM-DD` or `YYYY-MM-DD HH:MM:SS`, Empty as Null.
#pragma once

#include <qm/variant.h>

namespace qm {

/// Null, Long, LongLong, Double or String; 3421 for an array or Nothing.
Variant StoredForm(const Variant& value);

/// Whether two stored values are the same: numbers by their value, all else as it stands.
bool SameStored(const Variant& a, const Variant& b);

}  // namespace qm
