// The check of the layouts that a control database describes: whether each can be loaded, and which
// columns it expects of the registry.
#pragma once

#include <memory>
#include <vector>

#include <qm/connection.h>
#include <qm/registry_check.h>

#include "upkeep/table_shapes.h"

namespace qm {

/// Adds its findings and, for the tables of the three families, what is expected of the registry.
void CheckLayouts(const std::shared_ptr<Connection>& control, TableShapes& registry,
                  std::vector<RegistryFinding>& findings);

}  // namespace qm
