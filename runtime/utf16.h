// UTF-16, as platform interfaces of wide characters want it. What is no valid text becomes U+FFFD.
#pragma once

#include <string>
#include <string_view>

namespace qm {

std::u16string Utf16(std::string_view utf8);
std::string Utf8(std::u16string_view utf16);
/// The same, in the room that the text has.
void AssignUtf8(std::string& text, std::u16string_view utf16);

}  // namespace qm
