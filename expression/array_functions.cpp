// Arrays: making, measuring, splitting and joining. Lower bounds are 0, and there is one dimension.
#include <array>

#include <qm/conversions.h>
#include <qm/error.h>
#include "expression/functions.h"
#include "expression/text_finder.h"
#include "runtime/text.h"

namespace qm {

namespace {

const Variant::Array& Elements(const Variant& value) {
  if (!value.IsArray() || IsOmitted(value)) RaiseRunTime(kErrTypeMismatch);
  return value.Elements();
}

void Append(Variant::Array& elements, Variant value) {
  if (elements.size() == kMostElements) RaiseRunTime(kErrOutOfMemory);
  elements.push_back(std::move(value));
}

std::string Folded(const std::string& text, bool ignore_case) {
  return ignore_case ? UpperCase(text) : text;
}

Variant MakeArray(Arguments args) { return Variant(Variant::Array(args.begin(), args.end())); }

const Variant::Array& BoundedElements(Arguments args) {
  const Variant::Array& elements = Elements(args[0]);
  const Variant* dimension = OptionalArgument(args, 1);
  if (dimension != nullptr && ToInt32(*dimension) != 1) RaiseRunTime(kErrSubscript);
  return elements;
}

Variant LBound(Arguments args) {
  BoundedElements(args);
  return std::int32_t{0};
}

Variant UBound(Arguments args) {
  return static_cast<std::int32_t>(BoundedElements(args).size()) - 1;
}

// Join(array[, delimiter])
Variant Join(Arguments args) {
  const Variant::Array& elements = Elements(args[0]);
  const Variant* given = OptionalArgument(args, 1);
  const std::string delimiter = given == nullptr ? " " : ToText(*given);
  std::string text;
  for (const Variant& element : elements) {
    if (&element != &elements.front()) text += delimiter;
    text += ToText(element);
    CheckTextLength(static_cast<double>(text.size()));
  }
  return text;
}

// Split(text[, delimiter[, count[, compare]]]): the last of `count` pieces holds the rest.
Variant Split(Arguments args) {
  const std::string text = ToText(args[0]);
  const Variant* given = OptionalArgument(args, 1);
  const std::string delimiter = given == nullptr ? " " : ToText(*given);
  const std::int32_t count = WholeArgument(args, 2, -1, -1);
  const bool ignore_case = IgnoresCase(args, 3);

  Variant::Array pieces;
  if (text.empty() || count == 0) return Variant(std::move(pieces));
  const std::string folded = Folded(text, ignore_case);
  const TextFinder sought(Folded(delimiter, ignore_case));
  std::size_t at = 0;
  while (sought.Length() > 0 &&
         (count < 0 || pieces.size() + 1 < static_cast<std::size_t>(count))) {
    const std::size_t found = sought.Find(folded, at);
    if (found == TextFinder::kNone) break;
    Append(pieces, text.substr(at, found - at));
    at = found + sought.Length();
  }
  Append(pieces, text.substr(at));
  return Variant(std::move(pieces));
}

// Filter(array, sought[, include[, compare]]): the elements that hold, or do not hold, a text.
Variant Filter(Arguments args) {
  const Variant::Array& elements = Elements(args[0]);
  const Variant* given = OptionalArgument(args, 2);
  const bool include = given == nullptr || ToBool(*given);
  const bool ignore_case = IgnoresCase(args, 3);
  const TextFinder sought(Folded(ToText(args[1]), ignore_case));
  Variant::Array kept;
  for (const Variant& element : elements) {
    std::string text = ToText(element);
    const bool holds = sought.Find(Folded(text, ignore_case)) != TextFinder::kNone;
    if (holds == include) Append(kept, std::move(text));
  }
  return Variant(std::move(kept));
}

constexpr std::array kArrayFunctions = {
    Function{"Array", 0, kAnyNumber, MakeArray},
    Function{"LBound", 1, 2, LBound},
    Function{"UBound", 1, 2, UBound},
    Function{"Join", 1, 2, Join},
    Function{"Split", 1, 4, Split},
    Function{"Filter", 2, 4, Filter},
};

}  // namespace

std::span<const Function> ArrayFunctions() { return kArrayFunctions; }

}  // namespace qm
