// Making database files of the registry's own engine, which opening a connection never does.
#pragma once

#include <filesystem>
#include <memory>

#include <qm/connection.h>

namespace qm {

/// A new, empty database, readable and writable by its owner alone, in the mode in which readers
/// and a writer do not shut each other out; open.
std::shared_ptr<Connection> MakeDatabaseFile(const std::filesystem::path& file);

}  // namespace qm
