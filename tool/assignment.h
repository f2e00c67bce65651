// NAME=VALUE, as fields and their values are given to a command: as arguments, or line by line on
// standard input, where no other user of the machine sees them.
#pragma once

#include <istream>
#include <string>
#include <string_view>
#include <vector>

namespace qm::tool {

struct Assignment {
  std::string name;
  std::string value;
};

/// The argument that stands for the lines of standard input.
inline constexpr std::string_view kStandardInput = "-";

/// A check of the command line: empty when the argument has a name and "=", else what is expected.
std::string IsAssignment(const std::string& argument);
std::string IsAssignmentOrInput(const std::string& argument);

/// The text before and behind the first "=".
Assignment ParseAssignment(std::string_view text);

/// The assignments in the order given, "-" replaced by the lines of `in`; empty lines are left out.
/// A line without a name is kErrBadArgument and named by its number, since it may hold a value.
std::vector<Assignment> ReadAssignments(const std::vector<std::string>& arguments,
                                        std::istream& in);

}  // namespace qm::tool
