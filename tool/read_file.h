// Reading a whole file, or standard input, that a command was given.
#pragma once

#include <string>

namespace qm::tool {

/// The bytes of the file, of standard input for "-". 53 when it is missing, 75 when it cannot be
/// read; both name it.
std::string ReadFile(const std::string& path);

}  // namespace qm::tool
