// The user in whose name a command works: who holds the locks that it takes, and who stands in the
// audit log.
#pragma once

#include <string>

#include "tool/tool.h"

namespace qm::tool {

/// The option --user; without it the login name counts. `OpenDatabase` hands the name to the
/// session with the registry.
void AddUserOption(CLI::App& command, Tool& tool);

/// The name given, else the login name; empty when the system tells none.
std::string UserName(const Settings& settings);

/// Fails when there is no name, for a command that cannot do without.
void RequireUser(const Settings& settings, const std::string& command);

}  // namespace qm::tool
