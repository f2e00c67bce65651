// Searching and comparing texts, by code points or, where asked, without regard to case.
#include <algorithm>
#include <array>

#include <qm/conversions.h>
#include <qm/error.h>
#include "expression/functions.h"
#include "expression/text_finder.h"
#include "runtime/text.h"

namespace qm {

namespace {

// Case mapping keeps the byte length, so positions found in folded texts hold in the originals.
std::string Folded(const std::string& text, bool ignore_case) {
  return ignore_case ? UpperCase(text) : text;
}

std::size_t ByteOffset(std::string_view text, std::size_t characters) {
  return CharacterSlice(text, 0, characters).size();
}

Variant Position(std::string_view text, std::size_t byte) {
  return static_cast<std::int32_t>(CharacterCount(text.substr(0, byte)) + 1);
}

constexpr std::int32_t kNotFound = 0;

// InStr(text, sought), InStr(start, text, sought[, compare])
Variant InStr(Arguments args) {
  const bool has_start = args.size() > 2;
  const std::size_t start = has_start ? static_cast<std::size_t>(WholeArgument(args[0], 1)) : 1;
  const bool ignore_case = IgnoresCase(args, 3);
  const Variant& where = args[has_start ? 1 : 0];
  const Variant& what = args[has_start ? 2 : 1];
  if (where.IsNull() || what.IsNull()) return Variant::Null();
  const std::string text = Folded(ToText(where), ignore_case);
  const std::string sought = Folded(ToText(what), ignore_case);
  if (text.empty() || start > CharacterCount(text)) return kNotFound;
  if (sought.empty()) return static_cast<std::int32_t>(start);
  const auto found = TextFinder(sought).Find(text, ByteOffset(text, start - 1));
  return found == TextFinder::kNone ? Variant(kNotFound) : Position(text, found);
}

// InStrRev(text, sought[, start[, compare]]): the last place that ends at or before start.
Variant InStrRev(Arguments args) {
  const std::int32_t start = WholeArgument(args, 2, -1, -1);
  if (start == 0) RaiseRunTime(kErrInvalidCall);
  const bool ignore_case = IgnoresCase(args, 3);
  const std::string text = Folded(ToText(args[0]), ignore_case);
  const std::string sought = Folded(ToText(args[1]), ignore_case);
  const auto length = static_cast<std::int32_t>(CharacterCount(text));
  if (text.empty() || start > length) return kNotFound;
  const std::int32_t last = start == -1 ? length : start;
  if (sought.empty()) return last;
  const std::string_view head = CharacterSlice(text, 0, static_cast<std::size_t>(last));
  const auto found = FindLast(head, sought);
  return found == TextFinder::kNone ? Variant(kNotFound) : Position(text, found);
}

// Replace(text, sought, replacement[, start[, count[, compare]]]): the result begins at start.
Variant Replace(Arguments args) {
  const std::string whole = ToText(args[0]);
  const std::string sought_text = ToText(args[1]);
  const std::string replacement = ToText(args[2]);
  const auto start = static_cast<std::size_t>(WholeArgument(args, 3, 1, 1));
  std::int32_t count = WholeArgument(args, 4, -1, -1);
  const bool ignore_case = IgnoresCase(args, 5);

  const std::string text = whole.substr(ByteOffset(whole, start - 1));
  if (sought_text.empty()) return text;
  const std::string folded = Folded(text, ignore_case);
  const TextFinder sought(Folded(sought_text, ignore_case));
  std::string result;
  std::size_t at = 0;
  for (; count != 0; --count) {
    const auto found = sought.Find(folded, at);
    if (found == TextFinder::kNone) break;
    result.append(text, at, found - at).append(replacement);
    CheckTextLength(static_cast<double>(result.size()));
    at = found + sought.Length();
  }
  return result.append(text, at);
}

Variant StrComp(Arguments args) {
  const bool ignore_case = IgnoresCase(args, 2);
  if (args[0].IsNull() || args[1].IsNull()) return Variant::Null();
  const int order =
      Folded(ToText(args[0]), ignore_case).compare(Folded(ToText(args[1]), ignore_case));
  return static_cast<std::int16_t>(std::clamp(order, -1, 1));
}

constexpr std::array kTextSearchFunctions = {
    Function{"InStr", 2, 4, InStr},
    Function{"InStrRev", 2, 4, InStrRev},
    Function{"Replace", 3, 6, Replace},
    Function{"StrComp", 2, 3, StrComp},
};

}  // namespace

std::span<const Function> TextSearchFunctions() { return kTextSearchFunctions; }

}  // namespace qm
