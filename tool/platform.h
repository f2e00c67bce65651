// What the platform gives to a program, in the form that the commands take: UTF-8 text, and streams
// that carry bytes as they are.
#pragma once

#include <string>
#include <vector>

namespace qm::tool {

/// The command line behind the program's name.
std::vector<std::string> Arguments(int argc, char** argv);

/// Before anything is read or written: standard input and output carry bytes as they are, a console
/// shows UTF-8, the environment holds UTF-8.
void PrepareProcess();

}  // namespace qm::tool
