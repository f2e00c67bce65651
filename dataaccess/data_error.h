// The data-access layer's own errors: one place for the words that go with each number.
#pragma once

#include <cstdint>
#include <string_view>

#include <qm/error.h>

namespace qm {

/// Raises a data-access error with its usual description; `detail` (a name, never a value) is
/// appended after a colon.
[[noreturn]] void RaiseData(std::int32_t number, std::string_view detail = {});

}  // namespace qm
