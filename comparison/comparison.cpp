#include "comparison/comparison.h"

#include <cstddef>

#include "comparison/comparison_library.h"
#include "comparison/soundex.h"
#include "comparison/string_comparator.h"
#include "runtime/text.h"

namespace qm {

namespace {
constexpr std::size_t kNameBuffer = 40;
}

double CompareStrings(std::string_view a, std::string_view b, std::int32_t parameter) {
  const ComparisonLibrary* const library = FindComparisonLibrary();
  return library != nullptr ? library->Compare(a, b, parameter) : BuiltInCompare(a, b, parameter);
}

std::string SoundexCode(std::string_view name) {
  const ComparisonLibrary* const library = FindComparisonLibrary();
  return library != nullptr ? library->Soundex(name) : BuiltInSoundex(name);
}

std::string PaddedSoundexCode(std::string_view name) {
  std::string buffer(CharacterSlice(name, 0, kNameBuffer));
  buffer.append(kNameBuffer - CharacterCount(buffer), ' ');
  return SoundexCode(buffer);
}

}  // namespace qm
