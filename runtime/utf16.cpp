#include "runtime/utf16.h"

#include <cstddef>
#include <cstdint>

namespace qm {

namespace {

constexpr char32_t kReplacement = 0xFFFD;

bool IsHighSurrogate(char32_t unit) { return unit >= 0xD800 && unit < 0xDC00; }
bool IsLowSurrogate(char32_t unit) { return unit >= 0xDC00 && unit < 0xE000; }

// The code point at the front, which is taken away.
char32_t TakeUtf8(std::string_view& text) {
  const auto byte = [&](std::size_t i) { return static_cast<unsigned char>(text[i]); };
  const unsigned first = byte(0);
  std::size_t length = 1;
  char32_t code = first;
  if (first >= 0xF0U && first < 0xF5U) {
    length = 4;
    code = first & 0x07U;
  } else if (first >= 0xE0U && first < 0xF0U) {
    length = 3;
    code = first & 0x0FU;
  } else if (first >= 0xC2U && first < 0xE0U) {
    length = 2;
    code = first & 0x1FU;
  } else if (first >= 0x80U) {
    code = kReplacement;
  }
  for (std::size_t i = 1; i < length; ++i) {
    if (i >= text.size() || (byte(i) & 0xC0U) != 0x80U) {
      text.remove_prefix(i);
      return kReplacement;
    }
    code = (code << 6U) | (byte(i) & 0x3FU);
  }
  text.remove_prefix(length);
  const bool overlong = (length == 3 && code < 0x800) || (length == 4 && code < 0x10000);
  const bool surrogate = IsHighSurrogate(code) || IsLowSurrogate(code);
  return overlong || surrogate || code > 0x10FFFF ? kReplacement : code;
}

void AppendUtf8(std::string& text, char32_t code) {
  const auto tail = [&](unsigned shift) {
    text += static_cast<char>(0x80U | ((code >> shift) & 0x3FU));
  };
  if (code < 0x80) {
    text += static_cast<char>(code);
  } else if (code < 0x800) {
    text += static_cast<char>(0xC0U | (code >> 6U));
    tail(0);
  } else if (code < 0x10000) {
    text += static_cast<char>(0xE0U | (code >> 12U));
    tail(6);
    tail(0);
  } else {
    text += static_cast<char>(0xF0U | (code >> 18U));
    tail(12);
    tail(6);
    tail(0);
  }
}

}  // namespace

// Most texts are ASCII: they are copied without a branch a character, and looked at meanwhile.
std::u16string Utf16(std::string_view utf8) {
  std::u16string wide(utf8.size(), u'\0');
  unsigned char bits = 0;
  for (std::size_t i = 0; i < utf8.size(); ++i) {
    const auto byte = static_cast<unsigned char>(utf8[i]);
    wide[i] = byte;
    bits |= byte;
  }
  if (bits < 0x80U) return wide;
  wide.clear();
  while (!utf8.empty()) {
    const char32_t code = TakeUtf8(utf8);
    if (code < 0x10000) {
      wide += static_cast<char16_t>(code);
    } else {
      wide += static_cast<char16_t>(0xD800U + ((code - 0x10000U) >> 10U));
      wide += static_cast<char16_t>(0xDC00U + ((code - 0x10000U) & 0x3FFU));
    }
  }
  return wide;
}

std::string Utf8(std::u16string_view utf16) {
  std::string text;
  AssignUtf8(text, utf16);
  return text;
}

void AssignUtf8(std::string& text, std::u16string_view utf16) {
  text.resize(utf16.size());
  char16_t bits = 0;
  for (std::size_t i = 0; i < utf16.size(); ++i) {
    text[i] = static_cast<char>(utf16[i]);
    bits |= utf16[i];
  }
  if (bits < 0x80U) return;
  text.clear();
  for (std::size_t i = 0; i < utf16.size(); ++i) {
    const char32_t unit = utf16[i];
    if (IsHighSurrogate(unit) && i + 1 < utf16.size() && IsLowSurrogate(utf16[i + 1])) {
      const char32_t low = utf16[++i];
      AppendUtf8(text, 0x10000U + ((unit - 0xD800U) << 10U) + (low - 0xDC00U));
    } else {
      AppendUtf8(text, IsHighSurrogate(unit) || IsLowSurrogate(unit) ? kReplacement : unit);
    }
  }
}

}  // namespace qm
