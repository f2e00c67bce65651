// Escape and Unescape: a text in ASCII alone, other characters as %xx or %uxxxx.
#include <array>
#include <charconv>

#include <qm/conversions.h>
#include "expression/functions.h"
#include "expression/utf16.h"

namespace qm {

namespace {

bool IsPlain(char16_t unit) {
  return (unit >= u'0' && unit <= u'9') || (unit >= u'A' && unit <= u'Z') ||
         (unit >= u'a' && unit <= u'z') ||
         std::u16string_view(u"@*_+-./").find(unit) != std::u16string_view::npos;
}

void AppendHex(std::string& text, unsigned value, unsigned digits) {
  for (; digits > 0; --digits) text += "0123456789ABCDEF"[(value >> (digits * 4 - 4)) & 0xFU];
}

Variant Escape(Arguments args) {
  if (args[0].IsNull()) return args[0];
  std::string text;
  for (const char16_t unit : ToUtf16(ToText(args[0]))) {
    if (IsPlain(unit)) {
      text += static_cast<char>(unit);
    } else if (unit < 0x100) {
      AppendHex(text += '%', unit, 2);
    } else {
      AppendHex(text += "%u", unit, 4);
    }
    CheckTextLength(static_cast<double>(text.size()));
  }
  return text;
}

// The unit that the digits at the head of a text give; -1 when they are not all there.
int UnitOfDigits(std::string_view text, std::size_t digits) {
  int unit = 0;
  if (text.size() < digits) return -1;
  const auto read = std::from_chars(text.data(), text.data() + digits, unit, 16);
  return read.ptr == text.data() + digits && text[0] != '-' ? unit : -1;
}

// What is no escape stays as it is.
Variant Unescape(Arguments args) {
  if (args[0].IsNull()) return args[0];
  const std::string text = ToText(args[0]);
  const std::string_view rest(text);
  std::u16string units;
  for (std::size_t at = 0; at < text.size();) {
    if (text[at] == '%') {
      const bool wide = at + 1 < text.size() && (text[at + 1] == 'u' || text[at + 1] == 'U');
      const std::size_t mark = wide ? 2 : 1;
      const std::size_t digits = wide ? 4 : 2;
      if (const int unit = UnitOfDigits(rest.substr(at + mark), digits); unit >= 0) {
        units += static_cast<char16_t>(unit);
        at += mark + digits;
        continue;
      }
    }
    const std::size_t begin = at;
    TakeCode(text, at);
    units += ToUtf16(rest.substr(begin, at - begin));
  }
  return FromUtf16(units);
}

constexpr std::array kEscapeFunctions = {
    Function{"Escape", 1, 1, Escape},
    Function{"Unescape", 1, 1, Unescape},
};

}  // namespace

std::span<const Function> EscapeFunctions() { return kEscapeFunctions; }

}  // namespace qm
