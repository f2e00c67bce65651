// Setting up a registry: the tables of the registry and of the control database, the layouts that
// the library carries, and the default rows (counters, lock codes, a user, a display, critical
// fields, blocking and matching rules).
//
// `CreateRegistry` works on two open, empty databases of any provider; `CreateRegistryFolder` makes
// both as SQLite files in a folder. A table that is there already is refused by its name before
// anything is made (kErrIntegrity). Each database comes about in one transaction, of which nothing
// stays when it fails midway, save on engines where making a table ends a transaction (MariaDB):
// there the tables made so far stay.
#pragma once

#include <filesystem>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include <qm/api.h>
#include <qm/connection.h>

namespace qm {

/// The layouts that the library carries, oldest first: "11.3", "12", "13", "14", "15", "16", "18".
/// The control database keeps "11.3" as version 11.
QM_API std::vector<std::string> ShippedLayouts();

struct RegistrySetup {
  /// Layouts by the names of `ShippedLayouts`, in any order; none means all of them. The tables of
  /// the registry hold the columns of each, the newest one is the default of `GetNAACCRLayout`. A
  /// name that is not among them is kErrBadArgument.
  std::vector<std::string> layouts;
};

/// Fills two empty databases. Both may be the same one.
QM_API void CreateRegistry(const std::shared_ptr<Connection>& registry,
                           const std::shared_ptr<Connection>& control,
                           const RegistrySetup& setup = {});

/// Makes `registry.db` and `control.db` in a folder, which is made (for its owner alone) when it is
/// missing; the files are readable and writable by their owner alone. They are built aside and put
/// in place when complete. A folder that holds either file, or what is left of one, is refused
/// with kErrIntegrity and left as it was.
QM_API void CreateRegistryFolder(const std::filesystem::path& folder,
                                 const RegistrySetup& setup = {});

/// Makes both files empty, where they are missing, in a folder that is made when it is missing: a
/// place that a registry can be copied to.
QM_API void MakeEmptyFolder(const std::filesystem::path& folder);

/// The connection string of a database file on SQLite.
QM_API std::string SqliteConnectionString(const std::filesystem::path& file);

}  // namespace qm
