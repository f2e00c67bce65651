// Parts and forms of a text. Positions and lengths count characters, the first is 1.
#include <algorithm>
#include <array>

#include <qm/conversions.h>
#include <qm/error.h>
#include "expression/functions.h"
#include "runtime/text.h"

namespace qm {

namespace {

std::size_t Length(const Variant& value) {
  return static_cast<std::size_t>(WholeArgument(value, 0));
}

Variant Slice(const std::string& text, std::size_t first, std::size_t count) {
  return CharacterSlice(text, first, count);
}

Variant Len(Arguments args) {
  if (args[0].IsNull()) return args[0];
  return static_cast<std::int32_t>(CharacterCount(ToText(args[0])));
}

Variant Left(Arguments args) {
  const std::size_t count = Length(args[1]);
  if (args[0].IsNull()) return args[0];
  return Slice(ToText(args[0]), 0, count);
}

Variant Right(Arguments args) {
  const std::size_t count = Length(args[1]);
  if (args[0].IsNull()) return args[0];
  const std::string text = ToText(args[0]);
  const std::size_t length = CharacterCount(text);
  return Slice(text, length - std::min(length, count), count);
}

Variant Mid(Arguments args) {
  const Variant* given = OptionalArgument(args, 2);
  if (given != nullptr && given->IsNull()) RaiseRunTime(kErrInvalidUseOfNull);
  const auto first = static_cast<std::size_t>(WholeArgument(args[1], 1)) - 1;
  const std::size_t count = given != nullptr ? Length(*given) : kLongestText;
  if (args[0].IsNull()) return args[0];
  return Slice(ToText(args[0]), first, count);
}

Variant UCase(Arguments args) {
  if (args[0].IsNull()) return args[0];
  return UpperCase(ToText(args[0]));
}

Variant LCase(Arguments args) {
  if (args[0].IsNull()) return args[0];
  return LowerCase(ToText(args[0]));
}

Variant LTrim(Arguments args) {
  if (args[0].IsNull()) return args[0];
  std::string text = ToText(args[0]);
  return text.erase(0, std::min(text.size(), text.find_first_not_of(' ')));
}

Variant RTrim(Arguments args) {
  if (args[0].IsNull()) return args[0];
  std::string text = ToText(args[0]);
  return text.erase(text.find_last_not_of(' ') + 1);
}

Variant TrimBoth(Arguments args) {
  if (args[0].IsNull()) return args[0];
  return Trim(ToText(args[0]));
}

std::string Repeat(std::string_view piece, std::size_t count) {
  CheckTextLength(static_cast<double>(piece.size()) * static_cast<double>(count));
  if (piece.size() == 1) return std::string(count, piece[0]);
  std::string text;
  text.reserve(piece.size() * count);
  for (; count > 0; --count) text += piece;
  return text;
}

Variant Space(Arguments args) { return Repeat(" ", Length(args[0])); }

// String(3, "ab") is "aaa", String(3, 65) is "AAA"; a code above 255 counts anew from 0.
Variant String(Arguments args) {
  if (args[0].IsNull() || args[1].IsNull()) return Variant::Null();
  const std::size_t count = Length(args[0]);
  if (!args[1].IsText()) {
    const std::int32_t code = ((ToInt32(args[1]) % 256) + 256) % 256;
    const std::array<Variant, 1> argument = {Variant(code)};
    return Repeat(ToText(FindFunction("Chr")->call(argument)), count);
  }
  const std::string text = ToText(args[1]);
  if (text.empty()) RaiseRunTime(kErrInvalidCall);
  return Repeat(CharacterSlice(text, 0, 1), count);
}

Variant StrReverse(Arguments args) {
  std::string text = ToText(args[0]);
  std::reverse(text.begin(), text.end());
  // The bytes of each longer character now stand backwards as well: its lead byte comes last.
  std::size_t begin = 0;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const bool continuation = (static_cast<unsigned char>(text[i]) & 0xC0U) == 0x80U;
    if (continuation) continue;
    std::reverse(text.begin() + static_cast<std::ptrdiff_t>(begin),
                 text.begin() + static_cast<std::ptrdiff_t>(i) + 1);
    begin = i + 1;
  }
  return text;
}

constexpr std::array kTextFunctions = {
    Function{"Len", 1, 1, Len},       Function{"Left", 2, 2, Left},
    Function{"Right", 2, 2, Right},   Function{"Mid", 2, 3, Mid},
    Function{"UCase", 1, 1, UCase},   Function{"LCase", 1, 1, LCase},
    Function{"LTrim", 1, 1, LTrim},   Function{"RTrim", 1, 1, RTrim},
    Function{"Trim", 1, 1, TrimBoth}, Function{"Space", 1, 1, Space},
    Function{"String", 2, 2, String}, Function{"StrReverse", 1, 1, StrReverse},
};

}  // namespace

std::span<const Function> TextFunctions() { return kTextFunctions; }

}  // namespace qm
