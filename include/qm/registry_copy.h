// Copying a registry from one place to another, whatever the engines: files to a database server,
// one server to another, a server's registry back into a folder.
//
//   qm::RegistryPair from{registry, control};
//   qm::RegistryPair to{registry_there, control_there};
//   for (const auto& table : qm::CopyRegistry(from, to)) std::cout << table.name << table.rows;
//
// All four connections are open, outside of a transaction. The place to copy to is empty, or a
// registry without abstracts, patients and tumors: its other rows give way to those copied. Tables
// that it lacks are made with the columns and keys that they have where they come from, then the
// indexes on identifiers and matching columns. A table that it has must have all columns.
//
// Rows go over in transactions of some thousand; memory does not grow with the registry. A copy
// that was interrupted goes on where it stopped when it is asked for again; until it is complete,
// a table QMCopy marks the place as unfinished. At the end every table is read again on both
// sides, and its number of rows and its digest are compared. Nobody may write meanwhile, on either
// side: a table that differs is emptied there and named in the error, and is copied again by the
// next run.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include <qm/api.h>
#include <qm/connection.h>

namespace qm {

/// The two databases of a registry; both may be the same connection.
struct RegistryPair {
  std::shared_ptr<Connection> registry;
  std::shared_ptr<Connection> control;
};

struct CopiedTable {
  std::string name;
  std::int64_t rows = 0;
  /// Of all values as text, with the names of their columns; the rows' order does not count.
  std::string digest;
};

/// Told now and then: what is in work ("copying Patients", "comparing Patients") and how far.
using CopyProgress =
    std::function<void(std::string_view doing, std::int64_t done, std::int64_t total)>;

/// Refuses with kErrNotAllowedHere (3219) a place that holds a registry already, an unfinished copy
/// as what is to be copied, and a place copied onto itself; with kErrNoSuchItem (3265) a table
/// there that lacks a column; with kErrIntegrity a table that differs at the end. Errors of the
/// engines pass.
QM_API std::vector<CopiedTable> CopyRegistry(const RegistryPair& from, const RegistryPair& to,
                                             const CopyProgress& progress = {});

}  // namespace qm
