// Jaro and Winkler's comparison as it is written by hand everywhere, two loops over two short
// texts: what the comparators' times are measured against.
#pragma once

#include <algorithm>
#include <string_view>

namespace qm::bench {

/// Texts of at most 64 bytes.
inline double PlainTwoLoops(std::string_view a, std::string_view b) {
  const int size_a = static_cast<int>(a.size());
  const int size_b = static_cast<int>(b.size());
  if (size_a == 0 || size_b == 0) return 0;
  const int window = std::max(std::max(size_a, size_b) / 2 - 1, 0);
  bool matched_a[64] = {};
  bool matched_b[64] = {};
  int common = 0;
  for (int i = 0; i < size_a; ++i) {
    const int end = std::min(size_b, i + window + 1);
    for (int j = std::max(0, i - window); j < end; ++j) {
      if (matched_b[j] || a[i] != b[j]) continue;
      matched_a[i] = matched_b[j] = true;
      ++common;
      break;
    }
  }
  if (common == 0) return 0;
  int transposed = 0;
  for (int i = 0, j = 0; i < size_a; ++i) {
    if (!matched_a[i]) continue;
    while (!matched_b[j]) ++j;
    transposed += a[i] != b[j++] ? 1 : 0;
  }
  const double m = common;
  double score = (m / size_a + m / size_b + (m - transposed / 2) / m) / 3;
  if (score > 0.7) {
    int prefix = 0;
    while (prefix < 4 && prefix < size_a && prefix < size_b && a[prefix] == b[prefix]) ++prefix;
    score += 0.1 * prefix * (1 - score);
  }
  return score;
}

}  // namespace qm::bench
