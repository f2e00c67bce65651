// Texts as the 16-bit units in which the language counts bytes: for the functions on bytes, codes
// of characters and escapes.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace qm {

/// Appends the UTF-8 form of a code point.
void AppendCode(std::string& text, std::uint32_t code);
/// The code point at a byte, which moves behind it; a byte that begins none stands for itself.
std::uint32_t TakeCode(std::string_view text, std::size_t& at);

std::u16string ToUtf16(std::string_view text);
/// Half of a surrogate pair is no character of its own here: error 5.
std::string FromUtf16(std::u16string_view units);

}  // namespace qm
