// The comparison of strings and the phonetic code of names that matching works with: the external
// comparison library's two functions when one is there, the built-in ones otherwise.
//
// The library is looked for once a process, at the first use: at the path set with
// `SetComparisonLibrary`, else beside the component. A path that was set and gives no library with
// both functions is an error that names it.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace qm {

/// Agreement of two strings as a proportion, 0 to 1. `parameter` goes to the library unchanged;
/// the built-in comparator: 0 Jaro-Winkler, 1 Jaro, 2 Winkler's full comparator, 3 normalised
/// optimal-string-alignment distance; any other value as 0.
double CompareStrings(std::string_view a, std::string_view b, std::int32_t parameter);

/// Phonetic code of a name as it is given.
std::string SoundexCode(std::string_view name);

/// As `SoundexCode`, the name left-aligned in a blank-padded buffer of 40 characters.
std::string PaddedSoundexCode(std::string_view name);

}  // namespace qm
