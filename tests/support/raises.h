// The failure of an operation as one comparable text: number, source and description.
#pragma once

#include <string>

#include <qm/error.h>

namespace qm::test {

struct Failure {
  std::int32_t number = 0;
  std::string source;
  std::string description;
};

/// Number 0 when the operation raises nothing.
template <typename Operation>
Failure Raises(Operation&& operation) {
  try {
    operation();
  } catch (const Error& error) {
    return {error.number(), error.source(), error.description()};
  }
  return {};
}

}  // namespace qm::test
