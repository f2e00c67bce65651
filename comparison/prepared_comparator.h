// PreparedComparator: one text, prepared to be compared with many by one of the built-in
// comparators. It gives what `BuiltInCompare` and `PlainCompare` give, to the last bit.
//
// Texts of at most 24 ASCII characters are compared in one machine word a character, without a
// branch on what they hold; every other pair is left to the plain comparator. Against thousands of
// distinct texts see name_dictionary.h.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "comparison/short_text.h"

namespace qm {

class PreparedComparator {
 public:
  /// The text stands on the left side, as `a` of `BuiltInCompare`, and is copied.
  PreparedComparator(std::string_view text, std::int32_t parameter);

  double Compare(std::string_view other) const;
  /// The same in hundredths, rounded half to even.
  std::uint8_t Percent(std::string_view other) const;

  const std::string& text() const { return text_; }
  std::int32_t parameter() const { return parameter_; }

 private:
  std::string text_;
  std::int32_t parameter_;
  ShortText short_text_;
  bool is_short_;
};

}  // namespace qm
