// Text helpers that every floor needs: upper case without regard to locale, trimming of blanks,
// characters of UTF-8 text.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace qm {

/// ASCII letters and the Latin letters up to U+017F (é to É, š to Š) in upper or lower case; the
/// length in bytes stays.
std::string UpperCase(std::string_view text);
std::string LowerCase(std::string_view text);
/// Equality without regard to the case of ASCII letters: names of columns, tables, keywords.
bool EqualsIgnoreCase(std::string_view a, std::string_view b);
/// Without blanks (only blanks) at the ends.
std::string_view Trim(std::string_view text);

/// Whether a list holds a name, in any case.
bool ContainsName(const std::vector<std::string>& names, std::string_view name);

inline bool IsDigit(char c) { return c >= '0' && c <= '9'; }
bool IsAscii(std::string_view text);
bool IsValidUtf8(std::string_view text);
/// Number of characters (code points).
std::size_t CharacterCount(std::string_view text);
/// The characters from `first` (counted from 0), at most `count` of them; less where the text ends.
std::string_view CharacterSlice(std::string_view text, std::size_t first, std::size_t count);

}  // namespace qm
