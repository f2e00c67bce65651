// The built-in string comparators. They compare characters of UTF-8 text as they are: upper-casing
// and trimming are the caller's matter. An empty side gives 0; equal texts give 1 under every
// comparator. Everything is computed in double precision in one fixed order of operations, so that
// a score is the same on every machine and by either function here.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace qm {

enum BuiltInComparator : std::int32_t {
  kJaroWinkler = 0,       ///< prefix of at most 4, weight 0.1, only above 0.7
  kJaro = 1,              ///< window max/2 - 1, half of the mismatched positions
  kWinklerFull = 2,       ///< Winkler 1994: similar characters, long-string adjustment
  kAlignmentDistance = 3  ///< 1 - optimal string alignment distance / the longer length
};

/// Agreement, 0 to 1; any other parameter as `kJaroWinkler`. ASCII texts of at most 24 characters
/// are compared bit by bit in machine words, all others as `PlainCompare` does; whoever compares
/// one text with many prepares it (prepared_comparator.h).
double BuiltInCompare(std::string_view a, std::string_view b, std::int32_t parameter);

/// The same score, counted character by character: for texts of every kind, and what the quick ways
/// are measured against and proved by. Cost: the product of the two lengths.
double PlainCompare(std::string_view a, std::string_view b, std::int32_t parameter);

/// One number a character: its UTF-8 bytes packed, which tells characters apart as well as code
/// points do and leaves ASCII as it is.
std::u32string Characters(std::string_view text);

}  // namespace qm
