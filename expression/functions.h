// The functions of the expression language, by name. Each takes the values of its arguments, whose
// number has been checked, and raises the language's run-time errors.
//
// Adding functions means adding a table to `functions.cpp`: the groups stand in one file each.
#pragma once

#include <cstddef>
#include <cstdint>
#include <limits>
#include <span>
#include <string>
#include <string_view>

#include <qm/variant.h>

namespace qm {

using Arguments = std::span<const Variant>;

/// What the few functions need that depend on more than their arguments.
class Evaluation {
 public:
  Evaluation() = default;
  virtual ~Evaluation() = default;
  Evaluation(const Evaluation&) = delete;
  Evaluation& operator=(const Evaluation&) = delete;

  /// The value of another expression, within the bounds of this evaluation.
  virtual Variant Eval(const std::string& expression) = 0;
  /// Where the sequence of random numbers stands: 24 bits.
  virtual std::uint32_t& Random() = 0;
};

struct Function {
  std::string_view name;
  std::size_t fewest = 0;
  std::size_t most = 0;
  Variant (*call)(Arguments) = nullptr;
  Variant (*call_within)(Evaluation&, Arguments) = nullptr;  ///< where `call` is null
};

inline constexpr std::size_t kAnyNumber = std::numeric_limits<std::size_t>::max();

/// Without regard to case; null when the language has no such function.
const Function* FindFunction(std::string_view name);

/// The groups.
std::span<const Function> TextFunctions();
std::span<const Function> TextSearchFunctions();
std::span<const Function> CharacterFunctions();
std::span<const Function> NumberFunctions();
std::span<const Function> ConversionFunctions();
std::span<const Function> TypeTestFunctions();
std::span<const Function> ArrayFunctions();
std::span<const Function> ByteFunctions();
std::span<const Function> ClockFunctions();
std::span<const Function> DateFunctions();
std::span<const Function> DateIntervalFunctions();
std::span<const Function> EngineFunctions();
std::span<const Function> EscapeFunctions();
std::span<const Function> FormatFunctions();

/// The longest text that an expression may make; more is error 14.
inline constexpr std::size_t kLongestText = std::size_t{16} << 20U;
/// Raises error 14 for a text of more bytes.
void CheckTextLength(double bytes);

/// The most elements that an array can have; more is error 7.
inline constexpr std::size_t kMostElements = std::size_t{1} << 18U;
inline constexpr std::int32_t kErrOutOfMemory = 7;

/// What stands for an argument left out between commas. It passes as an array, so that a function
/// which needs that argument finds the wrong type (13).
const Variant& OmittedArgument();
bool IsOmitted(const Variant& value);
/// The argument at an index; null when it is not given or left out.
const Variant* OptionalArgument(Arguments args, std::size_t index);

/// Position and length arguments: half to even, 5 when below `least`.
std::int32_t WholeArgument(const Variant& value, std::int32_t least);
/// The same for an optional one.
std::int32_t WholeArgument(Arguments args, std::size_t index, std::int32_t least,
                           std::int32_t otherwise);
/// The optional way of comparing: 0 binary, 1 without regard to case, anything else 5.
bool IgnoresCase(Arguments args, std::size_t index);

}  // namespace qm
