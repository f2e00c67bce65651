// The layout that a command works with: the option that names its version, and loading it.
#pragma once

#include <qm/data_sets.h>

#include <memory>
#include <string>
#include <string_view>

#include "tool/tool.h"

namespace qm::tool {

/// The option --layout.
void AddLayoutOption(CLI::App& command, std::string& version);

/// Loads the version, the newest one when it is empty, from the session's control database.
std::shared_ptr<NAACCRLayout> LoadLayout(Tool& tool, QMDataSets& data_sets,
                                         const std::string& version,
                                         std::string_view order_by = "ColumnStart");

}  // namespace qm::tool
