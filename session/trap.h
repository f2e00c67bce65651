// How an operation that traps its failures does it: whatever fails inside leaves as the library's
// own number and source, with the description, engine code and statement of the failure itself.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include <qm/error.h>

namespace qm {

/// Runs the operation; a failure is raised as kObjectErrorBase + `number` from that source.
template <typename Operation>
auto Trap(std::int32_t number, std::string_view source, Operation&& operation)
    -> decltype(operation()) {
  try {
    return operation();
  } catch (const Error& failure) {
    throw failure.As(kObjectErrorBase + number, std::string(source));
  }
}

}  // namespace qm
