// Checking a registry that is there already, before applications work on it: whether its tables,
// columns, keys, counters, rules and indexes are what the library expects, and what to do where
// they are not.
//
//   for (const auto& finding : qm::CheckRegistry(registry, control))
//     std::cout << finding.code << ' ' << finding.what << ' ' << finding.advice << '\n';
//
// Reads only. It costs a pass over the keys of all records; the values are not read. What builds on
// something missing is not checked, so one fault is told once.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include <qm/api.h>
#include <qm/connection.h>

namespace qm {

struct RegistryFinding {
  /// One stable word for the kind:
  ///   table-missing, column-missing   the database lacks what every operation expects
  ///   layout-missing, layout-value    the control database describes no layout, or one that fails
  ///   orphan-rows                     rows of a secondary table without one in the primary table
  ///   duplicate-key                   two rows of one identifier, or rows without one
  ///   key-missing                     no key by which an edit finds its row again
  ///   counter-missing, counter-behind new identifiers would meet those in use
  ///   rule-missing, rule-value, rule-column   matching cannot run
  ///   blocking-index                  a blocking rule reads all patients
  ///   comparison                      the engine takes different values for equal
  std::string code;
  std::string table;
  std::string what;
  std::string advice;
};

/// Told before each part of the work.
using RegistryCheckProgress = std::function<void(std::int64_t done, std::int64_t total)>;

/// Ordered by the parts of the work. Errors of the engine pass.
QM_API std::vector<RegistryFinding> CheckRegistry(const std::shared_ptr<Connection>& registry,
                                                  const std::shared_ptr<Connection>& control,
                                                  const RegistryCheckProgress& progress = {});

}  // namespace qm
