// The rules of well-formed XML that the parser in use does not enforce: it reads past a bare "&", a
// "<" or a control character in a value, a repeated attribute, a second root. A record's text with
// such a value was written without escaping, and what would be read from it is not what was there.
#pragma once

#include <string_view>

#include <pugixml.hpp>

namespace qm {

/// `document` is what the parser made of `text`. One pass over each.
bool IsWellFormed(std::string_view text, const pugi::xml_document& document);

}  // namespace qm
