// JSON text for a script element of an HTML document. Whatever a value holds (markup, line ends of
// any kind, control characters, bytes that are no UTF-8), the text stays one literal that ends no
// element: `<`, `>`, `&` and the line separators stand as escapes.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace qm {

/// A value between double quotes. Bytes that are no valid UTF-8 give U+FFFD each.
void AppendJson(std::string& json, std::string_view value);
/// An array of such values.
void AppendJson(std::string& json, const std::vector<std::string>& values);

}  // namespace qm
