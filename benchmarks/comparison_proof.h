// The proof that the quick comparisons give what the plain one gives, to the last bit: over as many
// pairs as one has time for.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace qm::bench {

struct ProofResult {
  std::int64_t compared = 0;
  std::int64_t different = 0;
  std::string example;  ///< of a difference
};

/// At least so many comparisons, seeded, with the names in random pairs, with miswritten ones and
/// with texts of every kind: two texts with nothing prepared, one prepared, and a dictionary with
/// each kernel of this processor, under every comparator.
ProofResult ProveComparisons(const std::vector<std::string>& names, std::int64_t comparisons);

}  // namespace qm::bench
