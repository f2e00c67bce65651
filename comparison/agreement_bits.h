// The counting of two short texts from their table of bits, `rows` (short_text.h): one word a
// character of the right text, without a branch on what the texts hold. Rows behind the end of the
// right text are empty.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "comparison/comparator_formulas.h"
#include "comparison/short_text.h"

namespace qm {

// For each window and each place of the right text, the places of the left one within reach.
inline constexpr auto kWithinReach = [] {
  constexpr std::size_t kLongest = ShortText::kMost;
  std::array<std::array<std::uint32_t, kLongest>, kLongest / 2> table{};
  for (std::size_t window = 0; window < table.size(); ++window) {
    for (std::size_t j = 0; j < kLongest; ++j) {
      const std::uint64_t reach = (std::uint64_t{2} << (2 * window)) - 1;
      table[window][j] = static_cast<std::uint32_t>((reach << j) >> window);
    }
  }
  return table;
}();

inline std::size_t CountBits(std::uint32_t bits) {
  bits -= (bits >> 1U) & 0x55555555U;
  bits = (bits & 0x33333333U) + ((bits >> 2U) & 0x33333333U);
  return (((bits + (bits >> 4U)) & 0x0F0F0F0FU) * 0x01010101U) >> 24U;
}

inline std::uint32_t LowestBit(std::uint32_t bits) { return bits & (0U - bits); }

template <std::size_t kSize>
struct BitAgreement {
  std::size_t common = 0;
  std::size_t transposed = 0;
  std::uint32_t matched = 0;                ///< places of the left text
  std::array<std::uint32_t, kSize> chosen;  ///< for each place of the right text its partner, or 0
};

/// The greedy choice of the plain comparator gives the same pairs from either side, since for each
/// character both lists of places are paired off in order. So the right text is gone through here.
template <std::size_t kSize>
BitAgreement<kSize> FindBitAgreement(const AgreementRows<kSize>& rows, std::size_t size_a,
                                     std::size_t size_b) {
  const auto& reach = kWithinReach[AgreementWindow(size_a, size_b)];
  BitAgreement<kSize> result;
  std::uint32_t matched = 0;
  std::uint32_t disorder = 0;
  for (std::size_t j = 0; j < kSize; ++j) {
    const std::uint32_t free = rows[j] & reach[j] & ~matched;
    result.chosen[j] = LowestBit(free);
    disorder |= matched & (0U - free);
    matched |= result.chosen[j];
  }
  result.common = CountBits(matched);
  result.matched = matched;
  if (disorder == 0) return result;
  std::uint32_t mismatched = 0;
  for (std::size_t j = 0; j < kSize; ++j) {
    const std::uint32_t next = result.chosen[j] != 0 ? LowestBit(matched) : 0;
    matched ^= next;
    mismatched += (next & ~rows[j]) != 0 ? 1U : 0U;
  }
  result.transposed = mismatched / 2;
  return result;
}

/// Optimal string alignment, a column of the matrix of distances in each round, its steps from cell
/// to cell as bits: `plus` where the next cell below is one more, `minus` where it is one less.
/// (H. Hyyrö, 2003)
template <std::size_t kSize>
std::size_t BitAlignmentDistance(const AgreementRows<kSize>& rows, std::size_t size_a,
                                 std::size_t size_b) {
  std::uint32_t plus = ~0U;
  std::uint32_t minus = 0;
  std::uint32_t diagonal = 0;
  std::uint32_t row_before = 0;
  for (std::size_t j = 0; j < size_b; ++j) {
    const std::uint32_t row = rows[j];
    const std::uint32_t swapped = ((~diagonal & row) << 1U) & row_before;
    diagonal = (((row & plus) + plus) ^ plus) | row | minus | swapped;
    const std::uint32_t right_plus = (minus | ~(diagonal | plus)) << 1U | 1U;
    const std::uint32_t right_minus = (diagonal & plus) << 1U;
    plus = right_minus | ~(diagonal | right_plus);
    minus = right_plus & diagonal;
    row_before = row;
  }
  const std::uint32_t all = (1U << size_a) - 1;
  return size_b + CountBits(plus & all) - CountBits(minus & all);
}

}  // namespace qm
