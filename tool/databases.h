// The databases that a command works on: the options that name them, and opening them into the
// session of the calling thread.
#pragma once

#include <memory>
#include <string>

#include <qm/connection.h>

#include "tool/tool.h"

namespace qm::tool {

enum class Database { kRegistry, kControl, kMatching };

/// The options -d, --registry, --control, --timeout, and with `matching` --matching.
void AddDatabaseOptions(CLI::App& command, Tool& tool, bool matching = false);

/// A command's check that a database was named; wrong usage when it was not.
void RequireDatabase(const Settings& settings, Database database);

/// The folder's database, or the one that the connection string names; the matching database is
/// the registry unless it was named.
std::string ConnectionStringOf(const Settings& settings, Database database);

/// Opens a database and, registry and control, puts it into the session.
std::shared_ptr<Connection> OpenDatabase(Tool& tool, Database database);

/// The registry for a command that changes it: there is a user in whose name it does, and the
/// library's own tables are made where the registry lacks them, before any transaction.
std::shared_ptr<Connection> OpenRegistryToChange(Tool& tool, const std::string& command);

}  // namespace qm::tool
