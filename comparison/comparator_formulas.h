// What the counts that the comparators take are worth, in one fixed order of operations: the plain
// comparators, the quick ones and the tables of the dictionary all compute a score here, so that it
// is the same to the last bit whichever way it was counted.
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>

namespace qm {

inline constexpr std::size_t kLongestPrefix = 4;

/// How two texts agree. `common` counts the characters that agree within the window, `transposed`
/// half of those out of order, `similar` the pairs that hand and ear confuse among the others.
struct Agreement {
  std::size_t common = 0;
  std::size_t transposed = 0;
  std::size_t similar = 0;
};

/// The window within which characters agree: so many places to either side.
constexpr std::size_t AgreementWindow(std::size_t size_a, std::size_t size_b) {
  return std::max<std::size_t>(std::max(size_a, size_b) / 2, 1) - 1;
}

inline double JaroScore(const Agreement& agreement, std::size_t size_a, std::size_t size_b) {
  if (agreement.common == 0) return 0;
  const auto common = static_cast<double>(agreement.common);
  const double credited =
      agreement.similar == 0 ? common : 3.0 * static_cast<double>(agreement.similar) / 10 + common;
  const double in_order = common - static_cast<double>(agreement.transposed);
  return (credited / static_cast<double>(size_a) + credited / static_cast<double>(size_b) +
          in_order / common) /
         3;
}

/// A score above 0.7 grows with the common prefix.
inline bool PrefixCounts(double score) { return score > 0.7; }
inline double AddPrefix(double score, std::size_t prefix) {
  return score + 0.1 * static_cast<double>(prefix) * (1 - score);
}

inline double JaroWinklerScore(double jaro, std::size_t prefix) {
  return PrefixCounts(jaro) ? AddPrefix(jaro, prefix) : jaro;
}

/// Long texts that agree in more than the prefix deserve more than their errors cost them, unless
/// they begin with a digit. `prefix` stops at a digit.
inline double WinklerFullScore(double jaro, std::size_t common, std::size_t prefix,
                               std::size_t size_a, std::size_t size_b, bool digit_first) {
  if (!PrefixCounts(jaro)) return jaro;
  const double score = AddPrefix(jaro, prefix);
  const std::size_t shorter = std::min(size_a, size_b);
  if (shorter <= 4 || common <= prefix + 1 || 2 * common < shorter + prefix || digit_first) {
    return score;
  }
  return score + (1 - score) * static_cast<double>(common - prefix - 1) /
                     static_cast<double>(size_a + size_b - 2 * prefix + 2);
}

inline double DistanceScore(std::size_t distance, std::size_t size_a, std::size_t size_b) {
  const auto longer = static_cast<double>(std::max(size_a, size_b));
  return (longer - static_cast<double>(distance)) / longer;
}

/// Whether hand and ear confuse two characters.
inline constexpr std::array<const char*, 36> kSimilarPairs = {
    "AE", "AI", "AO", "AU", "BV", "EI", "EO", "EU", "IO", "IU", "OU", "IY",
    "EY", "CG", "EF", "WU", "WV", "XK", "SZ", "XS", "QC", "UV", "MN", "LI",
    "QO", "PR", "IJ", "2Z", "5S", "8B", "1I", "1L", "0O", "0Q", "CK", "GJ"};
inline constexpr std::size_t kSimilarLimit = 'Z' + 1;
/// A bit for each character that one is similar to, counted from '0'.
inline constexpr auto kSimilar = [] {
  std::array<std::uint64_t, kSimilarLimit> table{};
  for (const char* pair : kSimilarPairs) {
    const auto x = static_cast<unsigned char>(pair[0]);
    const auto y = static_cast<unsigned char>(pair[1]);
    table[x] |= std::uint64_t{1} << (y - '0');
    table[y] |= std::uint64_t{1} << (x - '0');
  }
  return table;
}();
inline constexpr bool AreSimilar(std::uint32_t x, std::uint32_t y) {
  return x < kSimilarLimit && y < kSimilarLimit && y >= '0' &&
         ((kSimilar[x] >> (y - '0')) & 1U) != 0;
}

inline constexpr bool IsDigitCode(std::uint32_t c) { return c >= '0' && c <= '9'; }

}  // namespace qm
