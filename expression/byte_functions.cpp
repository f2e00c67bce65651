// Texts as bytes, two for each 16-bit unit. A text here always holds whole characters, so a result
// that would leave half of one is an invalid call (5).
#include <algorithm>
#include <array>

#include <qm/conversions.h>
#include <qm/error.h>
#include "expression/functions.h"
#include "expression/text_finder.h"
#include "expression/utf16.h"

namespace qm {

namespace {

std::string ToBytes(const Variant& value) {
  std::string bytes;
  for (const char16_t unit : ToUtf16(ToText(value))) {
    bytes += static_cast<char>(unit & 0xFFU);
    bytes += static_cast<char>(unit >> 8U);
  }
  return bytes;
}

Variant FromBytes(std::string_view bytes) {
  if (bytes.size() % 2 != 0) RaiseRunTime(kErrInvalidCall);
  std::u16string units;
  for (std::size_t i = 0; i < bytes.size(); i += 2) {
    const auto low = static_cast<unsigned char>(bytes[i]);
    const auto high = static_cast<unsigned char>(bytes[i + 1]);
    units += static_cast<char16_t>(low | (high << 8U));
  }
  return FromUtf16(units);
}

std::size_t Length(const Variant& value) {
  return static_cast<std::size_t>(WholeArgument(value, 0));
}

Variant LenB(Arguments args) {
  if (args[0].IsNull()) return args[0];
  return static_cast<std::int32_t>(ToUtf16(ToText(args[0])).size() * 2);
}

Variant LeftB(Arguments args) {
  const std::size_t count = Length(args[1]);
  if (args[0].IsNull()) return args[0];
  return FromBytes(std::string_view(ToBytes(args[0])).substr(0, count));
}

Variant RightB(Arguments args) {
  const std::size_t count = Length(args[1]);
  if (args[0].IsNull()) return args[0];
  const std::string bytes = ToBytes(args[0]);
  return FromBytes(std::string_view(bytes).substr(bytes.size() - std::min(bytes.size(), count)));
}

Variant MidB(Arguments args) {
  const Variant* given = OptionalArgument(args, 2);
  const std::size_t count = given != nullptr ? Length(*given) : std::string_view::npos;
  const auto first = static_cast<std::size_t>(WholeArgument(args[1], 1)) - 1;
  if (args[0].IsNull()) return args[0];
  const std::string bytes = ToBytes(args[0]);
  return FromBytes(std::string_view(bytes).substr(std::min(bytes.size(), first), count));
}

// InStrB(text, sought), InStrB(start, text, sought[, compare]): as InStr, in bytes.
Variant InStrB(Arguments args) {
  const bool has_start = args.size() > 2;
  const std::size_t start = has_start ? static_cast<std::size_t>(WholeArgument(args[0], 1)) : 1;
  if (IgnoresCase(args, 3)) RaiseRunTime(kErrInvalidCall);  // bytes have no case
  const Variant& where = args[has_start ? 1 : 0];
  const Variant& what = args[has_start ? 2 : 1];
  if (where.IsNull() || what.IsNull()) return Variant::Null();
  const std::string bytes = ToBytes(where);
  if (start > bytes.size()) return std::int32_t{0};
  const std::size_t found = TextFinder(ToBytes(what)).Find(bytes, start - 1);
  return static_cast<std::int32_t>(found == TextFinder::kNone ? 0 : found + 1);
}

Variant AscB(Arguments args) {
  const std::string bytes = ToBytes(args[0]);
  if (bytes.empty()) RaiseRunTime(kErrInvalidCall);
  return std::int16_t{static_cast<unsigned char>(bytes[0])};
}

// One byte is never a whole character.
Variant ChrB(Arguments args) {
  static_cast<void>(ToByte(args[0]));
  RaiseRunTime(kErrInvalidCall);
}

constexpr std::array kByteFunctions = {
    Function{"LenB", 1, 1, LenB},     Function{"LeftB", 2, 2, LeftB},
    Function{"RightB", 2, 2, RightB}, Function{"MidB", 2, 3, MidB},
    Function{"InStrB", 2, 4, InStrB}, Function{"AscB", 1, 1, AscB},
    Function{"ChrB", 1, 1, ChrB},
};

}  // namespace

std::span<const Function> ByteFunctions() { return kByteFunctions; }

}  // namespace qm
