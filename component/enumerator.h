// Enumerator: what For Each walks, over values fixed when it was made.
#pragma once

#include <memory>
#include <vector>

#include "dataaccess/providers/automation/variant_conversion.h"

namespace qm::component {

/// Counted for the caller. Clones share the values.
IEnumVARIANT* MakeEnumerator(std::vector<PlatformVariant> values);

}  // namespace qm::component
