// Enumerator: what For Each walks, over values fixed when it was made.
#pragma once

#include <memory>
#include <vector>

#include "dataaccess/providers/automation/variant_conversion.h"

namespace qm::component {

/// Counted for the caller. Clones share the values.
IEnumVARIANT* MakeEnumerator(std::vector<PlatformVariant> values);

/// A value that holds one of the component's objects, taking the caller's reference over.
template <typename Object>
PlatformVariant Holding(Object* object) {
  PlatformVariant value;
  value.get().pdispVal = object;
  value.get().vt = VT_DISPATCH;
  return value;
}

}  // namespace qm::component
