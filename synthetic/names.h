// Names: draws surnames and first names by their frequency, and knows how people vary them.
//
// Common names come from the census lists. These cover less than half of the people by surname, so
// the rest get surnames put together from parts, as rare ones are spread over many. Surnames whose
// census spelling lost an apostrophe or an accent get it back. All names are in upper case.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "synthetic/random.h"

namespace qm {

enum class Sex { kMale = 1, kFemale = 2 };

class Names {
 public:
  Names();

  std::string Surname(Random& random) const;
  std::string FirstName(Random& random, Sex sex) const;

  /// A short or familiar form of a first name, or the full name of a familiar form; empty when
  /// there is none.
  static std::string Nickname(Random& random, std::string_view first_name);
  /// Whether the surname is written with more than the letters A to Z.
  static bool HasMark(std::string_view surname);
  /// The surname as a form without apostrophes or accents takes it: joined, or (apostrophe only)
  /// with a blank.
  static std::string WithoutMarks(Random& random, std::string_view surname);
  static bool IsSpanish(std::string_view surname);

 private:
  struct Weighted {
    std::string name;
    std::int64_t end;  // cumulative, in thousandths of a percent
  };
  using List = std::vector<Weighted>;

  static List Load(std::string_view file);
  static const std::string& Draw(const List& list, std::int64_t position);

  List surnames_;
  List male_;
  List female_;
};

}  // namespace qm
