// The edge: every method of the component is one call inside `Guarded`, and no exception leaves it.
//
// A failure's number becomes the HRESULT (a number of the languages, below 65536, as 0x800A0000 +
// n; any other as it is), its source and description the thread's error information.
#pragma once

#include <cstdint>

#include "dataaccess/providers/automation/platform.h"

namespace qm::component {

/// What the exception in flight is to a client; leaves the thread's error information.
HRESULT ReportCurrentException(REFIID interface_id) noexcept;

HRESULT ResultOf(std::int32_t number) noexcept;

/// Run-time error 91 for a null where an object, a value or a place for a result is needed.
void RequireNotNull(const void* pointer);

/// The library computes amounts with the 64-bit mantissa of a long double, which the processor
/// gives up when the host asks it to, as Microsoft's C run-time does.
class FullPrecision {
 public:
  FullPrecision() {
    asm volatile("fnstcw %0" : "=m"(before_));
    const auto full = static_cast<std::uint16_t>(before_ | 0x300U);
    asm volatile("fldcw %0" : : "m"(full));
  }
  ~FullPrecision() { asm volatile("fldcw %0" : : "m"(before_)); }
  FullPrecision(const FullPrecision&) = delete;
  FullPrecision& operator=(const FullPrecision&) = delete;

 private:
  std::uint16_t before_ = 0;
};

template <typename Call>
HRESULT Guarded(REFIID interface_id, Call&& call) noexcept {
  const FullPrecision precision;
  try {
    call();
    return S_OK;
  } catch (...) {
    return ReportCurrentException(interface_id);
  }
}

/// A call that changes a client's variables: `write_back` runs on either way out of `body`.
template <typename WriteBack, typename Body>
auto WritingBack(WriteBack&& write_back, Body&& body) -> decltype(body()) {
  decltype(body()) result{};
  try {
    result = body();
  } catch (...) {
    write_back();
    throw;
  }
  write_back();
  return result;
}

}  // namespace qm::component
