// Numbers as text: reading what stands in a field or a literal, and writing values the way the
// platform shows them, without regard to the machine's locale.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace qm {

struct NumberText {
  double value = 0;
  /// The digits of a &H or &O text, which a 16- or 32-bit target takes as its bit pattern.
  std::optional<std::uint64_t> bits;
};

/// Reads a whole text by the rules of `IsNumeric` (<qm/conversions.h>); nothing when it is no
/// number. A number too large for a double reads as infinity.
std::optional<NumberText> ReadNumber(std::string_view text);

/// The same number as ten-thousandths, rounded once, halves to the even neighbour; nothing also for
/// a &H or &O text. Fails with error 6 outside of 64 bits.
std::optional<std::int64_t> ReadTenThousandths(std::string_view text);

/// At most `digits` significant digits and as many places behind the point, no trailing zeros;
/// otherwise an exponent, as in "1E+15", "1.5E-07", "8.33333333333333E-02".
std::string RealText(double value, int digits);
/// Ten-thousandths as an amount: "12.5", "-0.0001".
std::string ScaledText(std::int64_t ten_thousandths);

}  // namespace qm
