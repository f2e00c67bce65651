#include "tool/assignment.h"

#include <qm/error.h>

namespace qm::tool {

std::string IsAssignment(const std::string& argument) {
  const auto equals = argument.find('=');
  return equals == std::string::npos || equals == 0 ? "NAME=VALUE is expected" : "";
}

std::string IsAssignmentOrInput(const std::string& argument) {
  return argument == kStandardInput ? "" : IsAssignment(argument);
}

Assignment ParseAssignment(std::string_view text) {
  const auto equals = text.find('=');
  return {std::string(text.substr(0, equals)), std::string(text.substr(equals + 1))};
}

std::vector<Assignment> ReadAssignments(const std::vector<std::string>& arguments,
                                        std::istream& in) {
  std::vector<Assignment> assignments;
  for (const std::string& argument : arguments) {
    if (argument != kStandardInput) {
      assignments.push_back(ParseAssignment(argument));
      continue;
    }
    int number = 0;
    for (std::string line; std::getline(in, line);) {
      ++number;
      if (line.ends_with('\r')) line.pop_back();
      if (line.empty()) continue;
      if (!IsAssignment(line).empty()) {
        throw Error(kErrBadArgument, "qm",
                    "standard input, line " + std::to_string(number) + ": NAME=VALUE is expected");
      }
      assignments.push_back(ParseAssignment(line));
    }
  }
  if (assignments.empty()) {
    throw Error(kErrBadArgument, "qm", "standard input holds no NAME=VALUE");
  }
  return assignments;
}

}  // namespace qm::tool
