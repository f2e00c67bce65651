// The built-in phonetic code: American Soundex, a letter and three digits.
//
// Equal codes in a row count once, also across H and W; vowels and Y separate them. Accented Latin
// letters count as their base letter (Ñ as N, ß as S, Æ as A, Ø and Œ as O); whatever else is no
// letter (blank, apostrophe, hyphen, digit, other scripts) is passed over as if it were not there.
#pragma once

#include <string>
#include <string_view>

namespace qm {

/// The code of a name; empty for a name without a letter.
std::string BuiltInSoundex(std::string_view name);

}  // namespace qm
