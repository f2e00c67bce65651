#include "comparison/score_tables.h"

#include <qm/conversions.h>

#include "comparison/string_comparator.h"

namespace qm {

std::uint8_t Percent(double agreement) {
  return static_cast<std::uint8_t>(RoundHalfEven(agreement * 100));
}

PlaceCounts CountsAt(std::size_t place, std::size_t size_a, std::size_t size_b) {
  const std::size_t step = SimilarStep(size_a, size_b);
  PlaceCounts counts;
  counts.agreement.similar = place / step;
  counts.prefix = place % step % (kLongestPrefix + 1);
  auto& [common, transposed, similar] = counts.agreement;
  while (AgreementPlace(common + 1, 0, 0) <= place % step) ++common;
  transposed = (place % step - AgreementPlace(common, 0, 0)) / (kLongestPrefix + 1);
  return counts;
}

const ScoreTables& ScoreTables::For(std::int32_t parameter) {
  static const ScoreTables winkler(kJaroWinkler);
  if (parameter == kJaro) {
    static const ScoreTables jaro(kJaro);
    return jaro;
  }
  if (parameter == kAlignmentDistance) {
    static const ScoreTables distance(kAlignmentDistance);
    return distance;
  }
  return winkler;
}

// The scores are the same whichever text is the longer.
ScoreTables::ScoreTables(std::int32_t parameter) {
  for (std::size_t longer = 1; longer <= kMost; ++longer) {
    for (std::size_t shorter = 1; shorter <= longer; ++shorter) {
      const auto start = static_cast<std::uint32_t>(scores_.size());
      starts_[longer * (kMost + 1) + shorter] = starts_[shorter * (kMost + 1) + longer] = start;
      if (parameter == kAlignmentDistance) {
        for (std::size_t distance = 0; distance <= longer; ++distance) {
          scores_.push_back(DistanceScore(distance, longer, shorter));
        }
        continue;
      }
      for (std::size_t common = 0; common <= shorter; ++common) {
        for (std::size_t transposed = 0; transposed <= common / 2; ++transposed) {
          const double jaro = JaroScore({common, transposed, 0}, longer, shorter);
          for (std::size_t prefix = 0; prefix <= kLongestPrefix; ++prefix) {
            scores_.push_back(parameter == kJaro ? jaro : JaroWinklerScore(jaro, prefix));
          }
        }
      }
    }
  }
  percents_.resize(scores_.size());
  std::transform(scores_.begin(), scores_.end(), percents_.begin(), Percent);
}

}  // namespace qm
