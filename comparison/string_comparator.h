// The built-in string comparators. They compare characters of UTF-8 text as they are: upper-casing
// and trimming are the caller's matter. An empty side gives 0; equal texts give 1 under every
// comparator. Everything is computed in double precision in one fixed order of operations, so that
// a score is the same on every machine. Cost: the product of the two lengths.
#pragma once

#include <cstdint>
#include <string_view>

namespace qm {

enum BuiltInComparator : std::int32_t {
  kJaroWinkler = 0,       ///< prefix of at most 4, weight 0.1, only above 0.7
  kJaro = 1,              ///< window max/2 - 1, half of the mismatched positions
  kWinklerFull = 2,       ///< Winkler 1994: similar characters, long-string adjustment
  kAlignmentDistance = 3  ///< 1 - optimal string alignment distance / the longer length
};

/// Agreement, 0 to 1; any other parameter as `kJaroWinkler`.
double BuiltInCompare(std::string_view a, std::string_view b, std::int32_t parameter);

}  // namespace qm
