// ScoreTables: every score that two texts of given lengths can have, by what was counted. Who
// compares thousands of texts counts in vector registers and reads the score here; the tables come
// from the comparators' own formulas.
//
// A count is written as one number, its place: for the alignment distance the distance itself, for
// the others `AgreementPlace`. Tables are made once a process, at the first use (a millisecond),
// and may be read by many threads.
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "comparison/comparator_formulas.h"
#include "comparison/short_text.h"

namespace qm {

/// Five places for the common prefixes of 0 to 4, within them for each half-count of transposed
/// characters up to half of the common ones, within them for each count of common characters.
constexpr std::size_t AgreementPlace(std::size_t common, std::size_t transposed,
                                     std::size_t prefix) {
  return 5 * ((common + 1) * (common + 1) / 4 + transposed) + prefix;
}

/// A place that counts similar characters too has this added for each of them; it is one more than
/// the last place without them.
constexpr std::size_t SimilarStep(std::size_t size_a, std::size_t size_b) {
  return AgreementPlace(std::min(size_a, size_b) + 1, 0, 0);
}

/// What was counted at a place of two texts, similar characters too.
struct PlaceCounts {
  Agreement agreement;
  std::size_t prefix = 0;
};
PlaceCounts CountsAt(std::size_t place, std::size_t size_a, std::size_t size_b);

/// An agreement in hundredths, rounded as the scorer of match rules rounds it.
std::uint8_t Percent(double agreement);

class ScoreTables {
 public:
  /// Of `kJaroWinkler`, `kJaro` or `kAlignmentDistance`; any other parameter as `kJaroWinkler`.
  static const ScoreTables& For(std::int32_t parameter);

  /// Sizes from 1 to 24. Of the two lengths' table, from place 0.
  const double* Scores(std::size_t size_a, std::size_t size_b) const {
    return scores_.data() + Start(size_a, size_b);
  }
  const std::uint8_t* Percents(std::size_t size_a, std::size_t size_b) const {
    return percents_.data() + Start(size_a, size_b);
  }

 private:
  static constexpr std::size_t kMost = ShortText::kMost;

  explicit ScoreTables(std::int32_t parameter);
  std::size_t Start(std::size_t size_a, std::size_t size_b) const {
    return starts_[size_a * (kMost + 1) + size_b];
  }

  std::array<std::uint32_t, (kMost + 1) * (kMost + 1)> starts_{};
  std::vector<double> scores_;
  std::vector<std::uint8_t> percents_;
};

}  // namespace qm
