// Program: an expression that has been read, as instructions for a stack of values. It knows no
// values of names and objects, so it can be read once and run for every record.
//
// Instructions stand in the order in which they run, operands first; running needs no recursion,
// however long the expression.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include <qm/variant.h>
#include "expression/functions.h"
#include "expression/operators.h"

namespace qm {

enum class Action : std::uint8_t {
  kConstant,     ///< pushes constants[index]
  kName,         ///< pushes what the name stands for when it stands alone
  kUnary,        ///< replaces the top by the result of `op` (Negate or Not)
  kBinary,       ///< replaces the two top values by the result of `op`
  kFunction,     ///< replaces the arguments by the result of `function`
  kCall,         ///< replaces the arguments by the result of the member called names[index]
  kMember,       ///< as kCall, of the object called names[object]
  kValueMember,  ///< a member of the value below the arguments, which is no object
  kElement       ///< replaces a value and indexes by the element of that array
};

struct Instruction {
  Action action = Action::kConstant;
  Operator op = Operator::kAdd;
  Literals literals;
  std::uint32_t index = 0;
  std::uint32_t object = 0;
  std::uint32_t arguments = 0;
  const Function* function = nullptr;
};

struct Program {
  std::vector<Instruction> code;
  std::vector<Variant> constants;
  std::vector<std::string> names;
};

/// How deeply an expression may nest.
inline constexpr int kDeepest = 600;

/// Reads an expression. Syntax errors as in `syntax_error.h`; 28 when it nests too deeply or is
/// too long. A text without any token gives a program without instructions. An expression within
/// another has fewer levels left: `depth` are taken.
Program Parse(std::string_view expression, int depth = 0);

}  // namespace qm
