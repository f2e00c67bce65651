#include "comparison/prepared_comparator.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstddef>

#include "comparison/comparator_formulas.h"
#include "comparison/string_comparator.h"

namespace qm {

namespace {

constexpr std::size_t kMost = ShortText::kMost;

// For each window and each place of the right text, the places of the left one within reach.
constexpr auto kWithinReach = [] {
  std::array<std::array<std::uint32_t, kMost>, kMost / 2> table{};
  for (std::size_t window = 0; window < table.size(); ++window) {
    for (std::size_t j = 0; j < kMost; ++j) {
      const std::uint64_t reach = (std::uint64_t{2} << (2 * window)) - 1;
      table[window][j] = static_cast<std::uint32_t>((reach << j) >> window);
    }
  }
  return table;
}();

std::size_t CountBits(std::uint32_t bits) {
  bits -= (bits >> 1U) & 0x55555555U;
  bits = (bits & 0x33333333U) + ((bits >> 2U) & 0x33333333U);
  return (((bits + (bits >> 4U)) & 0x0F0F0F0FU) * 0x01010101U) >> 24U;
}

std::uint32_t LowestBit(std::uint32_t bits) { return bits & (0U - bits); }

// Each unmatched character of the left text, in order, with the first free similar one of the
// right.
std::size_t CountSimilar(const ShortText& a, const ShortText& b, std::uint32_t free_a,
                         std::uint32_t free_b) {
  std::size_t similar = 0;
  for (; free_a != 0 && free_b != 0; free_a &= free_a - 1) {
    const std::uint32_t character = a[static_cast<std::size_t>(std::countr_zero(free_a))];
    for (std::uint32_t rest = free_b; rest != 0; rest &= rest - 1) {
      if (AreSimilar(character, b[static_cast<std::size_t>(std::countr_zero(rest))])) {
        free_b ^= LowestBit(rest);
        ++similar;
        break;
      }
    }
  }
  return similar;
}

// The greedy choice of the plain comparator gives the same pairs from either side, since for each
// character both lists of places are paired off in order. So the right text is gone through here.
template <std::size_t kSize>
Agreement FindAgreement(const ShortText& a, const ShortText& b, bool count_similar) {
  const AgreementRows<kSize> rows = FastRows<kSize>(a, b);
  const auto& reach = kWithinReach[AgreementWindow(a.size(), b.size())];
  std::array<std::uint32_t, kSize> chosen;
  std::uint32_t matched = 0;
  std::uint32_t disorder = 0;
  for (std::size_t j = 0; j < kSize; ++j) {
    const std::uint32_t free = rows[j] & reach[j] & ~matched;
    chosen[j] = LowestBit(free);
    disorder |= matched & (0U - free);
    matched |= chosen[j];
  }
  Agreement result;
  result.common = CountBits(matched);
  if (disorder != 0) {
    std::uint32_t rest = matched;
    std::uint32_t mismatched = 0;
    for (std::size_t j = 0; j < kSize; ++j) {
      const std::uint32_t next = chosen[j] != 0 ? LowestBit(rest) : 0;
      rest ^= next;
      mismatched += (next & ~rows[j]) != 0 ? 1U : 0U;
    }
    result.transposed = mismatched / 2;
  }
  if (count_similar && result.common < std::min(a.size(), b.size())) {
    std::uint32_t free_b = 0;
    for (std::size_t j = 0; j < b.size(); ++j) free_b |= (chosen[j] == 0 ? 1U : 0U) << j;
    result.similar = CountSimilar(a, b, ~matched & ((1U << a.size()) - 1), free_b);
  }
  return result;
}

// The places behind the ends differ, so they end the prefix too.
std::size_t CommonPrefix(const ShortText& a, const ShortText& b) {
  const std::uint64_t different = a.word(0) ^ b.word(0);
  return static_cast<std::size_t>(std::countr_zero(different | std::uint64_t{1} << 32U)) / 8;
}

std::size_t PrefixUpToDigit(const ShortText& a, const ShortText& b) {
  const std::size_t prefix = CommonPrefix(a, b);
  std::size_t length = 0;
  while (length < prefix && !IsDigitCode(a[length])) ++length;
  return length;
}

// Optimal string alignment, a column of the matrix of distances in each round, its steps from cell
// to cell as bits: `plus` where the next cell below is one more, `minus` where it is one less.
// (H. Hyyrö, 2003)
template <std::size_t kSize>
std::size_t AlignmentDistance(const ShortText& a, const ShortText& b) {
  const AgreementRows<kSize> rows = FastRows<kSize>(a, b);
  std::uint32_t plus = ~0U;
  std::uint32_t minus = 0;
  std::uint32_t diagonal = 0;
  std::uint32_t row_before = 0;
  for (std::size_t j = 0; j < b.size(); ++j) {
    const std::uint32_t row = rows[j];
    const std::uint32_t swapped = ((~diagonal & row) << 1U) & row_before;
    diagonal = (((row & plus) + plus) ^ plus) | row | minus | swapped;
    const std::uint32_t right_plus = (minus | ~(diagonal | plus)) << 1U | 1U;
    const std::uint32_t right_minus = (diagonal & plus) << 1U;
    plus = right_minus | ~(diagonal | right_plus);
    minus = right_plus & diagonal;
    row_before = row;
  }
  const std::uint32_t all = (1U << a.size()) - 1;
  return b.size() + CountBits(plus & all) - CountBits(minus & all);
}

template <std::size_t kSize>
double CompareSized(const ShortText& a, const ShortText& b, std::int32_t parameter) {
  if (parameter == kAlignmentDistance) {
    return DistanceScore(AlignmentDistance<kSize>(a, b), a.size(), b.size());
  }
  const Agreement agreement = FindAgreement<kSize>(a, b, parameter == kWinklerFull);
  const double jaro = JaroScore(agreement, a.size(), b.size());
  if (parameter == kJaro) return jaro;
  if (parameter != kWinklerFull) return JaroWinklerScore(jaro, CommonPrefix(a, b));
  return WinklerFullScore(jaro, agreement.common, PrefixUpToDigit(a, b), a.size(), b.size(),
                          IsDigitCode(a[0]));
}

double CompareShort(const ShortText& a, const ShortText& b, std::int32_t parameter) {
  if (a.size() == 0 || b.size() == 0) return 0;
  const std::size_t longer = std::max(a.size(), b.size());
  if (longer <= 8) return CompareSized<8>(a, b, parameter);
  return longer <= 16 ? CompareSized<16>(a, b, parameter) : CompareSized<kMost>(a, b, parameter);
}

}  // namespace

PreparedComparator::PreparedComparator(std::string_view text, std::int32_t parameter)
    : text_(text), parameter_(parameter), is_short_(short_text_.Assign(text_, ShortText::kLeft)) {}

double PreparedComparator::Compare(std::string_view other) const {
  ShortText right;
  if (is_short_ && right.Assign(other, ShortText::kRight)) {
    return CompareShort(short_text_, right, parameter_);
  }
  return PlainCompare(text_, other, parameter_);
}

double BuiltInCompare(std::string_view a, std::string_view b, std::int32_t parameter) {
  ShortText left;
  ShortText right;
  if (left.Assign(a, ShortText::kLeft) && right.Assign(b, ShortText::kRight)) {
    return CompareShort(left, right, parameter);
  }
  return PlainCompare(a, b, parameter);
}

}  // namespace qm
