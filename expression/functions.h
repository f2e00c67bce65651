// The functions of the expression language, by name. Each takes the values of its arguments, whose
// number has been checked, and raises the language's run-time errors.
//
// Adding functions means adding a table to `functions.cpp`: the groups stand in one file each.
#pragma once

#include <cstddef>
#include <span>
#include <string_view>

#include <qm/variant.h>

namespace qm {

using Arguments = std::span<const Variant>;

struct Function {
  std::string_view name;
  std::size_t fewest = 0;
  std::size_t most = 0;
  Variant (*call)(Arguments) = nullptr;
};

/// Without regard to case; null when the language has no such function (yet).
const Function* FindFunction(std::string_view name);

/// The groups.
std::span<const Function> TextFunctions();
std::span<const Function> TextSearchFunctions();
std::span<const Function> CharacterFunctions();
std::span<const Function> NumberFunctions();
std::span<const Function> ConversionFunctions();
std::span<const Function> TypeTestFunctions();

/// The longest text that an expression may make; more is error 14.
inline constexpr std::size_t kLongestText = std::size_t{16} << 20U;
/// Raises error 14 for a text of more bytes.
void CheckTextLength(double bytes);

/// Position and length arguments: half to even, 5 when below `least`.
std::int32_t WholeArgument(const Variant& value, std::int32_t least);

}  // namespace qm
