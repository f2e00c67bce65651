// The data-access layer's own errors: one place for the words that go with each number.
#pragma once

#include <cstdint>
#include <string_view>

#include <qm/error.h>

namespace qm {

/// Raises a data-access error with its usual description; `detail` (a name, never a value) is
/// appended after a colon.
[[noreturn]] void RaiseData(std::int32_t number, std::string_view detail = {});

/// How a provider begins to say that its server is gone; what the engine says of it may follow.
/// The failure has the number kErrEngine and an engine's code.
inline constexpr std::string_view kConnectionLost = "the connection to the server is lost";

/// Whether a failure, also one raised again under another number, says so.
bool IsConnectionLost(const Error& failure);

}  // namespace qm
