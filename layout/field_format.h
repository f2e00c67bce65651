// How one field's value is formatted: trimming and padding by justification code, and the dates.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace qm {

/// The value without blanks at its ends, extended to at least `length` characters: mode "Z" appends
/// zeros, "Y" prefixes zeros, "R" prefixes blanks, any other leaves it. Never cuts.
std::string PadValue(std::string_view value, std::string_view mode, std::int16_t length);
/// The same behind a text that is there.
void AppendPadded(std::string& text, std::string_view value, std::string_view mode,
                  std::int16_t length);

/// The date routine. Mode "D": stored form to display form; "M": a typed date to the stored form;
/// "F": a display or stored date to the eight digits MMDDCCYY. `FormatDate` gives "H" for a date
/// that mode "M" refuses (a two-digit year shows a message box first).
std::string FormatDate(std::string_view value, std::string_view mode);

/// The numeric pattern "00/00/0000" of the import: a numeric text rounded to a whole number and
/// written with at least eight digits and the slashes; empty stays empty; other text unchanged.
std::string ApplyDatePattern(std::string_view value);

}  // namespace qm
